#include "TestSupport.h"
#include "core/AppPaths.h"
#include "explorer/FrmFileList.h"
#include "explorer/FrmShowLog.h"
#include "wordlink/LogExtension.h"
#include "wordlink/UserOffice.h"
#include "wordlink/WriterSession.h"

#include <QAction>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

// The office suite's extension writes the log that the main window and the log window read:
// a writer with the extension in a private profile opens a Word document, and both show it.
class DocumentLogWriterTest : public QObject
{
    Q_OBJECT

    QProcess m_display;
    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        if (!wordlink::visibleWriterProblem(QStandardPaths::findExecutable(u"soffice"_s)).isEmpty()) {
            QSKIP("no office suite with a window system is installed (libreoffice-writer, libreoffice-gtk3)");
        }
        if (wordlink::logExtensionPackage().isEmpty()) {
            QSKIP("the document log's extension was not packed (build the quillbay_log_extension target)");
        }
        const QString noDisplay = TestSupport::ensureWriterDisplay(m_display);
        if (!noDisplay.isEmpty()) {
            QSKIP(qPrintable(noDisplay));
        }
    }

    void cleanupTestCase()
    {
        if (m_display.state() == QProcess::Running) {
            m_display.terminate();
            m_display.waitForFinished(5000);
        }
    }

    void openingAWordDocument_isListedByTheFileMenuAndTheLogWindow()
    {
        const QString path = m_dir.filePath(u"Offer for Ann.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path, u"Offer"_s));
        const QString other = m_dir.filePath(u"notes.odt"_s);
        {
            wordlink::WriterSession writer;
            QVERIFY(writer.start(m_dir.filePath(u"profile"_s), wordlink::logExtensionPackage()).ok());
            QVERIFY(writer.call({{u"op"_s, u"open"_s}, {u"path"_s, path}}).ok());
            // Not a Word document: the log leaves it out.
            QVERIFY(writer.call({{u"op"_s, u"saveAs"_s}, {u"path"_s, other}}).ok());
            QVERIFY(writer.call({{u"op"_s, u"close"_s}}).ok());
            QVERIFY(writer.call({{u"op"_s, u"open"_s}, {u"path"_s, other}}).ok());
            writer.quit();
        }

        FrmFileList window;
        window.Form_Load([](const QString&) {});
        auto* first = window.findChild<QAction*>(u"MnuRecentDoc_0"_s);
        QVERIFY(first != nullptr && first->isVisible());
        QCOMPARE(first->data().toString(), path);
        QVERIFY(window.findChild<QAction*>(u"MnuRecentDoc_1"_s) == nullptr);

        FrmShowLog* log = FrmShowLog::instance();
        log->show();
        QTRY_COMPARE(log->lvList->topLevelItemCount(), 1);
        const QTreeWidgetItem* row = log->lvList->topLevelItem(0);
        QCOMPARE(row->text(0), u"Offer for Ann.docx"_s);
        QCOMPARE(row->text(1), m_dir.path());
        QVERIFY(!row->text(2).isEmpty());
        QCOMPARE(row->text(5), u"%1 KB"_s.arg((QFileInfo(path).size() + 1023) / 1024));
        delete log;
    }
};

QTEST_MAIN(DocumentLogWriterTest)
#include "tst_document_log_writer.moc"
