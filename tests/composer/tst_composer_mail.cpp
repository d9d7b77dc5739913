#include "SmtpSink.h"
#include "TestSupport.h"
#include "WizardFixture.h"
#include "composer/ComposePage.h"
#include "composer/ComposerToolbar.h"
#include "core/AppPaths.h"
#include "core/Dialogs.h"
#include "core/PageView.h"
#include "delivery/SmtpAccount.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/WizardPages.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/OfficeBridge.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPointer>
#include <QRadioButton>
#include <QScrollBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QToolButton>

using namespace Qt::StringLiterals;

// The composer inside the wizard window: a mail with fields and a picture written, previewed and sent to a real
// SMTP server, and the attachment preview of a Word template.
class ComposerMailTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_list;

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_list = m_dir.filePath(u"list.csv"_s);
        QVERIFY(TestSupport::writeFile(
            m_list, "First Name,Email,Company\r\nAnn,ann@example.com,Acme\r\nBob,bob@example.com,Nord\r\n"
                    "Cy,cy@example.com,Ceta\r\n"));
    }

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    void aFormattedMail_arrivesWithItsFormatting_andItsPictureInline()
    {
        QImage logo(16, 12, QImage::Format_RGB32);
        logo.fill(QColor(Qt::darkGreen));
        const QString png = m_dir.filePath(u"logo.png"_s);
        QVERIFY(logo.save(png));
        QFile logoFile(png);
        QVERIFY(logoFile.open(QIODevice::ReadOnly));
        const QByteArray logoBytes = logoFile.readAll();

        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        saveAccount(sink.port());

        toTemplatePage(m_list);
        FrmMailMerge* wizard = m_wizard;
        wizard->CmdNext_Click();
        ComposePage* page = wizard->composePage();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Compose));
        QVERIFY(!page->G1_Tab->isTabEnabled(3)); // no "Word Document Attachment"

        // Write: a greeting with a field, a picture and two more fields; the formatting commands
        // themselves are the composer test's.
        page->txtSubject->setText(u"News for [[FirstName]]"_s);
        QTextEdit* body = page->dhtCompose;
        body->setFocus();
        body->insertPlainText(u"Dear "_s);
        page->MnuMergeFlds()->findChild<QAction*>(u"MnuFirstName"_s)->trigger();
        body->textCursor().insertBlock();
        Dialogs::setNextResult(png);
        page->TbEdit_ButtonClick(u"Picture"_s);
        body->textCursor().insertBlock();
        page->MnuMergeFlds()->findChild<QAction*>(u"MnuCompany"_s)->trigger();
        page->MnuMergeFlds()->findChild<QAction*>(u"MnuEmail1Address"_s)->trigger();

        // The preview shows the picture too, found by the name it was inserted under.
        page->G1_Tab->setCurrentIndex(2);
        QVERIFY(page->dhtPreview->toPlainText().startsWith(u"Dear Ann\t"_s));
        const QVariant picture =
            page->dhtPreview->document()->resource(QTextDocument::ImageResource, QUrl(u"file://"_s + png));
        QCOMPARE(picture.value<QImage>().size(), logo.size());
        page->G1_Tab->setCurrentIndex(0);

        wizard->CmdNext_Click();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::SendWay));
        wizard->sendPage()->OptSMTP->setChecked(true);
        wizard->CmdNext_Click();
        QCOMPARE(wizard->finishPage()->lblSendProcess->text(), u"All mails are successfully Sent."_s);

        const QList<SmtpSink::StoredMessage> stored = sink.messages(3);
        QCOMPARE(stored.size(), 3);
        const QByteArray& mail = stored.at(1).content;
        QVERIFY(mail.contains("Subject: News for Bob\r\n"));
        QVERIFY(mail.contains("Nord\tbob@example.com\t"));
        QVERIFY(!mail.contains("Ann") && !mail.contains("Acme"));
        QVERIFY(mail.contains("<img src=cid:logo.png"));
        QCOMPARE(SmtpSink::decodedPart(mail, "Content-ID: <logo.png>"), logoBytes);
    }

    void aDocTemplate_isPreviewedThroughDocPreviewDoc()
    {
        const QString docx = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, docx));
        const QString doc = m_dir.filePath(u"letter.doc"_s);
        QVERIFY(wordlink::BridgeDocument::convert(docx, doc).ok());

        toTemplatePage(m_list);
        FrmMailMerge* wizard = m_wizard;
        TemplatePage* templates = wizard->templatePage();
        templates->ChkAttachment->click();
        templates->txtTemplate[0]->setText(doc);
        wizard->CmdNext_Click();
        ComposePage* page = wizard->composePage();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Compose));
        QVERIFY(page->G1_Tab->isTabEnabled(3));
        page->G1_Tab->setCurrentIndex(3);
        QCOMPARE(page->cboPAtTo->currentText(), u"ann@example.com"_s);
        QVERIFY(QFileInfo(AppPaths::file(u"DocPreview.doc"_s)).size() > 0);
        QVERIFY(page->PicOleAt->hasPage());
        QVERIFY(page->PicOleAt->verticalBar->isVisible());
    }
};

QTEST_MAIN(ComposerMailTest)
#include "tst_composer_mail.moc"
