#include "DocumentText.h"
#include "SmtpSink.h"
#include "WizardFixture.h"
#include "composer/ComposePage.h"
#include "core/AppPaths.h"
#include "core/PageView.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/OfficeBridge.h"
#include "wordlink/UserOffice.h"

#include <QFileInfo>
#include <QSet>

namespace {

QByteArray attachmentOf(const QByteArray& message)
{
    return SmtpSink::decodedPart(message, "Content-Disposition: attachment");
}

// The office suite's windows the wizard asked for, instead of the windows.
class OfficeRecorder
{
public:
    OfficeRecorder()
    {
        wordlink::setOfficeLauncher([this](const QString& program, const QStringList& arguments) {
            commands << (QStringList{program} + arguments);
            return true;
        });
    }
    ~OfficeRecorder() { wordlink::setOfficeLauncher({}); }
    OfficeRecorder(const OfficeRecorder&) = delete;
    OfficeRecorder& operator=(const OfficeRecorder&) = delete;

    QList<QStringList> commands;
};

} // namespace

// Letters and personalised attachments from the wizard window, for .docx and .doc templates.
class WizardDocumentsTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_docx;

    void toTemplatePage() { WizardFixture::toTemplatePage(m_dir.filePath(u"list.csv"_s)); }

    // From the template page with the attachment template, its first copy previewed in the
    // composer, to the end of an SMTP run.
    void sendWithAttachment(const QString& templatePath)
    {
        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();
        page->ChkAttachment->click();
        page->txtTemplate[0]->setText(templatePath);
        m_wizard->CmdNext_Click(); // reads the template's fields
        ComposePage* compose = m_wizard->composePage();
        QVERIFY(compose->G1_Tab->isTabEnabled(3));
        compose->G1_Tab->setCurrentIndex(3);
        QCOMPARE(compose->cboPAtTo->currentText(), u"ann@example.com"_s);
        QVERIFY(compose->PicOleAt->hasPage());
        compose->txtSubject->setText(u"Your letter"_s);
        compose->setDocumentHTML(u"<p>Dear [[FirstName]], your letter is attached.</p>"_s);
        m_wizard->CmdNext_Click();
        m_wizard->sendPage()->OptSMTP->setChecked(true);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"All mails are successfully Sent."_s);
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
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    void postalMerge_goesFromTheTemplatePageToTheEnd_intoAFolder_andThenIntoOneDocument()
    {
        TestSupport::MessageRecorder messages;
        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();
        page->ChkPostalMerge->click();
        page->txtTemplate[1]->setText(m_docx);
        page->OptDocs[1]->click();
        const QString folder = m_dir.filePath(u"letters"_s);
        page->txtDocs->setText(folder);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Finish));
        FinishPage* finish = m_wizard->finishPage();
        QCOMPARE(finish->FinishTab->tabText(0), u"Send Files"_s);
        QCOMPARE(finish->lblSendProcess->text(), u"Files are Saved Successfully"_s);
        QCOMPARE(m_wizard->CmdNext()->text(), u"Finish"_s);
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 3);

        // Back from the finished run goes to the template page, ready to start again: now all
        // letters in one document.
        m_wizard->CmdBack_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
        QCOMPARE(m_wizard->CmdNext()->text(), u"Start"_s);
        page->OptDocs[0]->click();
        const QString combined = m_dir.filePath(u"all.docx"_s);
        page->txtDocs->setText(combined);
        m_wizard->CmdNext_Click();
        QCOMPARE(finish->lblSendProcess->text(), u"all.docx is Successfully Stored"_s);
        QCOMPARE(finish->FinishTab->tabText(0), u"Send File"_s);
        QVERIFY(TestSupport::documentText(combined).contains(u"\fDear Cy,"_s));

        // "Open Created Merged Document" opens the result in the office suite.
        {
            OfficeRecorder office;
            QTest::mouseClick(finish->lblOpenDoc, Qt::LeftButton);
            QCOMPARE(office.commands, (QList<QStringList>{{u"soffice"_s, u"--writer"_s, u"--nologo"_s, combined}}));
            QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);
        }
        // "Finish" unloads without a question.
        m_wizard->CmdNext_Click();
        QTRY_VERIFY(m_wizard.isNull());
        QVERIFY(messages.messages().isEmpty());
    }

    void templatePage_checksNames_andOpensTheOfficeSuite()
    {
        TestSupport::MessageRecorder messages;
        OfficeRecorder office;
        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();

        page->ChkAttachment->click();
        // Browse: a name must end in DOC or DOCX, in any letter case.
        Dialogs::setNextResult(m_dir.filePath(u"letter.docs"_s));
        page->CmdBrowseTemplate[0]->click();
        QCOMPARE(messages.lastText(), u"Not a Legal Source"_s);
        QCOMPARE(page->txtTemplate[0]->text(), QString());
        const QString upper = m_dir.filePath(u"LETTER.DOC"_s);
        Dialogs::setNextResult(upper);
        page->CmdBrowseTemplate[0]->click();
        QCOMPARE(page->txtTemplate[0]->text(), upper);
        page->txtTemplate[0]->setText(m_docx);

        // Edit opens the template for the user, New an empty document.
        page->CmdEdit[0]->click();
        page->CmdNewTemplate[0]->click();
        QCOMPARE(office.commands, (QList<QStringList>{{u"soffice"_s, u"--writer"_s, u"--nologo"_s, m_docx},
                                                      {u"soffice"_s, u"--writer"_s, u"--nologo"_s}}));
        QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);
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
        saveAccount(sink.port());
        sendWithAttachment(kept);
        QCOMPARE(TestSupport::readFile(kept), TestSupport::readFile(m_docx));
        QList<SmtpSink::StoredMessage> stored = sink.messages(3);
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

        // A .doc template without fields is previewed through its own kind of copy and goes out
        // as it is.
        const QString plain = m_dir.filePath(u"notice.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, plain, u"The club meets on Friday."_s));
        const QString doc = m_dir.filePath(u"notice.doc"_s);
        QVERIFY(wordlink::BridgeDocument::convert(plain, doc).ok());
        closeWizard();
        sendWithAttachment(doc);
        QVERIFY(QFileInfo(AppPaths::file(u"DocPreview.doc"_s)).size() > 0);
        stored = sink.messages(6).mid(3);
        QCOMPARE(stored.size(), 3);
        for (const SmtpSink::StoredMessage& message : stored) {
            QVERIFY(message.content.contains("filename=\"notice.doc\""));
            QCOMPARE(attachmentOf(message.content), TestSupport::readFile(doc));
        }
    }
};

QTEST_MAIN(WizardDocumentsTest)
#include "tst_wizard_documents.moc"
