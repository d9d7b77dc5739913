#include "SmtpSink.h"
#include "TestSupport.h"
#include "composer/ComposePage.h"
#include "core/Dialogs.h"
#include "delivery/SmtpAccount.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/WizardPages.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPointer>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QToolButton>

using namespace Qt::StringLiterals;

// A formatted mail written in the composer of the wizard window, previewed and sent.
class ComposerMailTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void aFormattedMail_arrivesWithItsFormatting_andItsPictureInline()
    {
        QFile list(m_dir.filePath(u"list.csv"_s));
        QVERIFY(list.open(QIODevice::WriteOnly));
        list.write("First Name,Email,Company\r\nAnn,ann@example.com,Acme\r\nBob,bob@example.com,Nord\r\n"
                   "Cy,cy@example.com,Ceta\r\n");
        list.close();
        QImage logo(16, 12, QImage::Format_RGB32);
        logo.fill(QColor(Qt::darkGreen));
        const QString png = m_dir.filePath(u"logo.png"_s);
        QVERIFY(logo.save(png));
        QFile logoFile(png);
        QVERIFY(logoFile.open(QIODevice::ReadOnly));
        const QByteArray logoBytes = logoFile.readAll();

        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        SmtpAccount account;
        account.server = u"127.0.0.1"_s;
        account.port = sink.port();
        account.interval = 5;
        account.fromEmail = u"club@example.org"_s;
        account.save();

        QPointer<FrmMailMerge> wizard = FrmMailMerge::instance();
        wizard->show();
        wizard->sourcePage()->LstDataSrc->setCurrentRow(5);
        Dialogs::setNextResult(list.fileName());
        wizard->sourcePage()->CmdBrowseWab->click();
        wizard->CmdNext_Click();
        wizard->fieldMapPage()->ChkSkip->setChecked(true);
        wizard->CmdNext_Click();
        wizard->CmdNext_Click();
        wizard->CmdNext_Click();
        ComposePage* page = wizard->composePage();
        QCOMPARE(wizard->currentPage(), int(FrmMailMerge::Compose));

        // Write: a greeting with a field, a list, a link, two colours, a picture, two more fields.
        page->txtSubject->setText(u"News for [[FirstName]]"_s);
        QTextEdit* body = page->dhtCompose;
        body->setFocus();
        body->insertPlainText(u"Dear "_s);
        page->MnuMergeFlds()->findChild<QAction*>(u"MnuFirstName"_s)->trigger();
        body->textCursor().insertBlock();
        body->insertPlainText(u"first point"_s);
        page->TbEdit_ButtonClick(u"Bullets"_s);
        body->textCursor().insertBlock();
        body->insertPlainText(u"second point"_s);
        body->textCursor().insertBlock();
        page->TbEdit_ButtonClick(u"Bullets"_s);
        page->toggleColorFrame(u"C"_s);
        page->lblColor_Click(4); // red
        body->insertPlainText(u"Red words "_s);
        page->toggleColorFrame(u"C"_s);
        page->lblColor_Click(6); // blue
        body->insertPlainText(u"blue words "_s);
        Dialogs::setNextResult(u"https://example.org/club"_s);
        page->TbEdit_ButtonClick(u"Link"_s);
        body->textCursor().insertBlock();
        Dialogs::setNextResult(png);
        page->TbEdit_ButtonClick(u"Picture"_s);
        body->textCursor().insertBlock();
        page->MnuMergeFlds()->findChild<QAction*>(u"MnuCompany"_s)->trigger();
        page->MnuMergeFlds()->findChild<QAction*>(u"MnuEmail1Address"_s)->trigger();

        // Preview the three contacts.
        page->G1_Tab->setCurrentIndex(2);
        QVERIFY(page->dhtPreview->toPlainText().contains(u"Dear Ann"_s));
        page->ImgSrl_Click(1);
        QVERIFY(page->dhtPreview->toPlainText().contains(u"Nord"_s));
        page->ImgSrl_Click(3);
        QVERIFY(page->dhtPreview->toPlainText().contains(u"cy@example.com"_s));
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
        QVERIFY(mail.contains("Dear Bob"));
        QVERIFY(mail.contains("<ul"));
        QVERIFY(mail.contains("first point"));
        QVERIFY(mail.contains("color:#ff0000"));
        QVERIFY(mail.contains("color:#0000c0"));
        QVERIFY(mail.contains("href=\"https://example.org/club\""));
        QVERIFY(mail.contains("Nord"));
        QVERIFY(mail.contains("bob@example.com\t") || mail.contains("bob@example.com"));
        QVERIFY(mail.contains("src=cid:logo.png"));
        const qsizetype part = mail.indexOf("Content-ID: <logo.png>");
        QVERIFY(part > 0);
        const qsizetype start = mail.indexOf("\r\n\r\n", part) + 4;
        const qsizetype end = mail.indexOf("\r\n--NextMimePart", start);
        QCOMPARE(QByteArray::fromBase64(mail.mid(start, end - start).replace("\r\n", "")), logoBytes);
        wizard->close();
    }
};

QTEST_MAIN(ComposerMailTest)
#include "tst_composer_mail.moc"
