#include "TestSupport.h"
#include "app/Main.h"
#include "composer/ComposePage.h"
#include "core/AppPaths.h"
#include "core/DesktopTheme.h"
#include "core/Dialogs.h"
#include "core/FrmSplash.h"
#include "core/FrmWelcome.h"
#include "core/PageView.h"
#include "core/SettingsKeys.h"
#include "delivery/FrmSmtp.h"
#include "explorer/FrmFileList.h"
#include "explorer/FrmShowLog.h"
#include "search/FrmSearch.h"
#include "wizard/ui/ContactListView.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/WizardPages.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QTextEdit>
#include <QToolButton>
#include <QTreeWidget>
#include <QWidget>

using namespace Qt::StringLiterals;

// Opens every window of the program on sample data and saves one picture of each into the
// folder named by QUILLBAY_SCREENSHOTS (or "quillbay-screenshots" in the temporary folder), one
// test function a window, in the order they run.
class ScreenshotsTest : public QObject
{
    Q_OBJECT

private:
    QString m_folder;
    QString m_documents;

    void save(QWidget* window, const QString& name)
    {
        window->activateWindow();
        QTest::qWait(150);
        const QString path = m_folder + u'/' + name + u".png"_s;
        QVERIFY2(window->grab().save(path), qPrintable(path));
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        useDesktopIconTheme();
        m_folder = qEnvironmentVariable("QUILLBAY_SCREENSHOTS", QDir::tempPath() + u"/quillbay-screenshots"_s);
        QDir().mkpath(m_folder);
        m_documents = TestSupport::homeFolder() + u"/Documents"_s;
        QDir().mkpath(m_documents);
        QDir().mkpath(TestSupport::homeFolder() + u"/Desktop"_s);
        for (const QString& name :
             {u"Invitation.doc"_s, u"Price list 2026.docx"_s, u"Welcome pack.rtf"_s, u"~$temp.docx"_s}) {
            QVERIFY(TestSupport::writeFile(m_documents + u'/' + name, QByteArray(2048 + name.size() * 300, 'x')));
        }
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_documents + u"/Annual letter.docx"_s));
    }

    // The splash as it stands while the main window loads: taken from inside the load.
    void splash()
    {
        bool saved = false;
        (new FrmSplash)->startLoading([&](FrmSplash& loading) -> QWidget* {
            loading.setLoadingText(u"Initializing Drives..."_s);
            saved = loading.grab().save(m_folder + u"/frmSplash.png"_s);
            return nullptr;
        });
        QVERIFY(QTest::qWaitFor([&] { return saved; }, 5000));
    }

    // The main window with a previewed letter.
    void fileList()
    {
        SettingsStore::instance().setValue(Keys::Flash, u"1"_s);
        SettingsStore::instance().setValue(Keys::AddressBarFile, m_documents);
        Main();
        QVERIFY(QTest::qWaitFor([] { return mainWindow() != nullptr && mainWindow()->isVisible(); }, 5000));
        FrmFileList* window = mainWindow();
        window->resize(1100, 760);
        QTreeWidget* list = window->lvList();
        list->setCurrentItem(list->findItems(u"Annual letter"_s, Qt::MatchExactly).value(0));
        QVERIFY(QTest::qWaitFor([&] { return !window->picOle()->picture->pixmap().isNull(); }, 120000));
        save(window, u"frmFileList"_s);
    }

    void welcome()
    {
        FrmWelcome* welcome = FrmWelcome::instance();
        welcome->show();
        save(welcome, u"frmWelcome"_s);
        welcome->close();
    }

    void about()
    {
        QPointer<FrmSplash> about = new FrmSplash;
        about->showAbout();
        save(about, u"frmSplash-about"_s);
        about->close();
    }

    // The wizard on a sample comma file, one picture a page in the order a mail merge meets
    // them, then a postal run of the same list into a folder and the run page at its end.
    void wizardPages()
    {
        const QString list = m_documents + u"/members.csv"_s;
        QVERIFY(TestSupport::writeFile(list, "First Name,Last Name,Email,Company,City\r\n"
                                             "Ann,Lee,ann@example.com,Acme,Leeds\r\n"
                                             "Bj\xC3\xB6rn,Str\xC3\xB6m,bjorn@example.com,\"Nord, AB\",Malm\xC3\xB6\r\n"
                                             "Chlo\xC3\xA9,Martin,chloe@example.com,Ceta,Lyon\r\n"));
        FrmMailMerge* wizard = FrmMailMerge::instance();
        wizard->show();
        wizard->sourcePage()->LstDataSrc->setCurrentRow(5);
        Dialogs::setNextResult(list);
        wizard->sourcePage()->CmdBrowseWab->click();
        save(wizard, u"frmMailMerge-0-source"_s);
        wizard->CmdNext_Click();
        wizard->fieldMapPage()->ChkSkip->setChecked(true);
        save(wizard, u"frmMailMerge-6-fieldmap"_s);
        wizard->CmdNext_Click();
        save(wizard, u"frmMailMerge-1-contacts"_s);
        wizard->CmdNext_Click();
        const QString letter = m_documents + u"/Invitation letter.docx"_s;
        QVERIFY(TestSupport::makeDocx(u"letter"_s, letter));
        TemplatePage* page = wizard->templatePage();
        page->ChkAttachment->click();
        page->txtTemplate[0]->setText(letter);
        save(wizard, u"frmMailMerge-2-template"_s);
        wizard->CmdNext_Click();
        ComposePage* compose = wizard->composePage();
        compose->txtSubject->setText(u"News for [[FirstName]]"_s);
        compose->setDocumentHTML(u"<h2 style='color:#0000c0'>Spring letter</h2><p>Dear [[FirstName]],</p>"
                                 u"<ul><li>Walk on <b>Saturday</b></li><li>Meeting at [[CompanyName]]</li></ul>"
                                 u"<p>See <a href='https://example.org'>the club's page</a>.</p>"_s);
        compose->dhtCompose->setFocus(); // the toolbar works while the caret is in the body
        save(wizard, u"frmMailMerge-5-compose"_s);
        wizard->CmdNext_Click();
        save(wizard, u"frmMailMerge-3-send"_s);

        wizard->CmdBack_Click();
        wizard->CmdBack_Click();
        page->ChkPostalMerge->click();
        page->txtTemplate[1]->setText(letter);
        page->OptDocs[1]->click();
        page->txtDocs->setText(m_documents + u"/Letters"_s);
        wizard->CmdNext_Click();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Finish));
        save(wizard, u"frmMailMerge-4-finish"_s);
        wizard->close();
    }

    // A finished word search: the minutes that mention the budget.
    void search()
    {
        const QString minutes = m_documents + u"/Minutes"_s;
        QDir().mkpath(minutes);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, minutes + u"/Board meeting March.docx"_s, u"The budget for 2026"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, minutes + u"/Board meeting April.docx"_s, u"Budget approved"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, minutes + u"/Summer party.docx"_s, u"Music and food"_s));
        FrmSearch* search = FrmSearch::instance();
        search->show();
        search->TxtFolder->setText(m_documents);
        search->ChkIncSubFolder->setChecked(true);
        search->CboCriteria->setEditText(u"*.*"_s);
        search->txtwords->setText(u"budget"_s);
        search->chkOptions[0]->setChecked(true);
        search->RunSearch();
        save(search, u"FrmSearch"_s);
        search->close();
    }

    void smtpSettings()
    {
        FrmSmtp* settings = FrmSmtp::instance();
        settings->show();
        save(settings, u"FrmSmtp"_s);
        delete settings;
    }

    // The log of the last documents opened, the second row clicked.
    void documentLog()
    {
        QFile log(AppPaths::file(u"Log.Dat"_s));
        QVERIFY(log.open(QIODevice::WriteOnly));
        const QString sep(QChar(0x81));
        const QStringList names{u"Invitation.doc"_s, u"Price list 2026.docx"_s, u"Annual letter.docx"_s};
        for (int i = 0; i < names.size(); ++i) {
            const QString day = u"0%1/03/2026 1%1:20"_s.arg(i + 2);
            log.write((QStringList{m_documents + u'/' + names.at(i), day, day, u"14/01/2026 09:05"_s,
                                   QString::number(12 + 7 * i)}
                           .join(sep) +
                       u"\r\n"_s)
                          .toUtf8());
        }
        log.close();
        FrmShowLog* window = FrmShowLog::instance();
        window->show();
        QVERIFY(QTest::qWaitFor([window] { return window->lvList->topLevelItemCount() == 3; }, 2000));
        window->lvList->setCurrentItem(window->lvList->topLevelItem(1));
        window->lvList_ItemClick(window->lvList->topLevelItem(1));
        save(window, u"FrmShowLog"_s);
        window->close();
    }
};

QTEST_MAIN(ScreenshotsTest)
#include "tst_screenshots.moc"
