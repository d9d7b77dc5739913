#include "FrmSmtp.h"

#include "SmtpAccount.h"
#include "core/MessageBoxes.h"
#include "core/TextUtil.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

QPointer<FrmSmtp>& instancePointer()
{
    static QPointer<FrmSmtp> window;
    return window;
}

// The dialog's messages have no icon.
void tell(const QString& text)
{
    MessageBoxes::show(Message{text, u"Quillbay+"_s, MessageButtons::Ok, MessageIcon::None});
}

QLineEdit* field(QWidget* parent, const QString& name)
{
    auto* edit = new QLineEdit(parent);
    edit->setObjectName(name);
    return edit;
}

} // namespace

FrmSmtp* FrmSmtp::instance()
{
    if (instancePointer().isNull()) {
        instancePointer() = new FrmSmtp;
    }
    return instancePointer();
}

FrmSmtp::FrmSmtp(QWidget* parent)
    : QDialog(parent)
{
    setObjectName(u"FrmSmtp"_s);
    setWindowTitle(u"SMTP Settings"_s);
    setAttribute(Qt::WA_DeleteOnClose);

    auto* settings = new QGroupBox(u"SMTP settings"_s, this);
    auto* user = new QGroupBox(u"User Information"_s, settings);
    auto* userForm = new QFormLayout(user);
    txtFromName = field(user, u"txtFromName"_s);
    txtFromMail = field(user, u"txtFromMail"_s);
    txtReply = field(user, u"txtReply"_s);
    userForm->addRow(u"Display Name :"_s, txtFromName);
    userForm->addRow(u"Email Address :"_s, txtFromMail);
    userForm->addRow(u"Reply Email Address :"_s, txtReply);

    auto* server = new QGroupBox(u"Server Information"_s, settings);
    auto* serverForm = new QFormLayout(server);
    txtSmtp = field(server, u"txtSmtp"_s);
    txtSMTPPort = field(server, u"txtSMTPPort"_s);
    sldr = new QSlider(Qt::Horizontal, server);
    sldr->setObjectName(u"sldr"_s);
    sldr->setRange(30, 300);
    sldr->setSingleStep(30);
    sldr->setPageStep(30);
    sldr->setTickInterval(30);
    sldr->setTickPosition(QSlider::TicksBelow);
    sldr->setValue(60);
    lblSec = new QLabel(u"60 Seconds"_s, server);
    lblSec->setObjectName(u"lblSec"_s);
    auto* timeout = new QHBoxLayout;
    timeout->addWidget(sldr, 1);
    timeout->addWidget(lblSec);
    serverForm->addRow(u"Outgoing Mail(SMTP) :"_s, txtSmtp);
    serverForm->addRow(u"Port :"_s, txtSMTPPort);
    serverForm->addRow(u"Server Timeouts :"_s, timeout);
    chkNoEncryption = new QCheckBox(u"Do not encrypt the connection (for a server without TLS)"_s, server);
    chkNoEncryption->setObjectName(u"chkNoEncryption"_s);
    serverForm->addRow(chkNoEncryption);
    spnRate = new QSpinBox(server);
    spnRate->setObjectName(u"spnRate"_s);
    spnRate->setRange(0, 10000);
    spnRate->setSpecialValueText(u"no limit"_s);
    spnRate->setSuffix(u" mails a minute"_s);
    spnRate->setToolTip(u"A send run waits between mails to stay under the provider's limit."_s);
    serverForm->addRow(u"At most :"_s, spnRate);

    chkAuth = new QCheckBox(u"My Server requires Authentication"_s, settings);
    chkAuth->setObjectName(u"chkAuth"_s);
    auto* login = new QFormLayout;
    txtUser = field(settings, u"txtUser"_s);
    txtPwd = field(settings, u"txtPwd"_s);
    txtPwd->setEchoMode(QLineEdit::Password);
    login->addRow(u"Account Name :"_s, txtUser);
    login->addRow(u"Password :"_s, txtPwd);

    auto* settingsLayout = new QVBoxLayout(settings);
    settingsLayout->addWidget(user);
    settingsLayout->addWidget(server);
    settingsLayout->addWidget(chkAuth);
    settingsLayout->addLayout(login);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    const QString captions[2] = {u"OK"_s, u"Cancel"_s};
    for (int i = 0; i < 2; ++i) {
        cmdOk[i] = new QPushButton(captions[i], this);
        cmdOk[i]->setObjectName(u"cmdOk_%1"_s.arg(i));
        cmdOk[i]->setAutoDefault(i == 0);
        connect(cmdOk[i], &QPushButton::clicked, this, [this, i] { cmdOk_Click(i); });
        buttons->addWidget(cmdOk[i]);
    }
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(settings);
    layout->addLayout(buttons);

    connect(chkAuth, &QCheckBox::clicked, this, &FrmSmtp::ApplyAuthState);
    connect(sldr, &QSlider::valueChanged, this, [this](int value) {
        // The slider moves in steps of 30 seconds.
        const int stepped = qBound(30, (value + 15) / 30 * 30, 300);
        if (stepped != value) {
            sldr->setValue(stepped);
            return;
        }
        lblSec->setText(QString::number(value) + u" Seconds"_s);
    });
    Form_Load();
}

