#include "TestSupport.h"
#include "core/AppPaths.h"
#include "core/SettingsKeys.h"
#include "explorer/RecentDocuments.h"
#include "wordlink/Doc.h"
#include "wordlink/LogExtension.h"
#include "wordlink/UserOffice.h"
#include "wordlink/WriterSession.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>

using namespace Qt::StringLiterals;
using namespace wordlink;

namespace {

// The wizard as the session sees it, shown, with a tab-separated text file as its source.
struct Wizard : DocOwner
{
    bool mail = true;
    bool postal = false;
    std::array<QString, 3> headings{u"Region"_s, u"Member (since)"_s, u"Notes"_s};
    std::array<QString, 2> templates;

    bool isWizardVisible() const override { return true; }
    bool isMailMergeChecked() const override { return mail; }
    bool isPostalMergeChecked() const override { return postal; }
    int sourceIndex() const override { return 4; }
    QString columnHeading(int column) const override { return headings.at(column - 14); }
    void setTemplateText(int index, const QString& path) override { templates.at(index) = path; }
};

// The session's writer asked through its helper: "op" with one argument.
QJsonObject ask(const Doc& doc, const QString& op, const QString& key = {}, const QString& value = {})
{
    QJsonObject request{{u"op"_s, op}};
    if (!key.isEmpty()) {
        request.insert(key, value);
    }
    const Result<QJsonObject> answer = doc.writer() ? doc.writer()->call(request) : Result<QJsonObject>(QJsonObject());
    return answer.ok() ? answer.value() : QJsonObject{{u"error"_s, answer.error().message}};
}

QString documentText(const Doc& doc)
{
    return ask(doc, u"text"_s).value(u"text"_s).toString();
}

qint64 writerPid(const Doc& doc)
{
    return ask(doc, u"pid"_s).value(u"pid"_s).toInteger();
}

// The "Quillbay+" popups on the document window's menu bar, each as its captions.
QList<QStringList> popups(const Doc& doc)
{
    QList<QStringList> found;
    for (const QJsonValue popup : ask(doc, u"menu"_s).value(u"popups"_s).toArray()) {
        found << popup.toVariant().toStringList();
    }
    return found;
}

// A window command: a click on entry n of the menu is "vnd.quillbay:field/n".
void dispatch(const Doc& doc, const QString& command)
{
    ask(doc, u"dispatch"_s, u"command"_s, command);
}

void click(const Doc& doc, int entry)
{
    dispatch(doc, u"vnd.quillbay:field/"_s + QString::number(entry));
}

bool processAlive(qint64 pid)
{
    return pid > 0 && ::kill(pid_t(pid), 0) == 0 && !QFile(u"/proc/%1/stat"_s.arg(pid)).readAll().contains(") Z ");
}

// Visible windows of the display whose title holds the text, found by the window system.
int visibleWindows(const QString& title)
{
    QProcess search;
    search.start(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, title});
    search.waitForFinished(10000);
    const QByteArray ids = search.readAllStandardOutput().trimmed();
    return ids.isEmpty() ? 0 : int(ids.count('\n')) + 1;
}

} // namespace

