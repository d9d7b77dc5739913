#include "DocumentText.h"
#include "SmtpSink.h"
#include "TestSupport.h"
#include "WizardFixture.h"
#include "composer/ComposePage.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "core/SettingsKeys.h"
#include "delivery/SmtpAccount.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/WizardPages.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"
#include "wordlink/UserOffice.h"

#include <QCheckBox>
#include <QDesktopServices>
#include <QDir>
#include <QEnterEvent>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSet>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

QByteArray attachmentOf(const QByteArray& message)
{
    return SmtpSink::decodedPart(message, "Content-Disposition: attachment");
}

QByteArray bytesOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Where the help link leads: the address the desktop was asked to open.
class UrlRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened << url; }
};

// The office suite's windows the wizard asked for, instead of the windows.
class OfficeRecorder
{
public:
    OfficeRecorder()
    {
        wordlink::setOfficeLauncher([this](const QString& program, const QStringList& arguments) {
            commands << (QStringList{program} + arguments);
            running << SettingsStore::instance().value(Keys::WordRunning);
            return true;
        });
    }
    ~OfficeRecorder() { wordlink::setOfficeLauncher({}); }
    OfficeRecorder(const OfficeRecorder&) = delete;
    OfficeRecorder& operator=(const OfficeRecorder&) = delete;

    QList<QStringList> commands;
    QStringList running; // the office flag while each was asked for
};

} // namespace

