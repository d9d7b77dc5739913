#pragma once

#include "MailTransport.h"
#include "SmtpAccount.h"
#include "SmtpReplyReader.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QSslCertificate>
#include <QSslError>
#include <QSslSocket>
#include <QTimer>

#include <functional>

// The program's own SMTP client: one connection carries every message of a run. It is written
// as the run reads it: a command, then a wait in which the event loop keeps running until the
// whole reply to that command arrives, the wait runs out or the run is cancelled. Replies are
// read whole, however they are cut into pieces, and matched to their commands in order: a reply
// that comes after its wait ran out is passed over, one that no command asked for is dropped.
// A reply with another code ends the wait at once and the server's words are kept for the
// report. The greeting, the EHLO and the optional AUTH LOGIN happen on the first message; beyond
// that, the connection is upgraded with STARTTLS when the server offers it, and port 465 speaks
// TLS from the first byte.
class SmtpConversation : public QObject, public MailTransport
{
    Q_OBJECT

public:
    // What the conversation shows on the progress page.
    struct Labels
    {
        std::function<void(const QString&)> status;  // lblstatus
        std::function<void(const QString&)> process; // lblSendProcess
        std::function<void(bool)> processVisible;
    };

    SmtpConversation(const SmtpAccount& account, Labels labels, QObject* parent = nullptr);
    ~SmtpConversation() override;

    // The reply timeout of a run: the account's Interval in seconds; 0 waits without end.
    void setInterval(int seconds) override;

    // Sends one message, logging in first when the conversation does not stand yet.
    // Accepted only when the server took the message and the RSET behind it; Raised when the
    // socket was closed under the client (the run's error path).
    Outcome SendSmtpMessage(const OutgoingMessage& message, const QString& firstRecipient) override;

    // QUIT, the wait for 221 without a message, and the close, whatever the reply.
    void SendQuit() override;

    // The run is to stop: the pending wait ends at its next look.
    void cancel() override;
    bool cancelled() const override { return m_cancelFlag; }
    // A socket error or a certificate that does not verify ended the run; the reason.
    QString failure() const override { return m_failure; }
    QString lastReply() const override { return QString::fromUtf8(m_lastReply.text()).trimmed(); }
    bool connectedFlag() const { return m_connectedFlag; }
    // Clears what a run leaves behind: the login and the timer.
    void endRun() override;

    // Certificates that a verification may also trust (the tests' own authority).
    static void addTrustedCertificates(const QList<QSslCertificate>& certificates);

    // The wait: true when a reply beginning with `expected` arrived.
    bool WaitForReply(const QByteArray& expected, bool showMessage);

private:
    enum class Reply
    {
        Expected,
        Refused,  // a whole reply with another code
        NoAnswer, // the wait ran out or the run was cancelled
        Lost      // the connection closed or its replies could not be read
    };

    Reply awaitReply(const QByteArray& expected, bool showMessage);
    Outcome openConversation(const QString& firstRecipient);
    Reply sayHello();
    Reply upgradeToTls();
    bool send(const QByteArray& command);
    Outcome step(const QByteArray& command, const QByteArray& expected);
    bool sendMessageText(const QList<QByteArray>& chunks);
    void wns_DataArrival();
    void wns_Error(QAbstractSocket::SocketError error);
    void tmrSMTP_Timer();
    void pumpEvents();

    const SmtpAccount& m_account;
    Labels m_labels;
    QSslSocket m_socket;
    QTimer m_tmrSMTP;
    SmtpReplyReader m_reader;
    int m_awaited = 0; // commands (and the greeting) whose replies have not been read yet
    SmtpReply m_lastReply;
    int m_tickCount = 0;
    bool m_timedOutFlag = false;
    bool m_cancelFlag = false;
    bool m_connectedFlag = false;
    bool m_encrypted = false;
    QString m_failure;
    QList<QSslError> m_sslErrors;
};
