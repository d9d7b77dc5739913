#include "DocumentText.h"
#include "TestSupport.h"
#include "core/AppPaths.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace wordlink;
using TestSupport::openDocument;

namespace {

// The first process that pgrep finds with these arguments; -1 where there is none.
qint64 findProcess(const QStringList& arguments)
{
    QProcess pgrep;
    pgrep.start(u"pgrep"_s, arguments);
    pgrep.waitForFinished(5000);
    const QByteArray pid = pgrep.readAllStandardOutput().split('\n').value(0);
    return pid.isEmpty() ? -1 : pid.toLongLong();
}

// This test's own office bridge helper (its script lies in the test's own application folder),
// and the office suite it started.
std::pair<qint64, qint64> helperAndOffice()
{
    const qint64 helper = findProcess({u"-f"_s, QRegularExpression::escape(AppPaths::file(u"office_bridge.py"_s))});
    return {helper, findProcess({u"-P"_s, QString::number(helper), u"-f"_s, u"soffice"_s})};
}

// Alive and not waiting to be reaped.
bool isRunning(qint64 pid)
{
    const QByteArray fields = TestSupport::readFile(u"/proc/%1/stat"_s.arg(pid));
    return !fields.isEmpty() && fields.mid(fields.lastIndexOf(')') + 2, 1) != "Z";
}

} // namespace

// The office suite behind the formats the program does not read itself: .doc, .rtf, .odt.
class OfficeBridgeTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_docx;
    QString m_doc;
    std::unique_ptr<DocumentApplication> m_application = NewApplication();

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_docx = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_docx));
        m_doc = m_dir.filePath(u"letter.doc"_s);
        const Status converted = BridgeDocument::convert(m_docx, m_doc);
        QVERIFY2(converted.ok(), qPrintable(converted.error().message));
    }

    void cleanupTestCase() { OfficeBridge::instance().shutdown(); }

    void aDoc_isReadFoundAndReplacedInItsMainText_andSavedAsWord97()
    {
        auto document = openDocument(*m_application, m_doc, false);
        QVERIFY(document);
        const QString text = document->ContentText().value();
        QVERIFY2(text.startsWith(u"Dear [[FirstName]],\r"_s), qPrintable(text.left(80)));
        QVERIFY(text.contains(u"[[LastName]]\r\a"_s));    // the table's cells belong to the text
        QVERIFY(text.contains(u"club\r\fSecond page"_s)); // the page break as a form feed
        QVERIFY(!text.contains(u"Header for"_s));
        QVERIFY(!document->Find(u"[[firstname]]"_s, {true, false, false}).value()); // Word's options reach the suite

        QCOMPARE(document->ReplaceAll(u"[[FirstName]]"_s, u"Zoë"_s, {}).value(), 2);
        const QString merged = m_dir.filePath(u"merged.doc"_s);
        QVERIFY(document->SaveAs(merged).ok());
        document->Close();
        QVERIFY(TestSupport::readFile(merged).startsWith("\xD0\xCF\x11\xE0")); // a Word 97-2003 compound file
        const QString again = TestSupport::documentText(merged);
        QVERIFY(again.startsWith(u"Dear Zoë,\r"_s));

        // A .doc template gives a document that pages can be appended to.
        std::unique_ptr<Document> fresh = std::move(m_application->Add(m_doc)).value();
        QVERIFY(fresh->AppendPageBreakAndText(u"Appended\rtwo lines"_s).ok());
        const QString combined = m_dir.filePath(u"combined.doc"_s);
        QVERIFY(fresh->SaveAs(combined).ok());
        fresh->Close();
        QVERIFY(TestSupport::documentText(combined).endsWith(u"Appended\rtwo lines\r"_s));
    }

    void theNativeEnginesOutput_opensInTheOfficeSuite()
    {
        auto document = openDocument(*m_application, m_docx, true);
        QVERIFY(document->ReplaceAll(u"[[CompanyName]]"_s, u"Acme & Co"_s, {}).ok());
        // A tab and a line break become the run's own elements; a control character is dropped.
        QVERIFY(document->ReplaceAll(u"[[FirstName]]"_s, u"Zoë\tW\u0001\nX"_s, {}).ok());
        const QString merged = m_dir.filePath(u"native.docx"_s);
        QVERIFY(document->SaveAs(merged).ok());
        // Read through the office suite: a valid package with the merged text.
        const QString odt = m_dir.filePath(u"native.odt"_s);
        QVERIFY(BridgeDocument::convert(merged, odt).ok());
        const QString text = TestSupport::documentText(odt);
        QVERIFY(text.contains(u"Acme & Co\tis at [[Business-City]]"_s));
        QVERIFY2(text.startsWith(u"Dear Zoë\tW\vX,\r"_s), qPrintable(text.left(30)));
    }

    void anOfficeCrash_failsTheStep_andAKilledHelperTakesItsOfficeSuiteAlong()
    {
        auto document = openDocument(*m_application, m_doc);
        QVERIFY(document);
        const auto [helper, office] = helperAndOffice();
        QVERIFY2(helper > 0 && office > 0, "this test's own helper and its office suite are running");
        QCOMPARE(::kill(static_cast<pid_t>(office), SIGKILL), 0);
        QVERIFY(!document->ContentText().ok());
        QTRY_VERIFY_WITH_TIMEOUT(!isRunning(helper), 20000); // the helper ended with its office suite
        QVERIFY(TestSupport::documentText(m_doc).startsWith(u"Dear"_s));

        // The next use started a fresh helper; killed, it takes its office suite along.
        const auto [fresh, itsOffice] = helperAndOffice();
        QVERIFY(fresh > 0 && fresh != helper && itsOffice > 0);
        QCOMPARE(::kill(static_cast<pid_t>(fresh), SIGKILL), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!isRunning(itsOffice), 10000);
        // The dead helper is noticed on this call or the next; then a fresh one serves.
        Result<std::unique_ptr<Document>> served = m_application->Open(m_doc, true);
        if (!served.ok()) {
            served = m_application->Open(m_doc, true);
        }
        QVERIFY2(served.ok(), qPrintable(served.error().message));
        QVERIFY(served.value()->ContentText().value().startsWith(u"Dear"_s));
    }

    void aMissingOfficeSuite_failsTheStep_untilItIsThere()
    {
        OfficeBridge::instance().shutdown();
        const QByteArray path = qgetenv("PATH");
        QTemporaryDir empty;
        qputenv("PATH", QFile::encodeName(empty.path()));
        const Result<std::unique_ptr<Document>> missing = m_application->Open(m_doc, true);
        qputenv("PATH", path);
        QVERIFY2(!missing.ok() && missing.error().message.contains(u"not installed"_s),
                 qPrintable(missing.error().message));
        QVERIFY(openDocument(*m_application, m_doc));
    }
};

QTEST_GUILESS_MAIN(OfficeBridgeTest)
#include "tst_office_bridge.moc"
