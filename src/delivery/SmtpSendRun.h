#pragma once

#include "SmtpConversation.h"
#include "merge/RunOutcome.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class AttachmentSource;
class RunView;
class TokenEngine;

// What a send run takes from the wizard.
struct SendRunInput
{
    QStringList addresses; // CboPTo: the checked contacts' addresses, in table order
    QList<int> rows;       // CboPIndex: their 1-based rows, at the same positions
    QString subjectBox;    // txtSubject as it stands
    QString html;          // DocumentHTML of the composer
    const TokenEngine* tokens = nullptr;
    AttachmentSource* attachment = nullptr; // with "Word Document Attachment" checked
    // Told the outcome of each contact: "sent", "skipped: <why>" or "failed: <server reply>".
    std::function<void(int row, const QString& address, const QString& outcome)> report;
};

// The SMTP send run: one personalised mail for each chosen contact over one connection, with
// its progress on the run page. A contact without "@" or with an empty body is skipped in
// silence; a refused or unanswered message does not stop the run; cancel or a socket error do.
class SmtpSendRun
{
public:
    // The messages go to the transport when one is given, else to the account's SMTP server.
    SmtpSendRun(RunView& view, const SmtpAccount& account, MailTransport* transport = nullptr);

    // How the run ended; its count is that of the mails the server took.
    RunOutcome RunSmtpSend(const SendRunInput& input);
    // The Cancel button of the run page.
    void CmdCancelSend_Click();

    int accepted() const { return m_accepted; }

private:
    void PrepareSendRun(const QString& title, int contacts);
    RunOutcome closingSteps(const QString& error);

    RunView& m_view;
    const SmtpAccount& m_account;
    std::unique_ptr<SmtpConversation> m_ownConversation;
    MailTransport& m_transport;
    double m_progressStep = 0;
    int m_accepted = 0;
};
