#include "SmtpConversation.h"

#include "Base64.h"
#include "core/MessageBoxes.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QHostInfo>
#include <QSslConfiguration>

using namespace Qt::StringLiterals;

namespace {

constexpr int ImplicitTlsPort = 465;

QList<QSslCertificate>& trustedExtras()
{
    static QList<QSslCertificate> certificates;
    return certificates;
}

} // namespace

SmtpConversation::SmtpConversation(const SmtpAccount& account, Labels labels, QObject* parent)
    : QObject(parent)
    , m_account(account)
    , m_labels(std::move(labels))
{
    if (!trustedExtras().isEmpty()) {
        QSslConfiguration configuration = m_socket.sslConfiguration();
        QList<QSslCertificate> authorities = configuration.caCertificates();
        authorities << trustedExtras();
        configuration.setCaCertificates(authorities);
        m_socket.setSslConfiguration(configuration);
    }
    connect(&m_socket, &QSslSocket::readyRead, this, &SmtpConversation::wns_DataArrival);
    connect(&m_socket, &QSslSocket::errorOccurred, this, &SmtpConversation::wns_Error);
    connect(&m_socket, &QSslSocket::sslErrors, this, [this](const QList<QSslError>& errors) { m_sslErrors = errors; });
    connect(&m_socket, &QSslSocket::encrypted, this, [this] { m_encrypted = true; });
    connect(&m_tmrSMTP, &QTimer::timeout, this, &SmtpConversation::tmrSMTP_Timer);
}

SmtpConversation::~SmtpConversation()
{
    m_socket.abort();
}

void SmtpConversation::addTrustedCertificates(const QList<QSslCertificate>& certificates)
{
    trustedExtras() << certificates;
}

void SmtpConversation::setInterval(int seconds)
{
    m_tmrSMTP.setInterval(seconds * 10);
}

void SmtpConversation::cancel()
{
    m_cancelFlag = true;
    m_timedOutFlag = true;
    m_tmrSMTP.stop();
}

void SmtpConversation::endRun()
{
    m_connectedFlag = false;
    m_tmrSMTP.stop();
    m_cancelFlag = false;
}

void SmtpConversation::tmrSMTP_Timer()
{
    ++m_tickCount;
    if (m_tickCount >= 100) {
        m_timedOutFlag = true;
        m_tickCount = 0;
        m_tmrSMTP.stop();
    }
}

void SmtpConversation::wns_DataArrival()
{
    if (m_socket.state() != QAbstractSocket::ConnectedState) {
        return;
    }
    m_replyBuffer = m_socket.readAll();
    m_replyText += m_replyBuffer;
}

void SmtpConversation::wns_Error(QAbstractSocket::SocketError error)
{
    if (error == QAbstractSocket::RemoteHostClosedError) {
        // The server hung up: the socket is closed; a wait in hand ends, the next write fails.
        return;
    }
    if (m_cancelFlag) {
        return;
    }
    QString description = m_socket.errorString();
    if (!m_sslErrors.isEmpty()) {
        QStringList reasons;
        for (const QSslError& sslError : std::as_const(m_sslErrors)) {
            reasons << sslError.errorString();
        }
        description = u"The certificate of %1 could not be verified: %2"_s.arg(m_account.server, reasons.join(u"; "_s));
    }
    m_failure = description;
    MessageBoxes::show(Message{u"Error in Sending Mails Via Quillbay+ SMTP : "_s + description, u"Quillbay+"_s,
                               MessageButtons::Ok, MessageIcon::Critical});
    m_cancelFlag = true;
    m_socket.abort();
}

