#include "TestSupport.h"
#include "app/Main.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "core/FrmSplash.h"
#include "core/FrmWelcome.h"
#include "core/SettingsKeys.h"
#include "explorer/FrmFileList.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSplitter>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

QString setting(const SettingKey& key)
{
    return SettingsStore::instance().value(key);
}

// Runs the start-up road and waits for the main window.
FrmFileList* startProgram()
{
    Main();
    if (!QTest::qWaitFor([] { return mainWindow() != nullptr && mainWindow()->isVisible(); }, 5000)) {
        return nullptr;
    }
    return mainWindow();
}

QStringList captionsOf(const QMenu* menu)
{
    QStringList captions;
    for (const QAction* action : menu->actions()) {
        if (action->isSeparator()) {
            captions << u"-"_s;
        } else if (action->isVisible()) {
            captions << action->text();
        }
    }
    return captions;
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

    void firstRun_usesTheTableDefaults_andShowsTheWelcomeOnTop()
    {
        FrmFileList* window = startProgram();
        QVERIFY(window);
        QCOMPARE(window->pos(), QPoint(52, 67));                                         // 780, 1000 twips
        QCOMPARE(window->size(), QSize(707, 433));                                       // 10600 by 6500 twips
        QCOMPARE(window->findChild<QSplitter*>(u"imgSplitter"_s)->sizes().first(), 244); // 3660 twips
        QCOMPARE(window->txtAddress()->text(), u"My Computer"_s);
        QCOMPARE(window->tvList()->currentItem()->text(0), u"My Computer"_s);
        FrmWelcome* welcome = FrmWelcome::instance();
        QVERIFY(welcome->isVisible());
        QVERIFY(welcome->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(welcome->ChkDontShow()->isVisible());
        QVERIFY(!window->helpFile().isEmpty());
        // Both splitters stand where the defaults put them, and are stored so at exit.
        window->close();
        QCOMPARE(setting(Keys::SplitterLeft), u"3660"_s);
        QCOMPARE(setting(Keys::ListSplitterTop), u"3000"_s);
    }

    void storedSplitters_comeBackWhereTheyWereLeft()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        SettingsStore::instance().setValue(Keys::SplitterLeft, u"4500"_s);
        SettingsStore::instance().setValue(Keys::ListSplitterTop, u"3600"_s);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        QCOMPARE(window->findChild<QSplitter*>(u"imgSplitter"_s)->sizes().first(), 300);
        window->close();
        QCOMPARE(setting(Keys::SplitterLeft), u"4500"_s);
        QCOMPARE(setting(Keys::ListSplitterTop), u"3600"_s);
    }

    void splash_standsUntilItsTimerHasLoadedTheMainWindow()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        Main();
        QPointer<FrmSplash> splash;
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() == u"frmSplash"_s && window->isVisible()) {
                splash = qobject_cast<FrmSplash*>(window);
            }
        }
        QVERIFY(splash);
        QVERIFY(mainWindow() == nullptr); // Main has returned; the timer loads the main window
        const auto* loading = splash->findChild<QLabel*>(u"lblLoading"_s);
        QVERIFY(loading->isVisible());
        QCOMPARE(loading->text(), u"Initializing Views..."_s);
        for (const QPushButton* button : splash->findChildren<QPushButton*>()) {
            QVERIFY(!button->isVisible());
        }
        QTRY_VERIFY(mainWindow() != nullptr && mainWindow()->isVisible());
        QTRY_VERIFY(splash.isNull());
    }

    void aboutBox_isTheSplashWithOnlyItsOkButton()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        window->findChild<QAction*>(u"MnuAbtW"_s)->trigger();
        QPointer<FrmSplash> about = window->findChild<FrmSplash*>(u"frmSplash"_s);
        QVERIFY(about);
        QVERIFY(about->isVisible());
        QVERIFY(about->isModal());
        const auto* loading = about->findChild<QLabel*>(u"lblLoading"_s);
        QVERIFY(loading->isVisible());
        QCOMPARE(loading->text(), u"Version "_s + QStringLiteral(QUILLBAY_VERSION));
        QVERIFY(!about->findChild<QPushButton*>(u"cmdButton_0"_s)->isVisible());
        auto* ok = about->findChild<QPushButton*>(u"cmdButton_1"_s);
        QVERIFY(ok->isVisible());
        QCOMPARE(ok->text(), u"O.K"_s);
        ok->click();
        QTRY_VERIFY(about.isNull());
    }

    void mainWindowLoad_reportsItsStepsOnTheSplash()
    {
        FrmFileList window;
        QStringList texts;
        window.Form_Load([&texts](const QString& text) { texts << text; });
        QCOMPARE(texts, (QStringList{u"Initializing Drives..."_s, u"Loading Documents..."_s, u"Completed..."_s}));
        QVERIFY(!window.isVisible()); // shown by the splash once loaded
        QCOMPARE(window.tvList()->topLevelItem(0)->text(0), u"My Computer"_s);
    }

    void welcomeTurnedOff_showsOnlyTheMainWindow_andFeaturesStillOpensIt()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        QTest::qWait(50);
        QVERIFY(!FrmWelcome::instance()->isVisible());
        window->findChild<QAction*>(u"mnuFeatures"_s)->trigger();
        FrmWelcome* welcome = FrmWelcome::instance();
        QVERIFY(welcome->isVisible());
        QVERIFY(!welcome->ChkDontShow()->isVisible());
        QVERIFY(welcome->ChkDontShow()->isChecked());
    }

    void welcomeKeys_saveTheCheckbox()
    {
        FrmWelcome* welcome = FrmWelcome::instance();
        welcome->show();
        welcome->ChkDontShow()->setChecked(true);
        QTest::keyClick(welcome, Qt::Key_Escape);
        QCOMPARE(setting(Keys::Flash), u"1"_s);
        QTRY_VERIFY(!welcome->isVisible());

        // A new window reads the box back; Enter saves it as Esc does, and closing it does not.
        welcome = FrmWelcome::instance();
        QVERIFY(welcome->ChkDontShow()->isChecked());
        welcome->show();
        welcome->ChkDontShow()->setChecked(false);
        welcome->close();
        QCOMPARE(setting(Keys::Flash), u"1"_s);
        welcome = FrmWelcome::instance();
        welcome->show();
        welcome->ChkDontShow()->setChecked(false);
        QTest::keyClick(welcome, Qt::Key_Return);
        QCOMPARE(setting(Keys::Flash), u"0"_s);
    }

    void storedZeroSplitter_isTreatedAsAbsent_otherPositionsAreApplied()
    {
        SaveSetting(u"FileList"_s, u"imgSplLeft"_s, u"0"_s);
        SaveSetting(u"FileList"_s, u"MainLeft"_s, u"1500"_s);
        SaveSetting(u"FileList"_s, u"MainWidth"_s, u"12000"_s);
        SaveSetting(u"FileList"_s, u"MainTop"_s, u"not a number"_s);
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        QCOMPARE(window->x(), 100);
        QCOMPARE(window->width(), 800);
        QCOMPARE(window->findChild<QSplitter*>(u"imgSplitter"_s)->sizes().first(), 244);
    }

    void unload_savesTheWindow_andLeavesTheOfficeFlagOff()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        SettingsStore::instance().setValue(Keys::WordRunning, u"Y"_s);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        window->move(90, 120);
        window->resize(800, 500);
        window->close();
        QCOMPARE(setting(Keys::MainLeft), u"1350"_s);
        QCOMPARE(setting(Keys::MainTop), u"1800"_s);
        QCOMPARE(setting(Keys::MainWidth), u"12000"_s);
        QCOMPARE(setting(Keys::MainHeight), u"7500"_s);
        QCOMPARE(setting(Keys::AddressBarFile), u"My Computer"_s);
        QCOMPARE(setting(Keys::WordRunning), u"N"_s);
        QVERIFY(!setting(Keys::ViewMode).isEmpty());
        QVERIFY(setting(Keys::SplitterLeft).toDouble() > 0);
    }

    void addressThatNoLongerExists_selectsNothing_andStaysStored()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        const QString gone = TestSupport::homeFolder() + u"/moved away"_s;
        SettingsStore::instance().setValue(Keys::AddressBarFile, gone);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        QCOMPARE(window->txtAddress()->text(), gone);
        QCOMPARE(window->tvList()->currentItem(), nullptr);
        window->close();
        QCOMPARE(setting(Keys::AddressBarFile), gone);
        QCOMPARE(setting(Keys::WordRunning), u"N"_s);
    }

    void minimisedUnload_keepsTheRectangleOfTheLastNormalExit()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        SaveSetting(u"FileList"_s, u"MainLeft"_s, u"2000"_s);
        FrmFileList* window = startProgram();
        QVERIFY(window);
        window->showMinimized();
        QTRY_VERIFY(window->isMinimized());
        window->close();
        QCOMPARE(setting(Keys::MainLeft), u"2000"_s);
    }

    void recentDocuments_fillTheFileMenu_andViewLogNeedsTheLog()
    {
        TestSupport::MessageRecorder messages;
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        QFile::remove(AppPaths::file(u"Log.Dat"_s));
        FrmFileList* window = startProgram();
        QVERIFY(window);
        window->findChild<QAction*>(u"MnuLgDtls"_s)->trigger();
        QCOMPARE(messages.texts(), QStringList{u"Logfile not found !"_s});
        QCOMPARE(messages.messages().first().title, u"Quillbay+"_s);
        delete window;

        QFile log(AppPaths::file(u"Log.Dat"_s));
        QVERIFY(log.open(QIODevice::WriteOnly));
        const QString sep(QChar(0x81));
        for (const QString& path : {u"/docs/a.docx"_s, u"/docs/a-rather-long-folder-name/letter.docx"_s}) {
            log.write((path + sep + u"x"_s + sep + u"y"_s + sep + u"z"_s + sep + u"3\r\n"_s).toUtf8());
        }
        log.close();
        window = startProgram();
        QVERIFY(window);
        QCOMPARE(
            captionsOf(window->findChild<QMenu*>(u"MnuFile"_s)),
            (QStringList{u"&New Document"_s, u"&Open Document"_s, u"-"_s, u"&1.  /docs/a-rather-...ame/letter.docx"_s,
                         u"&2.  /docs/a.docx"_s, u"-"_s, u"E&xit"_s}));
        QSignalSpy logRequested(window, &FrmFileList::logRequested);
        window->findChild<QAction*>(u"MnuLgDtls"_s)->trigger();
        QCOMPARE(logRequested.count(), 1);
    }

    void fileFilters_handTheirPatternsToTheDialog_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("expected");
        QTest::newRow("caption without patterns") << u"HTM Documents|*.htm"_s << u"HTM Documents (*.htm)"_s;
        QTest::newRow("caption naming fewer patterns than it has")
            << u"Word Documents (*.doc)|*.doc;*.docx"_s << u"Word Documents (*.doc *.docx)"_s;
        QTest::newRow("caption with a comma between its patterns")
            << u"HTML Documents (*.html,*.htm)|*.htm*"_s << u"HTML Documents (*.htm*)"_s;
        QTest::newRow("two entries") << u"Comma Separated Values (*.csv)|*.csv|Text Documents (*.txt)|*.txt"_s
                                     << u"Comma Separated Values (*.csv);;Text Documents (*.txt)"_s;
    }

    void fileFilters_handTheirPatternsToTheDialog()
    {
        QFETCH(QString, filter);
        QFETCH(QString, expected);
        QCOMPARE(Dialogs::qtFilter(filter), expected);
    }
};

QTEST_MAIN(StartupTest)
#include "tst_startup.moc"
