#include "TestSupport.h"
#include "core/Dialogs.h"
#include "core/SettingsKeys.h"
#include "search/FrmSearch.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

QStringList names(const QTreeWidget* list)
{
    QStringList result;
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        result << list->topLevelItem(i)->text(0);
    }
    return result;
}

} // namespace

class SearchWindowTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QPointer<FrmSearch> m_window;

    // The window shown, searching `folder` and its subfolders for `words`.
    FrmSearch* openWindow(const QString& folder = {}, const QString& words = {})
    {
        m_window = FrmSearch::instance();
        m_window->show();
        if (!folder.isEmpty()) {
            m_window->TxtFolder->setText(folder);
            m_window->ChkIncSubFolder->setChecked(true);
            m_window->txtwords->setText(words);
        }
        return m_window;
    }

    // Files of a few bytes, or Word documents of the given paragraphs ("name=text").
    static void plant(const QTemporaryDir& dir, const QStringList& files)
    {
        for (const QString& file : files) {
            const qsizetype equals = file.indexOf(u'=');
            QVERIFY(equals < 0
                        ? TestSupport::writeFile(dir.filePath(file), QByteArray(8, 'x'))
                        : TestSupport::makeDocx(u"plain"_s, dir.filePath(file.left(equals)), file.mid(equals + 1)));
        }
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        plant(m_dir,
              {u"invoice 2025.docx"_s, u"letter.doc"_s, u"readme.txt"_s, u"~$letter.doc"_s, u"old/invoice 2019.doc"_s});
    }

    void init()
    {
        TestSupport::resetSettings();
        Dialogs::clearNextResults();
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void cleanup()
    {
        if (m_window) {
            m_window->close();
        }
        QTest::qWait(10);
    }

    void patterns_findDocumentsByName_inTheFolderAndItsSubfolders()
    {
        FrmSearch* window = openWindow();
        window->TxtFolder->setText(m_dir.path());
        window->RunSearch(); // an empty name searches Word documents
        QCOMPARE(names(window->lvList), (QStringList{u"invoice 2025.docx"_s, u"letter.doc"_s}));
        QCOMPARE(window->SbStatusPanel1->text(), u"2 items"_s);
        window->ChkIncSubFolder->setChecked(true);
        window->CboCriteria->setEditText(u"invoice"_s);
        window->CmdFind[0]->click();
        QCOMPARE(names(window->lvList), (QStringList{u"invoice 2025.docx"_s, u"invoice 2019.doc"_s}));
        QCOMPARE(window->lvList->topLevelItem(1)->text(1), m_dir.filePath(u"old"_s));
    }

    void replace_backsUpEachChangedDocument_andLeavesTheOthersAlone()
    {
        QTemporaryDir dir;
        plant(dir, {u"hit.docx=Meeting in Leeds"_s, u"miss.docx=Meeting in York"_s});
        // A Word 97 document goes through the office suite, which would rewrite an untouched one:
        // dated a day back, a rewritten one would carry the time of the run.
        const QString doc = dir.filePath(u"sub/miss.doc"_s);
        QVERIFY(wordlink::BridgeDocument::convert(dir.filePath(u"miss.docx"_s), doc).ok());
        const QDateTime dayBefore = QDateTime::currentDateTime().addDays(-1);
        QFile file(doc);
        QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(dayBefore, QFileDevice::FileModificationTime));
        const QByteArray before = file.readAll();
        file.close();

        FrmSearch* window = openWindow(dir.path(), u" Leeds "_s);
        window->chkReplace->click();
        window->txtReplace->setText(u" Bradford"_s);
        window->CmdFind[1]->click();
        QCOMPARE(names(window->lvList), QStringList{u"hit.docx"_s});
        QVERIFY(window->SbStatusPanel2->isVisible());
        QVERIFY(window->SbStatusPanel2->text().startsWith(u"Originals kept in "_s));
        const QString backups = window->SbStatusPanel2->text().mid(18);
        QVERIFY(QFile::exists(backups + u"/hit.docx"_s));
        QVERIFY(!QFile::exists(backups + u"/sub/miss.doc"_s));
        auto application = wordlink::NewApplication();
        QCOMPARE(application->Open(dir.filePath(u"hit.docx"_s), true).value()->ContentText().value(),
                 u"Meeting in  Bradford\r"_s);
        QCOMPARE(TestSupport::readFile(doc), before);
        QCOMPARE(QFileInfo(doc).lastModified(), dayBefore);
    }

    void stop_endsTheRunAfterTheCurrentFolder_withTheControlsLockedMeanwhile()
    {
        QTemporaryDir dir;
        plant(dir, {u"top.docx=budget"_s, u"a/deeper.docx=budget"_s});
        FrmSearch* window = openWindow(dir.path(), u"budget"_s);
        bool onlyStopEnabled = false;
        // Runs at the walk's first turn of the event loop, before the first folder's files: the
        // controls are locked but Stop, so Enter starts no second run.
        QTimer::singleShot(0, window, [&] {
            onlyStopEnabled = !window->CmdFind[0]->isEnabled() && window->CmdFind[2]->isEnabled();
            QTest::keyClick(window->txtwords, Qt::Key_Return);
            window->CmdFind[2]->click();
        });
        window->RunSearch();
        QVERIFY(onlyStopEnabled);
        QCOMPARE(names(window->lvList), QStringList{u"top.docx"_s});
        QVERIFY(window->CmdFind[0]->isEnabled());

        // Closing the window during a run stops it, and the window closes when the run has ended.
        QTimer::singleShot(0, window, [window] { window->close(); });
        window->RunSearch();
        QCOMPARE(names(window->lvList), QStringList{u"top.docx"_s});
        QTRY_VERIFY(m_window.isNull());
        QCOMPARE(GetSetting(u"Search"_s, u"FolderName"_s), dir.path());
    }

    void delete_asksFirst_thenMovesTheSelectedFilesToTheTrash()
    {
        TestSupport::MessageRecorder messages;
        QTemporaryDir dir;
        plant(dir, {u"a.doc"_s, u"sub/c.doc"_s});
        FrmSearch* window = openWindow(dir.path());
        window->RunSearch();
        QCOMPARE(names(window->lvList), (QStringList{u"a.doc"_s, u"c.doc"_s}));
        window->lvList->topLevelItem(1)->setSelected(true);
        messages.answerNext(MessageAnswer::No);
        window->MnuDelete_Click();
        QCOMPARE(messages.lastText(), u"Are you sure to delete selected file(s) ?"_s);
        QCOMPARE(messages.messages().last().icon, MessageIcon::Critical);
        QVERIFY(QFile::exists(dir.filePath(u"sub/c.doc"_s)));
        window->MnuDelete_Click();
        QCOMPARE(names(window->lvList), QStringList{u"a.doc"_s});
        QVERIFY(!QFile::exists(dir.filePath(u"sub/c.doc"_s)));
        QVERIFY(QFile::exists(qEnvironmentVariable("XDG_DATA_HOME") + u"/Trash/files/c.doc"_s));
    }
};

QTEST_MAIN(SearchWindowTest)
#include "tst_search_window.moc"