void SmtpConversation::pumpEvents()
{
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

bool SmtpConversation::WaitForReply(const QByteArray& expected, bool showMessage)
{
    m_tickCount = 0;
    m_replyBuffer.clear();
    m_replyText.clear();
    m_timedOutFlag = false;
    const bool ticking = m_tmrSMTP.interval() > 0;
    if (ticking) {
        m_tmrSMTP.start();
    }
    const auto closed = [this] {
        return m_socket.state() == QAbstractSocket::UnconnectedState;
    };
    while (m_replyBuffer.isEmpty()) {
        pumpEvents();
        if (m_cancelFlag) {
            m_tmrSMTP.stop();
            m_timedOutFlag = true;
            return false;
        }
        if (m_timedOutFlag || (m_replyBuffer.isEmpty() && closed())) {
            if (showMessage && m_labels.process) {
                m_labels.process(u"SMTP service error, unable to get a response!"_s);
            }
            m_tmrSMTP.stop();
            return false;
        }
    }
    // The second wait shares the budget of the first: the count of ticks goes on.
    m_tmrSMTP.stop();
    m_timedOutFlag = false;
    if (ticking) {
        m_tmrSMTP.start();
    }
    while (!m_replyBuffer.startsWith(expected)) {
        if (m_cancelFlag) {
            m_tmrSMTP.stop();
            m_timedOutFlag = true;
            return false;
        }
        pumpEvents();
        if (m_timedOutFlag || (!m_replyBuffer.startsWith(expected) && closed())) {
            m_tmrSMTP.stop();
            return false;
        }
    }
    m_tmrSMTP.stop();
    return true;
}

bool SmtpConversation::send(const QByteArray& data)
{
    if (m_socket.state() != QAbstractSocket::ConnectedState) {
        return false;
    }
    m_socket.write(data);
    m_socket.flush();
    return true;
}

bool SmtpConversation::sayHello()
{
    if (!send("EHLO " + QHostInfo::localHostName().toUtf8() + "\r\n") || !WaitForReply("250", true)) {
        return false;
    }
    // The rest of a reply that came line by line is read here, so that the next command does
    // not take a "250-" line of it for its own reply.
    completeMultilineReply();
    return true;
}

bool SmtpConversation::completeMultilineReply()
{
    // The EHLO reply may come in several pieces; its last line has a blank behind the code.
    const auto complete = [this] {
        return m_replyText.startsWith("250 ") || m_replyText.contains("\r\n250 ");
    };
    m_tickCount = 0;
    m_timedOutFlag = false;
    if (m_tmrSMTP.interval() > 0) {
        m_tmrSMTP.start();
    }
    while (!complete() && !m_cancelFlag && !m_timedOutFlag && m_socket.state() == QAbstractSocket::ConnectedState) {
        pumpEvents();
    }
    m_tmrSMTP.stop();
    return complete();
}

bool SmtpConversation::upgradeToTls()
{
    if (m_account.noEncryption || m_socket.isEncrypted()) {
        return true;
    }
    if (!completeMultilineReply() || !m_replyText.toUpper().contains("STARTTLS")) {
        if (m_account.tls != SmtpAccount::Tls::StartTls) {
            return true;
        }
        // STARTTLS was required: the run ends here, as after a socket error.
        m_failure = u"The server %1 offers no STARTTLS"_s.arg(m_account.server);
        m_cancelFlag = true;
        m_socket.abort();
        return false;
    }
    if (!send("STARTTLS\r\n") || !WaitForReply("220", true)) {
        return false;
    }
    // The handshake has the budget of a reply.
    m_encrypted = false;
    m_tickCount = 0;
    m_timedOutFlag = false;
    if (m_tmrSMTP.interval() > 0) {
        m_tmrSMTP.start();
    }
    m_socket.startClientEncryption();
    while (!m_encrypted && !m_cancelFlag && !m_timedOutFlag && m_socket.state() == QAbstractSocket::ConnectedState) {
        pumpEvents();
    }
    m_tmrSMTP.stop();
    return m_encrypted && sayHello();
}

bool SmtpConversation::openConversation(const QString& firstRecipient)
{
    if (m_socket.state() != QAbstractSocket::UnconnectedState) {
        m_socket.abort();
    }
    m_sslErrors.clear();
    m_socket.setPeerVerifyName(m_account.server);
    const bool implicitTls = m_account.tls == SmtpAccount::Tls::Implicit ||
                             (m_account.tls == SmtpAccount::Tls::ByPort && m_account.port == ImplicitTlsPort);
    if (implicitTls && !m_account.noEncryption) {
        m_socket.connectToHostEncrypted(m_account.server, static_cast<quint16>(m_account.port));
    } else {
        m_socket.connectToHost(m_account.server, static_cast<quint16>(m_account.port));
    }
    if (!WaitForReply("220", true)) {
        return false;
    }
    // Commands are short and each waits for its reply: they leave at once, not held back by
    // the acknowledgement of the message before them.
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (m_labels.status) {
        m_labels.status(u"Connected"_s);
    }
    if (m_account.chkAth == 1) {
        if (m_labels.status) {
            m_labels.status(u"Authenticating..."_s);
        }
        if (!sayHello() || !upgradeToTls() || !send("AUTH LOGIN\r\n") || !WaitForReply("334", true) ||
            !send(Base64::EncodeBase64Text(m_account.user, 0) + "\r\n") || !WaitForReply("334", true) ||
            !send(Base64::EncodeBase64Text(m_account.pwd, 0) + "\r\n") || !WaitForReply("235", true)) {
            return false;
        }
    } else if (!sayHello() || !upgradeToTls()) {
        return false;
    }
    m_connectedFlag = true;
    if (m_labels.status) {
        m_labels.status(firstRecipient);
    }
    if (m_labels.processVisible) {
        m_labels.processVisible(true);
    }
    return true;
}

MailTransport::Outcome SmtpConversation::SendSmtpMessage(const OutgoingMessage& message, const QString& firstRecipient)
{
    const QList<QByteArray> chunks = MessageLayout::chunks(message, QDateTime::currentDateTime());
    if (!m_connectedFlag && !openConversation(firstRecipient)) {
        return Outcome::Failed;
    }
    const auto step = [this](const QByteArray& command, const QByteArray& expected) {
        if (!send(command)) {
            return Outcome::Raised;
        }
        return WaitForReply(expected, true) ? Outcome::Accepted : Outcome::Failed;
    };
    Outcome outcome = step("MAIL FROM: " + MessageLayout::headerSafe(message.fromEmail).toUtf8() + "\r\n", "250");
    if (outcome == Outcome::Accepted) {
        outcome = step("RCPT TO: " + MessageLayout::headerSafe(message.to).toUtf8() + "\r\n", "250");
    }
    if (outcome == Outcome::Accepted) {
        outcome = step("DATA\r\n", "354");
    }
    if (outcome != Outcome::Accepted) {
        return outcome;
    }
    if (!sendMessageText(chunks)) {
        return Outcome::Raised;
    }
    outcome = WaitForReply("250", true) ? Outcome::Accepted : Outcome::Failed;
    return outcome == Outcome::Accepted ? step("RSET\r\n", "250") : outcome;
}

bool SmtpConversation::sendMessageText(const QList<QByteArray>& chunks)
{
    // The parts and the "." line behind them are queued on the socket and leave together, with
    // no wait before the "."; the parts are not joined into one text first.
    if (m_socket.state() != QAbstractSocket::ConnectedState) {
        return false;
    }
    for (const QByteArray& chunk : chunks) {
        m_socket.write(chunk);
    }
    return send(".\r\n");
}

void SmtpConversation::SendQuit()
{
    if (m_socket.state() == QAbstractSocket::UnconnectedState) {
        return;
    }
    if (send("QUIT\r\n")) {
        WaitForReply("221", false);
    }
    m_socket.disconnectFromHost();
    m_socket.abort();
}
