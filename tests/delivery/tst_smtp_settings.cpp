#include "TestSupport.h"
#include "core/SettingsKeys.h"
#include "delivery/FrmSmtp.h"
#include "delivery/SmtpAccount.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QTest>

using namespace Qt::StringLiterals;

class SmtpSettingsTest : public QObject
{
    Q_OBJECT

private:
    QPointer<FrmSmtp> m_dialog;

    FrmSmtp* open()
    {
        LoadSmtpSettings();
        m_dialog = FrmSmtp::instance();
        m_dialog->show();
        m_dialog->activateWindow();
        if (!QTest::qWaitForWindowActive(m_dialog)) {
            qWarning("the settings dialog did not become active");
        }
        return m_dialog;
    }

    static void fill(FrmSmtp* dialog)
    {
        dialog->txtFromMail->setText(u"news@example.org"_s);
        dialog->txtSmtp->setText(u"  smtp.example.org "_s);
        dialog->txtSMTPPort->setText(u" 25 "_s);
    }

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }
    void init() { TestSupport::resetSettings(); }
    void cleanup()
    {
        delete m_dialog;
        QTest::qWait(5);
    }

    void freshStore_givesPort25_noLogin_andTheLowestTimeout()
    {
        FrmSmtp* dialog = open();
        QCOMPARE(dialog->txtSMTPPort->text(), u"25"_s);
        QVERIFY(!dialog->chkAuth->isChecked());
        QVERIFY(!dialog->txtUser->isEnabled());
        QCOMPARE(dialog->sldr->value(), 30);
        QCOMPARE(dialog->lblSec->text(), u"30 Seconds"_s);
        QCOMPARE(SmtpAccount::current().interval, 0); // no timeout until the first save
        dialog->sldr->setValue(95);
        QCOMPARE(dialog->sldr->value(), 90);
        QCOMPARE(dialog->lblSec->text(), u"90 Seconds"_s);
    }

    void port465_speaksTlsFromTheFirstByte_unlessEncryptionIsOff()
    {
        struct Case
        {
            int port;
            SmtpAccount::Tls tls;
            bool noEncryption;
            bool expected;
        };
        using enum SmtpAccount::Tls;
        for (const Case& one :
             {Case{465, ByPort, false, true}, Case{587, ByPort, false, false}, Case{25, ByPort, false, false},
              Case{465, ByPort, true, false}, Case{2525, Implicit, false, true}, Case{465, StartTls, false, false}}) {
            SmtpAccount account;
            account.port = one.port;
            account.tls = one.tls;
            account.noEncryption = one.noEncryption;
            QVERIFY2(account.tlsFromTheFirstByte() == one.expected, qPrintable(QString::number(one.port)));
        }
    }

    void storedAccount_fillsTheForm_andLoginBoxesLookOffWhenUnchecked()
    {
        SaveSetting(u"SMTP"_s, u"SMTPServer"_s, u"mail.example.org"_s);
        SaveSetting(u"SMTP"_s, u"SMTPPort"_s, u"587"_s);
        SaveSetting(u"SMTP"_s, u"Interval"_s, u"240"_s);
        SaveSetting(u"SMTP"_s, u"ChkAth"_s, u"0"_s);
        SaveSetting(u"SMTP"_s, u"User"_s, u"kept"_s);
        SaveSetting(u"SMTP"_s, u"FromName"_s, u"Club"_s);
        SaveSetting(u"SMTP"_s, u"ReplyEmail"_s, u"reply@example.org"_s);
        FrmSmtp* dialog = open();
        QCOMPARE(dialog->txtSmtp->text(), u"mail.example.org"_s);
        QCOMPARE(dialog->txtSMTPPort->text(), u"587"_s);
        QCOMPARE(dialog->sldr->value(), 240);
        QCOMPARE(dialog->lblSec->text(), u"240 Seconds"_s);
        QCOMPARE(dialog->txtFromName->text(), u"Club"_s);
        QCOMPARE(dialog->txtReply->text(), u"reply@example.org"_s);
        QCOMPARE(dialog->txtUser->text(), u"kept"_s);
        const QPalette standard = QApplication::palette(dialog->txtUser);
        QVERIFY(!dialog->txtUser->isEnabled());
        QCOMPARE(dialog->txtUser->palette().color(QPalette::Base), standard.color(QPalette::Active, QPalette::Button));
        dialog->chkAuth->click();
        QVERIFY(dialog->txtPwd->isEnabled());
        QCOMPARE(dialog->txtPwd->palette().color(QPalette::Base), standard.color(QPalette::Active, QPalette::Base));
        QCOMPARE(dialog->txtUser->text(), u"kept"_s);
    }

    void ok_testsInItsOrder_thenSavesEveryKey_trimmed()
    {
        TestSupport::MessageRecorder messages;
        FrmSmtp* dialog = open();
        dialog->cmdOk_Click(0);
        dialog->txtFromMail->setText(u"news@example.org"_s);
        dialog->cmdOk_Click(0);
        dialog->txtSmtp->setText(u"  smtp.example.org "_s);
        dialog->txtSMTPPort->clear();
        dialog->cmdOk_Click(0);
        for (const QString& port : {u"smtp"_s, u"70000"_s}) {
            dialog->txtSMTPPort->setText(port);
            dialog->cmdOk_Click(0);
        }
        dialog->txtSMTPPort->setText(u" 587 "_s);
        dialog->chkAuth->click();
        QVERIFY(dialog->txtUser->isEnabled());
        dialog->cmdOk_Click(0);
        QCOMPARE(messages.texts(),
                 (QStringList{u"Please Specify From Mail!"_s, u"Please Specify Outgoing Mail Server!"_s,
                              u"Please Specify SMTP Port!"_s, u"Please Specify SMTP Port!"_s,
                              u"Please Specify SMTP Port!"_s, u"Please Fill Authentication Details!"_s}));
        QCOMPARE(messages.messages().first().icon, MessageIcon::None);
        QVERIFY(dialog->isVisible());
        QCOMPARE(GetSetting(u"SMTP"_s, u"SMTPServer"_s, u"none"_s), u"none"_s);
        dialog->txtUser->setText(u"mailer"_s);
        dialog->txtPwd->setText(u"s3cret"_s);
        dialog->sldr->setValue(120);
        dialog->chkNoEncryption->setChecked(true);
        dialog->cmdOk_Click(0);
        QTRY_VERIFY(m_dialog.isNull() || !m_dialog->isVisible());
        QCOMPARE(GetSetting(u"SMTP"_s, u"SMTPServer"_s), u"smtp.example.org"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"SMTPPort"_s), u"587"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"Interval"_s), u"120"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"ChkAth"_s), u"1"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"User"_s), u"mailer"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"Pwd"_s), u"s3cret"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"NoEncryption"_s), u"1"_s);
        const SmtpAccount account = SmtpAccount::current();
        QCOMPARE(account.server, u"smtp.example.org"_s);
        QCOMPARE(account.user, u"mailer"_s);
        QVERIFY(account.noEncryption);
    }

    void ok_withoutLogin_keepsTheUserText()
    {
        FrmSmtp* dialog = open();
        fill(dialog);
        dialog->txtUser->setText(u"kept"_s);
        dialog->cmdOk_Click(0);
        QCOMPARE(GetSetting(u"SMTP"_s, u"ChkAth"_s), u"0"_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"User"_s), u"kept"_s);
    }

    void cancel_testsToo_withItsOwnSlips_andSavesNothing()
    {
        TestSupport::MessageRecorder messages;
        FrmSmtp* dialog = open();
        dialog->cmdOk_Click(1);
        QCOMPARE(messages.lastText(), u"Please Specify From Mail!"_s);
        QCOMPARE(QApplication::focusWidget(), dialog->txtSmtp); // not the address box
        fill(dialog);
        dialog->chkAuth->click();
        dialog->cmdOk_Click(1);
        QCOMPARE(messages.lastText(), u"Please Fill Authentication Details !"_s);
        dialog->chkAuth->click();
        dialog->cmdOk_Click(1);
        QTRY_VERIFY(m_dialog.isNull() || !m_dialog->isVisible());
        QCOMPARE(GetSetting(u"SMTP"_s, u"SMTPServer"_s, u"none"_s), u"none"_s);
    }

    void closeBox_refusesAnIncompleteForm_andLeavesACompleteOneUnsaved()
    {
        TestSupport::MessageRecorder messages;
        FrmSmtp* dialog = open();
        dialog->close();
        QVERIFY(dialog->isVisible());
        QCOMPARE(messages.lastText(), u"Please Specify From Mail!"_s);
        fill(dialog);
        dialog->close();
        QVERIFY(!dialog->isVisible());
        QCOMPARE(GetSetting(u"SMTP"_s, u"FromEmail"_s, u"none"_s), u"none"_s);
    }
};

QTEST_MAIN(SmtpSettingsTest)
#include "tst_smtp_settings.moc"
