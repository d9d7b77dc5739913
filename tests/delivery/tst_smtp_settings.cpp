#include "TestSupport.h"
#include "core/SettingsKeys.h"
#include "delivery/FrmSmtp.h"
#include "delivery/SmtpAccount.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
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

    static QString stored(const QString& key) { return GetSetting(u"SMTP"_s, key, u"none"_s); }

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
        QCOMPARE(SmtpAccount::current().port, 25);
        QCOMPARE(SmtpAccount::current().interval, 0); // no timeout until the first save
        FrmSmtp* dialog = open();
        QCOMPARE(dialog->txtSMTPPort->text(), u"25"_s);
        QVERIFY(!dialog->chkAuth->isChecked());
        QVERIFY(!dialog->txtUser->isEnabled());
        QCOMPARE(dialog->lblSec->text(), u"30 Seconds"_s);
        dialog->sldr->setValue(95);
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
             {Case{465, ByPort, false, true}, Case{587, ByPort, false, false}, Case{465, ByPort, true, false},
              Case{2525, Implicit, false, true}, Case{465, StartTls, false, false}}) {
            SmtpAccount account;
            account.port = one.port;
            account.tls = one.tls;
            account.noEncryption = one.noEncryption;
            QVERIFY2(account.tlsFromTheFirstByte() == one.expected, qPrintable(QString::number(one.port)));
        }
    }

    void storedAccount_fillsTheForm_andOkWithoutLoginKeepsTheUserText()
    {
        SaveSetting(u"SMTP"_s, u"SMTPServer"_s, u"mail.example.org"_s);
        SaveSetting(u"SMTP"_s, u"SMTPPort"_s, u"587"_s);
        SaveSetting(u"SMTP"_s, u"Interval"_s, u"240"_s);
        SaveSetting(u"SMTP"_s, u"User"_s, u"kept"_s);
        SaveSetting(u"SMTP"_s, u"ReplyEmail"_s, u"reply@example.org"_s);
        FrmSmtp* dialog = open();
        QCOMPARE(dialog->txtSmtp->text(), u"mail.example.org"_s);
        QCOMPARE(dialog->txtSMTPPort->text(), u"587"_s);
        QCOMPARE(dialog->lblSec->text(), u"240 Seconds"_s);
        QCOMPARE(dialog->txtReply->text(), u"reply@example.org"_s);
        QCOMPARE(dialog->txtUser->text(), u"kept"_s);
        // Unchecked, the login boxes are off; checked, they are back.
        QVERIFY(!dialog->txtUser->isEnabled());
        dialog->chkAuth->click();
        QVERIFY(dialog->txtPwd->isEnabled());
        dialog->chkAuth->click();
        dialog->txtFromMail->setText(u"news@example.org"_s);
        dialog->cmdOk_Click(0);
        QCOMPARE(stored(u"ChkAth"_s), u"0"_s);
        QCOMPARE(stored(u"User"_s), u"kept"_s);
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
        dialog->cmdOk_Click(0);
        QCOMPARE(messages.texts(),
                 (QStringList{u"Please Specify From Mail!"_s, u"Please Specify Outgoing Mail Server!"_s,
                              u"Please Specify SMTP Port!"_s, u"Please Specify SMTP Port!"_s,
                              u"Please Specify SMTP Port!"_s, u"Please Fill Authentication Details!"_s}));
        QCOMPARE(messages.messages().first().icon, MessageIcon::None);
        QVERIFY(dialog->isVisible());
        QCOMPARE(stored(u"SMTPServer"_s), u"none"_s);
        dialog->txtUser->setText(u"mailer"_s);
        dialog->txtPwd->setText(u"s3cret"_s);
        dialog->sldr->setValue(120);
        dialog->chkNoEncryption->setChecked(true);
        dialog->cmdOk_Click(0);
        QTRY_VERIFY(m_dialog.isNull() || !m_dialog->isVisible());
        const std::pair<QString, QString> keys[] = {
            {u"SMTPServer"_s, u"smtp.example.org"_s},
            {u"SMTPPort"_s, u"587"_s},
            {u"Interval"_s, u"120"_s},
            {u"ChkAth"_s, u"1"_s},
            {u"User"_s, u"mailer"_s},
            {u"Pwd"_s, u"s3cret"_s},
            {u"NoEncryption"_s, u"1"_s},
            {u"FromEmail"_s, u"news@example.org"_s},
        };
        for (const auto& [key, value] : keys) {
            QCOMPARE(stored(key), value);
        }
    }

    void cancelAndTheCloseBox_testTooWithTheirOwnSlips_andSaveNothing()
    {
        TestSupport::MessageRecorder messages;
        FrmSmtp* dialog = open();
        dialog->cmdOk_Click(1);
        QCOMPARE(messages.lastText(), u"Please Specify From Mail!"_s);
        QCOMPARE(QApplication::focusWidget(), dialog->txtSmtp); // not the address box
        dialog->close();
        QVERIFY(dialog->isVisible());
        dialog->txtFromMail->setText(u"news@example.org"_s);
        dialog->txtSmtp->setText(u"smtp.example.org"_s);
        dialog->chkAuth->click();
        dialog->cmdOk_Click(1);
        QCOMPARE(messages.lastText(), u"Please Fill Authentication Details !"_s);
        QCOMPARE(messages.messages().size(), 3);
        dialog->chkAuth->click();
        dialog->cmdOk_Click(1);
        QTRY_VERIFY(m_dialog.isNull() || !m_dialog->isVisible());
        QCOMPARE(stored(u"FromEmail"_s), u"none"_s);
        QCOMPARE(stored(u"SMTPServer"_s), u"none"_s);
    }
};

QTEST_MAIN(SmtpSettingsTest)
#include "tst_smtp_settings.moc"
