#include "TestSupport.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "core/ListSeparator.h"
#include "explorer/FrmFileList.h"
#include "wordlink/UserOffice.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

const QString NotValid = u"The document name or path is not valid"_s;

QString makeFile(const QString& name)
{
    const QString path = TestSupport::homeFolder() + u'/' + name;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write("PK");
    }
    return path;
}

} // namespace

// The File menu's document commands of the main window: New, Open and the recent documents,
// all handed to the office suite's visible writer.
class DocumentCommandsTest : public QObject
{
    Q_OBJECT

    QList<QStringList> m_launches;
    bool m_officeStarts = true;

    void trigger(FrmFileList& window, const QString& name)
    {
        if (auto* button = window.findChild<QToolButton*>(name)) {
            button->click();
        } else {
            window.findChild<QAction*>(name)->trigger();
        }
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        wordlink::setOfficeLauncher([this](const QString&, const QStringList& arguments) {
            m_launches << arguments;
            return m_officeStarts;
        });
    }

    void init()
    {
        TestSupport::resetSettings();
        Dialogs::clearNextResults();
        m_launches.clear();
        m_officeStarts = true;
    }

    void recentDocuments_openThroughOpenWordDocument_andAMissingOneIsNotValid()
    {
        const QString kept = makeFile(u"Kept.docx"_s);
        const QString gone = TestSupport::homeFolder() + u"/Gone.doc"_s;
        QFile log(AppPaths::file(u"Log.Dat"_s));
        QVERIFY(log.open(QIODevice::WriteOnly));
        for (const QString& path : {kept, gone}) {
            log.write((QStringList{path, u"x"_s, u"y"_s, u"z"_s, u"1"_s}.join(ListSeparator()) + u"\r\n"_s).toUtf8());
        }
        log.close();
        TestSupport::MessageRecorder messages;
        FrmFileList window;
        window.Form_Load([](const QString&) {});

        trigger(window, u"MnuRecentDoc_0"_s); // the newest: gone
        QVERIFY(m_launches.isEmpty());
        QCOMPARE(messages.texts(), QStringList{NotValid});
        QCOMPARE(messages.messages().first().icon, MessageIcon::Information);

        trigger(window, u"MnuRecentDoc_1"_s);
        QCOMPARE(m_launches.size(), 1);
        QCOMPARE(m_launches.first().last(), kept);
        QCOMPARE(messages.messages().size(), 1);

        // An office suite that does not start says so, and what to install.
        m_officeStarts = false;
        trigger(window, u"MnuRecentDoc_1"_s);
        QCOMPARE(messages.texts().size(), 2);
        QVERIFY2(messages.lastText().startsWith(u"The office suite could not be started."_s) &&
                     messages.lastText().contains(u"libreoffice-gtk3"_s),
                 qPrintable(messages.lastText()));
        QFile::remove(AppPaths::file(u"Log.Dat"_s));
    }

    void aSuiteWithoutWindows_isNamed_withWhatToInstall()
    {
        // The program folder of a suite built to work unseen holds no window plugin.
        QTemporaryDir dir;
        QVERIFY(QDir().mkpath(dir.filePath(u"program"_s)));
        const QString program = TestSupport::writeShellScript(dir.filePath(u"program/soffice"_s), "exit 0\n");
        const QString link = dir.filePath(u"soffice"_s);
        QVERIFY(QFile::link(program, link));
        const QString unseen = wordlink::visibleWriterProblem(link);
        QVERIFY2(unseen.contains(u"has no window system"_s) && unseen.contains(u"libreoffice-gtk3"_s),
                 qPrintable(unseen));
        QFile plugin(dir.filePath(u"program/libvclplug_gtk3lo.so"_s));
        QVERIFY(plugin.open(QIODevice::WriteOnly));
        plugin.close();
        QCOMPARE(wordlink::visibleWriterProblem(link), QString());
        QVERIFY(wordlink::visibleWriterProblem({}).startsWith(u"No office suite is installed"_s));
    }

    void newDocument_opensAnEmptyOne_fromMenuAndToolbar()
    {
        FrmFileList window;
        trigger(window, u"MnuWdNew"_s);
        trigger(window, u"lblNew"_s);
        QCOMPARE(m_launches.size(), 2);
        for (const QStringList& arguments : std::as_const(m_launches)) {
            QCOMPARE(arguments, (QStringList{u"--writer"_s, u"--nologo"_s}));
        }
    }

    void openDocument_takesNamesEndingInDocOrDocx()
    {
        const struct
        {
            QString command, name; // "" for a cancelled dialog
            bool exists, opened;
        } rows[] = {
            {u"MnuWdOpen"_s, u"Letter.doc"_s, true, true}, {u"lblOpen"_s, u"REPORT.DOCX"_s, true, true},
            {u"MnuWdOpen"_s, u"Notes.txt"_s, true, false}, {u"lblOpen"_s, u"Catdoc"_s, true, false},
            {u"MnuWdOpen"_s, QString(), false, false},     {u"lblOpen"_s, u"Not there.doc"_s, false, false},
        };
        for (const auto& row : rows) {
            m_launches.clear();
            const QString path = row.name.isEmpty() ? QString()
                                 : row.exists       ? makeFile(row.name)
                                                    : TestSupport::homeFolder() + u'/' + row.name;
            TestSupport::MessageRecorder recorder;
            FrmFileList window;
            Dialogs::setNextResult(path);
            trigger(window, row.command);
            QVERIFY2(m_launches ==
                         (row.opened ? QList<QStringList>{{u"--writer"_s, u"--nologo"_s, path}} : QList<QStringList>{}),
                     qPrintable(row.name));
            // Only a typed name that is not there is told; other names are dropped without a word.
            QCOMPARE(recorder.texts(), row.name.isEmpty() || row.exists ? QStringList() : QStringList{NotValid});
        }
    }
};

QTEST_MAIN(DocumentCommandsTest)
#include "tst_document_commands.moc"
