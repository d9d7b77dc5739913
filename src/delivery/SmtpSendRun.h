#pragma once

#include "DeliveryJournal.h"
#include "SmtpConversation.h"
#include "merge/RunOutcome.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

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
    // Told what became of each contact, in order, as soon as it is known.
    std::function<void(const ContactDelivery&)> report;
    // Where each contact's outcome is written as it is known; none for a run without one.
    DeliveryJournal* journal = nullptr;
    // An interrupted run this one goes on with: the contacts it delivered are passed over.
    const PastRun* resumed = nullptr;
};

// How many contacts of a run were sent, failed and skipped.
struct DeliveryCounts
{
    int sent = 0;
    int failed = 0;
    int skipped = 0;

    // "12 sent, 1 failed, 2 skipped"
    QString text() const;
};

// The send runs: one personalised mail for each chosen contact, through the program's SMTP
// client over one connection or through the system's mail transport, with its progress on the
// run page. A contact without "@" (and, over SMTP, one with an empty body) is skipped; a refused
// message does not stop the run; cancel or a lost connection do. Each contact's outcome goes to
// the journal before the next message can leave, and the account's pace is kept.
class SmtpSendRun
{
public:
    // The messages go to the transport when one is given, else to the account's SMTP server.
    SmtpSendRun(RunView& view, const SmtpAccount& account, MailTransport* transport = nullptr);

    // How the run ended; its count is that of the mails the server took.
    RunOutcome RunSmtpSend(const SendRunInput& input);
    // The same mails handed one by one to the system's mail transport (the transport given).
    RunOutcome RunOutboxSend(const SendRunInput& input);
    // The merged mail of one contact, its own attachment copy included, sent to the test
    // address alone; what the server answered.
    ContactDelivery SendTest(const SendRunInput& input, int row, const QString& testAddress);
    // The Cancel button of the run page.
    void CmdCancelSend_Click();

    int accepted() const { return m_counts.sent; }
    const DeliveryCounts& counts() const { return m_counts; }

private:
    enum class Way
    {
        Smtp,
        Outbox
    };

    RunOutcome run(const SendRunInput& input);
    void PrepareSendRun(const QString& title, int contacts);
    // The contact's message in `message`; the reason when the contact is skipped instead.
    std::optional<ContactDelivery> personalise(const SendRunInput& input, int row, const QString& address,
                                               OutgoingMessage& message) const;
    ContactDelivery deliver(const OutgoingMessage& message, int row, const QString& firstRecipient,
                            MailTransport::Outcome& outcome);
    void tell(const SendRunInput& input, const ContactDelivery& delivery, bool journal = true);
    // Waits out the pace before the next message, the bar creeping on; false when cancelled.
    bool awaitPace(double barBefore);
    RunOutcome closingSteps(const QString& error);

    RunView& m_view;
    const SmtpAccount& m_account;
    std::unique_ptr<SmtpConversation> m_ownConversation;
    MailTransport& m_transport;
    Way m_way = Way::Smtp;
    double m_progressStep = 0;
    DeliveryCounts m_counts;
    qint64 m_lastMessageAt = -1; // msecs since the epoch the last message left, for the pace
    bool m_endSent = false;      // the current message's end has left
    // The journal of the run in hand, told which contact's message is in flight.
    DeliveryJournal* m_journal = nullptr;
    int m_inFlightRow = 0;
    QString m_inFlightAddress;
};