void FrmSmtp::Form_Load()
{
    const SmtpAccount& account = SmtpAccount::current();
    txtSmtp->setText(account.server);
    txtSMTPPort->setText(QString::number(account.port));
    chkAuth->setChecked(account.chkAth == 1);
    txtUser->setText(account.user);
    txtPwd->setText(account.pwd);
    // A stored 0 (no timeout) shows as the slider's lowest step.
    sldr->setValue(account.interval);
    lblSec->setText(QString::number(sldr->value()) + u" Seconds"_s);
    txtFromName->setText(account.fromName);
    txtFromMail->setText(account.fromEmail);
    txtReply->setText(account.replyEmail);
    chkNoEncryption->setChecked(account.noEncryption);
    spnRate->setValue(account.mailsPerMinute);
    ApplyAuthState();
}

void FrmSmtp::ApplyAuthState()
{
    // Off, the two boxes look like the buttons' face; on, like any box to type in. Their text stays.
    const bool on = chkAuth->isChecked();
    const QPalette standard = QApplication::palette(txtUser);
    for (QLineEdit* edit : {txtUser, txtPwd}) {
        edit->setEnabled(on);
        QPalette look = standard;
        look.setColor(QPalette::Base, standard.color(QPalette::Active, on ? QPalette::Base : QPalette::Button));
        edit->setPalette(look);
    }
}

bool FrmSmtp::SettingsComplete() const
{
    if (txtSmtp->text().isEmpty() || txtSMTPPort->text().isEmpty() || txtFromMail->text().isEmpty()) {
        return false;
    }
    return !chkAuth->isChecked() || (!txtUser->text().isEmpty() && !txtPwd->text().isEmpty());
}

bool FrmSmtp::passesTests(bool cancelling)
{
    if (txtFromMail->text().isEmpty()) {
        tell(u"Please Specify From Mail!"_s);
        (cancelling ? txtSmtp : txtFromMail)->setFocus();
        return false;
    }
    if (txtSmtp->text().isEmpty()) {
        tell(u"Please Specify Outgoing Mail Server!"_s);
        txtSmtp->setFocus();
        return false;
    }
    if (txtSMTPPort->text().isEmpty()) {
        tell(u"Please Specify SMTP Port!"_s);
        txtSMTPPort->setFocus();
        return false;
    }
    if (chkAuth->isChecked() && (txtUser->text().isEmpty() || txtPwd->text().isEmpty())) {
        tell(cancelling ? u"Please Fill Authentication Details !"_s : u"Please Fill Authentication Details!"_s);
        return false;
    }
    return true;
}

void FrmSmtp::cmdOk_Click(int index)
{
    const bool cancelling = index == 1;
    if (!passesTests(cancelling)) {
        return;
    }
    if (!cancelling) {
        bool ok = false;
        const int port = TextUtil::trimSpaces(txtSMTPPort->text()).toUShort(&ok);
        if (!ok) {
            // A port that is no number cannot be taken; the dialog stays open on it.
            tell(u"Please Specify SMTP Port!"_s);
            txtSMTPPort->setFocus();
            return;
        }
        SmtpAccount& account = SmtpAccount::current();
        account.server = TextUtil::trimSpaces(txtSmtp->text());
        account.port = port;
        account.interval = sldr->value();
        account.chkAth = chkAuth->isChecked() ? 1 : 0;
        account.user = txtUser->text();
        account.pwd = txtPwd->text();
        account.fromEmail = txtFromMail->text();
        account.fromName = txtFromName->text();
        account.replyEmail = txtReply->text();
        account.noEncryption = chkNoEncryption->isChecked();
        account.mailsPerMinute = spnRate->value();
        account.save();
    }
    unload();
}

void FrmSmtp::unload()
{
    m_unloading = true;
    if (instancePointer() == this) {
        instancePointer().clear();
    }
    done(QDialog::Accepted);
    close();
}

void FrmSmtp::reject()
{
    // Escape acts as the close box.
    close();
}

void FrmSmtp::closeEvent(QCloseEvent* event)
{
    if (m_unloading) {
        event->accept();
        return;
    }
    if (!SettingsComplete()) {
        cmdOk_Click(0);
        if (!m_unloading) {
            event->ignore();
        }
        return;
    }
    m_unloading = true;
    if (instancePointer() == this) {
        instancePointer().clear();
    }
    event->accept();
}
