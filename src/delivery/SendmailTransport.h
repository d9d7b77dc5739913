#pragma once

#include "MailTransport.h"

#include <QStringList>

// The system's mail transport as the outbox of a send run: each message is piped to
// "sendmail -t -oi", which takes its recipients from the message's own headers and queues or
// relays it as the machine is set up to. The program (and arguments before those two) is the
// setting "SendmailPath". A transport that does not start ends the run; one that refuses a
// message (a status other than 0) fails that contact alone.
class SendmailTransport : public MailTransport
{
public:
    explicit SendmailTransport(const QString& command);

    void setInterval(int) override {}
    Outcome SendSmtpMessage(const OutgoingMessage& message, const QString& firstRecipient) override;
    void SendQuit() override {}
    void cancel() override { m_cancelled = true; }
    bool cancelled() const override { return m_cancelled; }
    QString failure() const override { return m_failure; }
    QString lastReply() const override { return m_reply; }
    void endRun() override;

private:
    QString m_program;
    QStringList m_arguments;
    bool m_cancelled = false;
    QString m_failure;
    QString m_reply;
};
