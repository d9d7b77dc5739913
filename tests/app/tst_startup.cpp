#include "TestSupport.h"
#include "app/Main.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "core/FrmSplash.h"
#include "core/FrmWelcome.h"
#include "core/SettingsKeys.h"
#include "delivery/FrmSmtp.h"
#include "explorer/FrmFileList.h"
#include "explorer/FrmShowLog.h"
#include "search/FrmSearch.h"
#include "wizard/ui/FrmMailMerge.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

QString setting(const SettingKey& key)
{
    return SettingsStore::instance().value(key);
}

// Runs the start-up road and waits for the main window; with the welcome turned off unless asked.
FrmFileList* startProgram(bool welcome = false)
{
    if (!welcome) {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
    }
    Main();
    if (!QTest::qWaitFor([] { return mainWindow() != nullptr && mainWindow()->isVisible(); }, 5000)) {
        return nullptr;
    }
    return mainWindow();
}

} // namespace

class StartupTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void init() { TestSupport::resetSettings(); }

    void cleanup()
    {
        delete mainWindow();
        delete FrmWelcome::instance();
        QTest::qWait(20);
    }

    void firstRun_showsTheWelcomeOnTop_andStoresTheDefaultSplitters()
    {
        FrmFileList* window = startProgram(true);
        QVERIFY(window);
        QCOMPARE(window->txtAddress()->text(), u"My Computer"_s);
        QCOMPARE(window->tvList()->currentItem()->text(0), u"My Computer"_s);
        FrmWelcome* welcome = FrmWelcome::instance();
        QVERIFY(welcome->isVisible());
        QVERIFY(welcome->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(welcome->ChkDontShow()->isVisible());
        window->close();
        QCOMPARE(setting(Keys::SplitterLeft), u"3660"_s);
        QCOMPARE(setting(Keys::ListSplitterTop), u"3000"_s);
    }

    void splash_standsUntilItsTimerHasLoadedTheMainWindow()
    {
        Main();
        QPointer<FrmSplash> splash;
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() == u"frmSplash"_s && window->isVisible()) {
                splash = qobject_cast<FrmSplash*>(window);
            }
        }
        QVERIFY(splash);
        QVERIFY(mainWindow() == nullptr); // Main has returned; the timer loads the main window
        QCOMPARE(splash->findChild<QLabel*>(u"lblLoading"_s)->text(), u"Initializing Views..."_s);
        for (const QPushButton* button : splash->findChildren<QPushButton*>()) {
            QVERIFY(!button->isVisible());
        }
        QTRY_VERIFY(mainWindow() != nullptr && mainWindow()->isVisible());
        QTRY_VERIFY(splash.isNull());
    }

    void welcomeKeys_saveTheCheckbox()
    {
        FrmWelcome* welcome = FrmWelcome::instance();
        welcome->show();
        welcome->ChkDontShow()->setChecked(true);
        QTest::keyClick(welcome, Qt::Key_Escape);
        QCOMPARE(setting(Keys::Flash), u"1"_s);
        QTRY_VERIFY(!welcome->isVisible());

        // A new window reads the box back; Enter saves it as Esc does.
        welcome = FrmWelcome::instance();
        QVERIFY(welcome->ChkDontShow()->isChecked());
        welcome->show();
        welcome->ChkDontShow()->setChecked(false);
        QTest::keyClick(welcome, Qt::Key_Return);
        QCOMPARE(setting(Keys::Flash), u"0"_s);
    }

    void unload_savesTheWindow_unlessMinimised_andLeavesTheOfficeFlagOff()
    {
        SettingsStore::instance().setValue(Keys::WordRunning, u"Y"_s);
        const QString gone = TestSupport::homeFolder() + u"/moved away"_s;
        SettingsStore::instance().setValue(Keys::AddressBarFile, gone);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        // An address that no longer exists selects nothing and stays stored.
        QCOMPARE(window->txtAddress()->text(), gone);
        QCOMPARE(window->tvList()->currentItem(), nullptr);
        window->move(90, 120);
        window->resize(800, 500);
        window->close();
        const QStringList rectangle{u"1350"_s, u"1800"_s, u"12000"_s, u"7500"_s};
        const auto stored = [] {
            return QStringList{setting(Keys::MainLeft), setting(Keys::MainTop), setting(Keys::MainWidth),
                               setting(Keys::MainHeight)};
        };
        QCOMPARE(stored(), rectangle);
        QCOMPARE(setting(Keys::AddressBarFile), gone);
        QCOMPARE(setting(Keys::WordRunning), u"N"_s);

        // Closed minimised, the rectangle of the last normal exit stays.
        window = startProgram();
        QVERIFY(window);
        window->move(300, 300);
        window->showMinimized();
        QTRY_VERIFY(window->isMinimized());
        window->close();
        QCOMPARE(stored(), rectangle);
    }

    void theMainWindowsCommands_bringUpTheirWindows()
    {
        TestSupport::MessageRecorder messages;
        QFile::remove(AppPaths::file(u"Log.Dat"_s));
        FrmFileList* window = startProgram();
        QVERIFY(window);
        window->findChild<QAction*>(u"MnuLgDtls"_s)->trigger();
        QCOMPARE(messages.texts(), QStringList{u"Logfile not found !"_s});
        QCOMPARE(messages.messages().first().title, u"Quillbay+"_s);

        // The about box is the splash with only its OK button.
        window->findChild<QAction*>(u"MnuAbtW"_s)->trigger();
        QPointer<FrmSplash> about = window->findChild<FrmSplash*>(u"frmSplash"_s);
        QVERIFY(about && about->isModal());
        QCOMPARE(about->findChild<QLabel*>(u"lblLoading"_s)->text(), u"Version "_s + QStringLiteral(QUILLBAY_VERSION));
        QVERIFY(!about->findChild<QPushButton*>(u"cmdButton_0"_s)->isVisible());
        about->findChild<QPushButton*>(u"cmdButton_1"_s)->click();
        QTRY_VERIFY(about.isNull());

        // Features shows the welcome turned off, without its checkbox.
        QVERIFY(!FrmWelcome::instance()->isVisible());
        window->findChild<QAction*>(u"mnuFeatures"_s)->trigger();
        FrmWelcome* welcome = FrmWelcome::instance();
        QVERIFY(welcome->isVisible());
        QVERIFY(!welcome->ChkDontShow()->isVisible());
        QVERIFY(welcome->ChkDontShow()->isChecked());

        emit window->mailingListRequested();
        QVERIFY(FrmMailMerge::instance()->isVisible());
        emit window->searchRequested();
        QVERIFY(FrmSearch::instance()->isVisible());
        emit window->settingsRequested();
        QVERIFY(FrmSmtp::instance()->isVisible());

        // View Log opens one modeless log window; the menu entry raises it without reading again.
        QVERIFY(TestSupport::writeFile(
            AppPaths::file(u"Log.Dat"_s),
            QStringList{u"/docs/a.docx"_s, u"x"_s, u"y"_s, u"z"_s, u"3\r\n"_s}.join(QChar(0x81)).toUtf8()));
        window->findChild<QToolButton*>(u"lblViewLog"_s)->click();
        QPointer<FrmShowLog> log = FrmShowLog::instance();
        QVERIFY(log->isVisible());
        QVERIFY(!log->isModal());
        QTRY_COMPARE(log->lvList->topLevelItemCount(), 1);
        window->findChild<QAction*>(u"MnuLgDtls"_s)->trigger();
        QCOMPARE(FrmShowLog::instance(), log.data());
        QVERIFY(!log->tmrStart->isActive());
        delete FrmMailMerge::instance();
        delete FrmSearch::instance();
        delete FrmSmtp::instance();
        delete FrmShowLog::instance();
    }

    void fileFilters_handTheirPatternsToTheDialog()
    {
        const struct
        {
            const char* name;
            QString filter;
            QString expected;
        } rows[] = {
            {"caption without patterns", u"HTM Documents|*.htm"_s, u"HTM Documents (*.htm)"_s},
            {"caption naming fewer patterns than it has", u"Word Documents (*.doc)|*.doc;*.docx"_s,
             u"Word Documents (*.doc *.docx)"_s},
            {"caption with a comma between its patterns", u"HTML Documents (*.html,*.htm)|*.htm*"_s,
             u"HTML Documents (*.htm*)"_s},
            {"two entries", u"Comma Separated Values (*.csv)|*.csv|Text Documents (*.txt)|*.txt"_s,
             u"Comma Separated Values (*.csv);;Text Documents (*.txt)"_s},
        };
        for (const auto& row : rows) {
            QVERIFY2(Dialogs::qtFilter(row.filter) == row.expected, row.name);
        }
    }
};

QTEST_MAIN(StartupTest)
#include "tst_startup.moc"
