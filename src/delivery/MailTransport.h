#pragma once

#include "MessageLayout.h"

#include <QString>

// Where the messages of a send run go: the program's SMTP conversation, or a folder of message
// files (the command-line companion's dry run).
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
    // The last reply of the server, for a message it did not take.
    virtual QString lastReply() const = 0;
    virtual void endRun() = 0;
};
