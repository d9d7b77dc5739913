#include "SmtpConversation.h"

#include "Base64.h"
#include "core/MessageBoxes.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QHostInfo>
#include <QSslConfiguration>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

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
    m_reader.feed(m_socket.readAll());
    if (m_reader.garbled()) {
        // Lines that are no replies, or a reply without end: the connection is given up.
        m_socket.abort();
    }
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
    return awaitReply(expected, showMessage) == Reply::Expected;
}

SmtpConversation::Reply SmtpConversation::awaitReply(const QByteArray& expected, bool showMessage)
{
    m_tickCount = 0;
    m_timedOutFlag = false;
    if (m_tmrSMTP.interval() > 0) {
        m_tmrSMTP.start();
    }
    while (true) {
        while (m_reader.hasReply()) {
            const SmtpReply reply = m_reader.takeReply();
            m_awaited = qMax(0, m_awaited - 1);
            if (m_awaited > 0) {
                continue; // the late answer to a command whose wait ran out
            }
            m_tmrSMTP.stop();
            m_lastReply = reply;
            return reply.code.startsWith(expected) ? Reply::Expected : Reply::Refused;
        }
        if (m_cancelFlag) {
            m_tmrSMTP.stop();
            m_timedOutFlag = true;
            m_lastReply = {};
            return Reply::NoAnswer;
        }
        const bool lost = m_socket.state() == QAbstractSocket::UnconnectedState;
        if (m_timedOutFlag || lost) {
            if (showMessage && m_labels.process) {
                m_labels.process(u"SMTP service error, unable to get a response!"_s);
            }
            m_tmrSMTP.stop();
            m_lastReply = {};
            return lost ? Reply::Lost : Reply::NoAnswer;
        }
        pumpEvents();
    }
}

bool SmtpConversation::send(const QByteArray& command)
{
    if (m_socket.state() != QAbstractSocket::ConnectedState) {
        return false;
    }
    // Replies beyond those still owed to earlier commands came unasked: none of them may be
    // taken for the answer to this command.
    while (m_reader.pendingReplies() > m_awaited) {
        m_reader.takeReply();
    }
    ++m_awaited;
    m_socket.write(command);
    m_socket.flush();
    return true;
}

SmtpConversation::Reply SmtpConversation::sayHello()
{
    if (!send("EHLO " + QHostInfo::localHostName().toUtf8() + "\r\n")) {
        return Reply::Lost;
    }
    return awaitReply("250", true);
}

SmtpConversation::Reply SmtpConversation::upgradeToTls()
{
    if (m_account.noEncryption || m_socket.isEncrypted()) {
        return Reply::Expected;
    }
    const bool offered = std::any_of(m_lastReply.lines.cbegin(), m_lastReply.lines.cend(),
                                     [](const QByteArray& line) { return line.toUpper().contains("STARTTLS"); });
    if (!offered) {
        if (m_account.tls != SmtpAccount::Tls::StartTls) {
            return Reply::Expected;
        }
        // STARTTLS was required: the run ends here, as after a socket error.
        m_failure = u"The server %1 offers no STARTTLS"_s.arg(m_account.server);
        m_cancelFlag = true;
        m_socket.abort();
        return Reply::NoAnswer;
    }
    if (!send("STARTTLS\r\n")) {
        return Reply::Lost;
    }
    if (const Reply reply = awaitReply("220", true); reply != Reply::Expected) {
        return reply;
    }
    // Nothing said in the clear after the go-ahead may count as said under TLS.
    m_reader.clear();
    m_awaited = 0;
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
    if (!m_encrypted) {
        return m_socket.state() == QAbstractSocket::ConnectedState ? Reply::NoAnswer : Reply::Lost;
    }
    return sayHello();
}

