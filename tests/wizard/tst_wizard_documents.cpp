#include "SmtpSink.h"
#include "TestSupport.h"
#include "composer/ComposePage.h"
#include "core/Dialogs.h"
#include "delivery/SmtpAccount.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/WizardPages.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

namespace {

QString textOf(const QString& path)
{
    auto application = wordlink::NewApplication();
    auto opened = application->Open(path, true);
    return opened.ok() ? opened.value()->ContentText().value() : QString();
}

QByteArray attachmentOf(const QByteArray& message)
{
    const qsizetype start = message.indexOf("Content-Disposition: attachment");
    const qsizetype body = message.indexOf("\r\n\r\n", start) + 4;
    const qsizetype end = message.indexOf("\r\n--NextMimePart_000--", body);
    return QByteArray::fromBase64(message.mid(body, end - body).replace("\r\n", ""));
}

} // namespace

// Letters and personalised attachments from the wizard window, for .docx and .doc templates.
class WizardDocumentsTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_docx;
    QString m_doc;
    QPointer<FrmMailMerge> m_wizard;

    void toTemplatePage()
    {
        m_wizard = FrmMailMerge::instance();
        m_wizard->show();
        m_wizard->sourcePage()->LstDataSrc->setCurrentRow(5);
        Dialogs::setNextResult(m_dir.filePath(u"list.csv"_s));
        m_wizard->sourcePage()->CmdBrowseWab->click();
        m_wizard->CmdNext_Click();
        m_wizard->fieldMapPage()->ChkSkip->setChecked(true);
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        QFile list(m_dir.filePath(u"list.csv"_s));
        QVERIFY(list.open(QIODevice::WriteOnly));
        list.write("First Name,Last Name,Email,Company\r\n"
                   "Ann,Lee,ann@example.com,Acme\r\n"
                   "Bob,Stone,bob@example.com,Nord\r\n"
                   "Cy,Low,cy@example.com,Ceta\r\n");
        list.close();
        m_docx = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_docx));
        m_doc = m_dir.filePath(u"letter.doc"_s);
        QVERIFY(wordlink::BridgeDocument::convert(m_docx, m_doc).ok());
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void init() { TestSupport::resetSettings(); }

    void cleanup()
    {
        if (m_wizard) {
            m_wizard->close();
        }
        QTest::qWait(10);
    }

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
        QVERIFY(textOf(folder + u"/Quillbay+2.docx"_s).startsWith(u"Dear Bob,"_s));
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
        const QString text = textOf(combined);
        QVERIFY(text.startsWith(u"Dear Ann,"_s));
        QVERIFY(text.contains(u"Dear Cy,"_s));
    }

    void mails_carryEachContactsOwnCopy_ofADocxAndADocTemplate_data()
    {
        QTest::addColumn<bool>("wordNinetySeven");
        QTest::newRow(".docx template") << false;
        QTest::newRow(".doc template") << true;
    }

    void mails_carryEachContactsOwnCopy_ofADocxAndADocTemplate()
    {
        QFETCH(bool, wordNinetySeven);
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        SmtpAccount account;
        account.server = u"127.0.0.1"_s;
        account.port = sink.port();
        account.interval = 5;
        account.fromEmail = u"club@example.org"_s;
        account.save();

        toTemplatePage();
        TemplatePage* page = m_wizard->templatePage();
        page->ChkAttachment->click();
        page->txtTemplate[0]->setText(wordNinetySeven ? m_doc : m_docx);
        m_wizard->CmdNext_Click(); // reads the template's fields
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Compose));
        QVERIFY(m_wizard->tokens().docTokens().contains(u"[[LastName]]"_s));
        QVERIFY(m_wizard->composePage()->G1_Tab->isTabEnabled(3));
        m_wizard->composePage()->txtSubject->setText(u"Your letter"_s);
        m_wizard->composePage()->setDocumentHTML(u"<p>Dear [[FirstName]], your letter is attached.</p>"_s);
        m_wizard->CmdNext_Click();
        m_wizard->sendPage()->OptSMTP->setChecked(true);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"All mails are successfully Sent."_s);

        const QList<SmtpSink::StoredMessage> stored = sink.messages(3);
        QCOMPARE(stored.size(), 3);
        const QString name = wordNinetySeven ? u"letter.doc"_s : u"letter.docx"_s;
        const QStringList first = {u"Ann"_s, u"Bob"_s, u"Cy"_s};
        const QStringList last = {u"Lee"_s, u"Stone"_s, u"Low"_s};
        for (int i = 0; i < 3; ++i) {
            QVERIFY(stored.at(i).content.contains("filename=\"" + name.toUtf8() + "\""));
            const QString copy = m_dir.filePath(u"received-%1-"_s.arg(i) + name);
            QFile file(copy);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(attachmentOf(stored.at(i).content));
            file.close();
            const QString text = textOf(copy);
            QVERIFY2(text.startsWith(u"Dear "_s + first.at(i) + u","_s), qPrintable(text.left(40)));
            QVERIFY(text.contains(last.at(i)));
        }
    }
};

QTEST_MAIN(WizardDocumentsTest)
#include "tst_wizard_documents.moc"