class WriterSessionTest : public QObject
{
    Q_OBJECT

private:
    QProcess m_display;
    QTemporaryDir m_files;

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        // The offer to add the document log to the user's own office suite was answered.
        SettingsStore::instance().setValue(Keys::LogExtensionOffered, u"Y"_s);
        if (!visibleWriterProblem(QStandardPaths::findExecutable(u"soffice"_s)).isEmpty()) {
            QSKIP("no office suite with a window system is installed (libreoffice-writer, libreoffice-gtk3)");
        }
        if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty()) {
            QSKIP("xdotool, which finds the writer's window, is not installed");
        }
        const QString noDisplay = TestSupport::ensureWriterDisplay(m_display);
        if (!noDisplay.isEmpty()) {
            QSKIP(qPrintable(noDisplay));
        }
    }

    void cleanupTestCase()
    {
        m_display.terminate();
        m_display.waitForFinished(5000);
    }

    void newTemplate_fieldsFromTheMenu_savedAndClosed_giveTheMailTemplate()
    {
        Wizard wizard;
        Doc doc(wizard);
        // A failed check must not leave its writer running into the next case.
        const auto end = qScopeGuard([&doc] { doc.Init(); });
        QVERIFY(doc.AssignWd(QString()).ok());
        const qint64 office = writerPid(doc);
        QTRY_VERIFY_WITH_TIMEOUT(visibleWindows(u"Untitled 1"_s) > 0, 10000);

        // The popup stands before the sixth entry of the window's menu bar, with the thirteen
        // fixed entries and the text file's three custom columns.
        QCOMPARE(ask(doc, u"menu"_s).value(u"top"_s).toArray().at(5).toString(), u"Quillbay+"_s);
        const QList<QStringList> menus = popups(doc);
        QCOMPARE(menus.size(), 1);
        QCOMPARE(menus.first().mid(13), (QStringList{u"Region"_s, u"Member (since)"_s, u"Notes"_s}));

        // A custom entry types the heading its column has at the time of the click.
        click(doc, 1);
        QTRY_COMPARE(documentText(doc), u"[[FirstName]]"_s);
        wizard.headings[1] = u"Joined (year)"_s;
        click(doc, 15);
        click(doc, 5);
        click(doc, 13);
        QTRY_COMPARE(documentText(doc), u"[[FirstName]][[Joined (year)]][[Business-Street]][[Email1Address]]"_s);

        const QString saved = m_files.filePath(u"letter one.docx"_s);
        QVERIFY(ask(doc, u"saveAs"_s, u"path"_s, saved).value(u"ok"_s).toBool());
        dispatch(doc, u".uno:CloseWin"_s);
        QTRY_VERIFY_WITH_TIMEOUT(doc.writer() == nullptr, 30000);
        QCOMPARE(wizard.templates, (std::array<QString, 2>{saved, QString()}));
        QTRY_VERIFY_WITH_TIMEOUT(!processAlive(office), 30000); // the one document closed ends its writer
    }

    void secondSession_endsTheFirst_andLeavesOnePopup_andAWriterThatDiesEndsItsSession()
    {
        const QString path = m_files.filePath(u"Offer for Ann.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path, u"Dear [[FirstName]]"_s));
        QFile::remove(AppPaths::file(u"Log.Dat"_s));
        Wizard wizard;
        wizard.mail = false;
        wizard.postal = true;
        Doc doc(wizard);
        const auto end = qScopeGuard([&doc] { doc.Init(); });
        QVERIFY(doc.AssignWd(path).ok());
        const qint64 first = writerPid(doc);

        // The next EditInWord's Init ends the first session as a close of its saved document does.
        doc.Init();
        QVERIFY(doc.writer() == nullptr);
        QCOMPARE(wizard.templates[1], path);
        QTRY_VERIFY_WITH_TIMEOUT(!processAlive(first), 30000);
        for (int session = 0; session < 2; ++session) {
            doc.Init();
            QVERIFY(doc.AssignWd(path).ok());
        }
        QCOMPARE(popups(doc).size(), 1);
        QCOMPARE(documentText(doc), u"Dear [[FirstName]]"_s);

        // A writer that dies ends the session as its own exit would, filling no template box.
        wizard.templates[1].clear();
        ::kill(pid_t(writerPid(doc)), SIGKILL);
        QTRY_VERIFY_WITH_TIMEOUT(doc.writer() == nullptr, 30000);
        QCOMPARE(wizard.templates[1], QString());

        // The session's writer carries the log's extension: the opening of the Word document added its record.
        const QByteArray log = TestSupport::readFile(AppPaths::file(u"Log.Dat"_s));
        QCOMPARE(RecentDocuments::recentPaths(log), QStringList{path});
    }

    void writerLeftByAnEndedProgram_isTakenOverByTheNextSession_whoseChangesAreDropped()
    {
        Wizard wizard;
        qint64 left = 0;
        {
            // The program ends while its session is open: the writer stays with the user.
            Doc ended(wizard);
            QVERIFY(ended.AssignWd(QString()).ok());
            left = writerPid(ended);
        }
        const auto end = qScopeGuard([left] { ::kill(pid_t(left), SIGKILL); });
        QTest::qWait(500);
        QVERIFY(processAlive(left));
        QTRY_COMPARE(visibleWindows(u"Untitled 1"_s), 1);

        // The next session's writer hands its work to that one; the session stays open until its
        // document is closed.
        Doc doc(wizard);
        QVERIFY(doc.AssignWd(QString()).ok());
        QTest::qWait(2000);
        QVERIFY(doc.writer() != nullptr);
        QCOMPARE(popups(doc).size(), 1);
        // Its new document with changes, closed: the changes go without a question (which would
        // keep the window open), and the template box keeps what it had.
        QTRY_COMPARE(visibleWindows(u"Untitled 2"_s), 1);
        click(doc, 2);
        QTRY_COMPARE(documentText(doc), u"[[LastName]]"_s);
        dispatch(doc, u".uno:CloseWin"_s);
        QTRY_VERIFY_WITH_TIMEOUT(doc.writer() == nullptr, 30000);
        QTRY_COMPARE(visibleWindows(u"Untitled 2"_s), 0);
        QCOMPARE(wizard.templates[0], QString());
    }

    void logOffer_isAskedOnce_andNoLeavesTheUsersOfficeAlone()
    {
        SettingsStore::instance().setValue(Keys::LogExtensionOffered, QString());
        TestSupport::MessageRecorder messages;
        messages.answerNext(MessageAnswer::No);
        offerLogExtension();
        offerLogExtension();
        QCOMPARE(messages.texts().size(), 1);
        QVERIFY(messages.lastText().contains(u"your own LibreOffice"_s));
        QCOMPARE(SettingsStore::instance().value(Keys::LogExtensionOffered), u"Y"_s);
        QVERIFY(!QDir(TestSupport::homeFolder() + u"/.config/libreoffice"_s).exists());
    }
};

QTEST_GUILESS_MAIN(WriterSessionTest)
#include "tst_writer_session.moc"
