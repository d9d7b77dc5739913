#include "TestSupport.h"
#include "core/SettingsKeys.h"
#include "delivery/FrmSmtp.h"
#include "delivery/SmtpAccount.h"

#include <QCheckBox>
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
};

QTEST_MAIN(SmtpSettingsTest)
#include "tst_smtp_settings.moc"
