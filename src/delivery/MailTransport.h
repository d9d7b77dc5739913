#pragma once

#include "MessageLayout.h"

#include <QString>

#include <functional>

// Where the messages of a send run go: the program's SMTP conversation, the system's mail
// transport, or a folder of message files (the command-line companion's dry run).
class MailTransport
{
public:
    enum class Outcome
    {
        Accepted,
        Failed,
        Raised
    };

    virtual ~MailTransport() = default;

    // The reply timeout of a run, in seconds; 0 waits without end.
    virtual void setInterval(int seconds) = 0;
    // One message; Raised when the connection was lost under it (the run's error path).
    virtual Outcome SendSmtpMessage(const OutgoingMessage& message, const QString& firstRecipient) = 0;
    virtual void SendQuit() = 0;
    virtual void cancel() = 0;
    virtual bool cancelled() const = 0;
    // What ended the run when a socket error or a certificate did, else "".
    virtual QString failure() const = 0;
    // The server's last reply for the last message: its answer to the end of the message when
    // it took it, else its refusal.
    virtual QString lastReply() const = 0;
    virtual void endRun() = 0;

    // Called once a message has left whole but for its end, right before the end that lets the
    // receiver deliver it (the delivery journal notes the contact as in flight).
    void setEndOfDataHook(std::function<void()> hook) { m_endOfData = std::move(hook); }

protected:
    void endOfData() const
    {
        if (m_endOfData) {
            m_endOfData();
        }
    }

private:
    std::function<void()> m_endOfData;
};