// Letters and personalised attachments from the wizard window, for .docx and .doc templates.
class WizardDocumentsTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_docx;
    QString m_doc;

    void toTemplatePage() { WizardFixture::toTemplatePage(m_dir.filePath(u"list.csv"_s)); }

    // From the template page with the attachment template to the end of an SMTP run.
    void sendWithAttachment(const SmtpSink& sink, const QString& templatePath)
    {
        saveAccount(sink.port());

        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();
        page->ChkAttachment->click();
        page->txtTemplate[0]->setText(templatePath);
        m_wizard->CmdNext_Click(); // reads the template's fields
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Compose));
        QVERIFY(m_wizard->composePage()->G1_Tab->isTabEnabled(3));
        m_wizard->composePage()->txtSubject->setText(u"Your letter"_s);
        m_wizard->composePage()->setDocumentHTML(u"<p>Dear [[FirstName]], your letter is attached.</p>"_s);
        m_wizard->CmdNext_Click();
        m_wizard->sendPage()->OptSMTP->setChecked(true);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Finish));
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        QVERIFY(TestSupport::writeFile(m_dir.filePath(u"list.csv"_s), "First Name,Last Name,Email,Company\r\n"
                                                                      "Ann,Lee,ann@example.com,Acme\r\n"
                                                                      "Bob,Stone,bob@example.com,Nord\r\n"
                                                                      "Cy,Low,cy@example.com,Ceta\r\n"));
        m_docx = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_docx));
        m_doc = m_dir.filePath(u"letter.doc"_s);
        QVERIFY(wordlink::BridgeDocument::convert(m_docx, m_doc).ok());
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    void postalMerge_writesOneLetterPerContact_fromADocxTemplate()
    {
        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();
        page->ChkPostalMerge->click();
        page->txtTemplate[1]->setText(m_docx);
        page->OptDocs[1]->click();
        const QString folder = m_dir.filePath(u"letters"_s);
        page->txtDocs->setText(folder);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Finish));
        QCOMPARE(m_wizard->finishPage()->FinishTab->tabText(0), u"Send Files"_s);
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"Files are Saved Successfully"_s);
        QCOMPARE(QDir(folder).entryList(QDir::Files, QDir::Name),
                 (QStringList{u"Quillbay+1.docx"_s, u"Quillbay+2.docx"_s, u"Quillbay+3.docx"_s}));
        QVERIFY(TestSupport::documentText(folder + u"/Quillbay+2.docx"_s).startsWith(u"Dear Bob,"_s));
        QVERIFY(m_wizard->CmdNext()->isEnabled());
        QCOMPARE(m_wizard->CmdNext()->text(), u"Finish"_s);
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
        QCOMPARE(m_wizard->CmdNext()->text(), u"Start"_s);
    }

    void postalMerge_combinesLettersOfADocTemplate_intoOneDocument()
    {
        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();
        page->ChkPostalMerge->click();
        page->txtTemplate[1]->setText(m_doc);
        page->OptDocs[0]->click();
        const QString combined = m_dir.filePath(u"all.doc"_s);
        page->txtDocs->setText(combined);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"all.doc is Successfully Stored"_s);
        QCOMPARE(m_wizard->finishPage()->FinishTab->tabText(0), u"Send File"_s);
        QVERIFY(m_wizard->finishPage()->PicOpen->isVisible());
        const QString text = TestSupport::documentText(combined);
        QVERIFY(text.startsWith(u"Dear Ann,"_s));
        QVERIFY(text.contains(u"\fDear Cy,"_s));

        // "Open Created Merged Document", and its picture, open the result in the office suite.
        OfficeRecorder office;
        FinishPage* finish = m_wizard->finishPage();
        QTest::mouseClick(finish->lblOpenDoc, Qt::LeftButton);
        QTest::mouseClick(finish->ImgDoc, Qt::LeftButton);
        const QStringList opened{u"soffice"_s, u"--writer"_s, u"--nologo"_s, combined};
        QCOMPARE(office.commands, (QList<QStringList>{opened, opened}));
        QCOMPARE(office.running, (QStringList{u"Y"_s, u"Y"_s}));
        QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);
        // The box is read as it stands: with a blank in front, no document comes back.
        page->txtDocs->setText(u" "_s + combined);
        QTest::mouseClick(finish->lblOpenDoc, Qt::LeftButton);
        QCOMPARE(office.commands.size(), 2);
    }

    void templatePage_checksNames_enablesItsSides_andOpensTheOfficeSuiteAndTheHelp()
    {
        TestSupport::MessageRecorder messages;
        OfficeRecorder office;
        UrlRecorder browser;
        QDesktopServices::setUrlHandler(u"file"_s, &browser, "open");
        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();

        // The attachment side waits for its box, which stays live.
        QVERIFY(page->ChkAttachment->isEnabled());
        QVERIFY(!page->txtTemplate[0]->isEnabled());
        QVERIFY(!page->txtDocs->isEnabled());
        page->ChkAttachment->click();
        QVERIFY(page->txtTemplate[0]->isEnabled());
        QVERIFY(!page->CmdEdit[0]->isEnabled()); // nothing to edit yet

        // Browse: a name must end in DOC or DOCX, in any letter case.
        for (const QString& wrong : {u"letter.txt"_s, u"letter."_s, u"letter.docs"_s}) {
            Dialogs::setNextResult(m_dir.filePath(wrong));
            page->CmdBrowseTemplate[0]->click();
            QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        }
        QCOMPARE(page->txtTemplate[0]->text(), QString());
        const QString upper = m_dir.filePath(u"LETTER.DOC"_s);
        Dialogs::setNextResult(upper);
        page->CmdBrowseTemplate[0]->click();
        QCOMPARE(page->txtTemplate[0]->text(), upper);
        QVERIFY(page->CmdEdit[0]->isEnabled());
        Dialogs::setNextResult(m_docx);
        page->CmdBrowseTemplate[0]->click();
        QCOMPARE(page->txtTemplate[0]->text(), m_docx);

        // Edit opens the template for the user; a name whose file has gone disables Edit.
        page->CmdEdit[0]->click();
        page->txtTemplate[0]->setText(upper); // no such file
        page->CmdEdit[0]->click();
        QVERIFY(!page->CmdEdit[0]->isEnabled());
        page->txtTemplate[0]->setText(upper + u" "_s);
        QVERIFY(page->CmdEdit[0]->isEnabled()); // typing enables it again
        page->CmdNewTemplate[0]->click();
        QCOMPARE(office.commands, (QList<QStringList>{{u"soffice"_s, u"--writer"_s, u"--nologo"_s, m_docx},
                                                      {u"soffice"_s, u"--writer"_s, u"--nologo"_s}}));
        QCOMPARE(office.running, (QStringList{u"Y"_s, u"Y"_s}));
        QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);

        // Unchecked, the attachment side is disabled again, but for its box.
        page->ChkAttachment->click();
        QVERIFY(!page->txtTemplate[0]->isEnabled());
        QVERIFY(!page->CmdEdit[0]->isEnabled());
        QVERIFY(page->ChkAttachment->isEnabled());
        page->txtTemplate[0]->setText(m_docx); // a name put there by the program
        QVERIFY(page->CmdEdit[0]->isEnabled());

        // The help: the link and its picture, the picture only while the link is enabled.
        QTest::mouseClick(page->Image5, Qt::LeftButton);
        QVERIFY(browser.opened.isEmpty());
        page->ChkAttachment->click();
        QTest::mouseClick(page->Image5, Qt::LeftButton);
        emit page->lblLink[0]->linkActivated(u"#template"_s);
        QCOMPARE(browser.opened.size(), 2);
        QCOMPARE(browser.opened.at(0).toLocalFile(), AppPaths::helpFile());
        QVERIFY(bytesOf(AppPaths::helpFile()).contains("id=\"template\""));

        // The postal side: its output choice and the checks of its names.
        page->ChkPostalMerge->click();
        QVERIFY(page->txtDocs->isEnabled());
        QVERIFY(!page->ChkAttachment->isEnabled());
        page->cmdBrowseDoc->click();
        QCOMPARE(messages.lastText(), u"Please select any option"_s);
        QCOMPARE(messages.messages().last().title, u"Quillbay+"_s);
        page->OptDocs[0]->click();
        Dialogs::setNextResult(m_dir.filePath(u"all.odt"_s));
        page->cmdBrowseDoc->click();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        QCOMPARE(page->txtDocs->text(), QString());
        Dialogs::setNextResult(m_dir.filePath(u"all.Docx"_s));
        page->cmdBrowseDoc->click();
        QCOMPARE(page->txtDocs->text(), m_dir.filePath(u"all.Docx"_s));
        QTest::mouseClick(page->Image1, Qt::LeftButton);
        QCOMPARE(browser.opened.size(), 3);
        QDesktopServices::unsetUrlHandler(u"file"_s);
    }

    void aTemplateWithoutTokens_goesOutAsItIs()
    {
        const QString plain = m_dir.filePath(u"notice.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, plain, u"The club meets on Friday."_s));
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        sendWithAttachment(sink, plain);
        QCOMPARE(m_wizard->tokens().docTokens(), QString());
        const QList<SmtpSink::StoredMessage> stored = sink.messages(3);
        QCOMPARE(stored.size(), 3);
        for (const SmtpSink::StoredMessage& message : stored) {
            QVERIFY(message.content.contains("filename=\"notice.docx\""));
            QCOMPARE(attachmentOf(message.content), bytesOf(plain));
        }
    }

    void aTemplateInTheApplicationFolder_isKept_andEachRunCopiesIntoAFolderOfItsOwn()
    {
        // Each run writes the contacts' copies into a scratch folder of its own, so a template
        // kept in the application folder is never overwritten, and two runs at once never mix
        // their copies; the scratch folder goes with the run.
        const QString kept = AppPaths::file(u"letter.docx"_s);
        QFile::remove(kept);
        QVERIFY(QFile::copy(m_docx, kept));
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        sendWithAttachment(sink, kept);
        QVERIFY(m_wizard->tokens().docTokens().contains(u"[[FirstName]]"_s));
        QCOMPARE(bytesOf(kept), bytesOf(m_docx));
        const QList<SmtpSink::StoredMessage> stored = sink.messages(3);
        QCOMPARE(stored.size(), 3);
        QSet<QByteArray> copies;
        const QStringList first = {u"Ann"_s, u"Bob"_s, u"Cy"_s};
        for (int i = 0; i < 3; ++i) {
            QVERIFY(stored.at(i).content.contains("filename=\"letter.docx\""));
            copies.insert(attachmentOf(stored.at(i).content));
            const QString copy = m_dir.filePath(u"received-%1.docx"_s.arg(i));
            QVERIFY(TestSupport::writeFile(copy, attachmentOf(stored.at(i).content)));
            const QString text = TestSupport::documentText(copy);
            QVERIFY2(text.startsWith(u"Dear "_s + first.at(i) + u","_s), qPrintable(text.left(40)));
        }
        QCOMPARE(copies.size(), 3);
        QCOMPARE(QDir(AppPaths::applicationFolder()).entryList({u"Attachments-*"_s}, QDir::Dirs), QStringList());
        QFile::remove(kept);
    }
};

QTEST_MAIN(WizardDocumentsTest)
#include "tst_wizard_documents.moc"