MailTransport::Outcome SmtpConversation::openConversation(const QString& firstRecipient)
{
    if (m_socket.state() != QAbstractSocket::UnconnectedState) {
        m_socket.abort();
    }
    m_sslErrors.clear();
    m_reader.clear();
    m_awaited = 1; // the greeting
    m_socket.setPeerVerifyName(m_account.server);
    if (m_account.tlsFromTheFirstByte()) {
        m_socket.connectToHostEncrypted(m_account.server, static_cast<quint16>(m_account.port));
    } else {
        m_socket.connectToHost(m_account.server, static_cast<quint16>(m_account.port));
    }
    // A connection that closes under the login ends the run, as a write to a closed socket does.
    const auto outcome = [](Reply reply) {
        return reply == Reply::Lost ? Outcome::Raised : Outcome::Failed;
    };
    if (const Reply greeting = awaitReply("220", true); greeting != Reply::Expected) {
        return outcome(greeting);
    }
    // Commands are short and each waits for its reply: they leave at once, not held back by
    // the acknowledgement of the message before them.
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (m_labels.status) {
        m_labels.status(u"Connected"_s);
    }
    if (m_account.chkAth == 1 && m_labels.status) {
        m_labels.status(u"Authenticating..."_s);
    }
    if (const Reply hello = sayHello(); hello != Reply::Expected) {
        return outcome(hello);
    }
    if (const Reply upgrade = upgradeToTls(); upgrade != Reply::Expected) {
        return outcome(upgrade);
    }
    if (m_account.chkAth == 1) {
        const QList<std::pair<QByteArray, QByteArray>> login{
            {"AUTH LOGIN\r\n", "334"},
            {Base64::EncodeBase64Text(m_account.user, 0) + "\r\n", "334"},
            {Base64::EncodeBase64Text(m_account.pwd, 0) + "\r\n", "235"}};
        for (const auto& [command, expected] : login) {
            if (!send(command)) {
                return Outcome::Raised;
            }
            if (const Reply reply = awaitReply(expected, true); reply != Reply::Expected) {
                return outcome(reply);
            }
        }
    }
    m_connectedFlag = true;
    if (m_labels.status) {
        m_labels.status(firstRecipient);
    }
    if (m_labels.processVisible) {
        m_labels.processVisible(true);
    }
    return Outcome::Accepted;
}

MailTransport::Outcome SmtpConversation::step(const QByteArray& command, const QByteArray& expected)
{
    if (!send(command)) {
        return Outcome::Raised;
    }
    // A refusal, like silence, fails this contact only; no RSET follows it, so the transaction
    // stays open on the server for the next contact's MAIL FROM.
    switch (awaitReply(expected, true)) {
    case Reply::Expected:
        return Outcome::Accepted;
    case Reply::Lost:
        return Outcome::Raised;
    case Reply::Refused:
    case Reply::NoAnswer:
        break;
    }
    return Outcome::Failed;
}

MailTransport::Outcome SmtpConversation::SendSmtpMessage(const OutgoingMessage& message, const QString& firstRecipient)
{
    const QList<QByteArray> chunks = MessageLayout::chunks(message, QDateTime::currentDateTime());
    if (!m_connectedFlag) {
        if (const Outcome opened = openConversation(firstRecipient); opened != Outcome::Accepted) {
            return opened;
        }
    }
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
    endOfData();
    outcome = step(".\r\n", "250");
    if (outcome != Outcome::Accepted) {
        return outcome;
    }
    // The answer to the end of the message is what the report keeps, not the RSET's.
    const SmtpReply taken = m_lastReply;
    outcome = step("RSET\r\n", "250");
    if (outcome == Outcome::Accepted) {
        m_lastReply = taken;
    }
    return outcome;
}

bool SmtpConversation::sendMessageText(const QList<QByteArray>& chunks)
{
    // The parts leave queued on the socket, and the "." line (sent as a command) right behind
    // them with no wait in between; the parts are not joined into one text first.
    if (m_socket.state() != QAbstractSocket::ConnectedState) {
        return false;
    }
    for (const QByteArray& chunk : chunks) {
        m_socket.write(chunk);
    }
    // The text is handed to the system before the end is noted as in flight.
    m_socket.flush();
    return true;
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
