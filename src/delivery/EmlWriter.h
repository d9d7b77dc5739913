#pragma once

#include "MailTransport.h"

// Writes each message of a run as DIR/00001.eml, DIR/00002.eml, …: exactly the bytes that would
// follow DATA, up to (not including) the closing "." line. Nothing is sent.
class EmlWriter : public MailTransport
{
public:
    explicit EmlWriter(QString folder);

    void setInterval(int) override {}
    Outcome SendSmtpMessage(const OutgoingMessage& message, const QString& firstRecipient) override;
    void SendQuit() override {}
    void cancel() override { m_cancelled = true; }
    bool cancelled() const override { return m_cancelled; }
    QString failure() const override { return m_failure; }
    QString lastReply() const override { return m_reply; }
    void endRun() override { m_cancelled = false; }

private:
    QString m_folder;
    int m_written = 0;
    bool m_cancelled = false;
    QString m_failure;
    QString m_reply;
};
