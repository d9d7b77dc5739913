#pragma once

#include "core/Result.h"
#include "delivery/DeliveryJournal.h"
#include "merge/RunOutcome.h"

#include <QObject>
#include <QString>

#include <optional>

class ComposePage;
class ContactSelection;
class ContactTable;
class FieldMapPage;
class FinishPage;
class FrmMailMerge;
class MailTransport;
class MergedAttachment;
class PostalMergeRun;
class ProgressPanel;
class SendPage;
class SmtpSendRun;
class SourcePage;
class TemplatePage;
class TokenEngine;
struct SendRunInput;

// The last pages of the merge wizard: the composer's tokens and recipients (page 5), the way of
// sending (page 3) and the run with its result (page 4). Runs the mails through the program's
// SMTP client or the system's mail transport, and the letters of a postal merge.
class SendController : public QObject
{
    Q_OBJECT

public:
    explicit SendController(FrmMailMerge& wizard);

    // Before the composer shows: its field menu for the source, and the source kind and the
    // blank-field texts the string passes use.
    void PrepareFieldMenu();
    void syncTokenSettings();
    // Next on the composer: the tokens of the mail, the source shown on the send page.
    void ScanMailTokens();
    // The tokens of the attachment's template.
    void ScanDocTokens();
    RunOutcome RunSmtpSend();
    RunOutcome RunOutboxSend();
    // The letters of a postal merge, into the combined document (folder empty) or the folder.
    void PostalMergeRun(const QString& folder);
    void CmdCancelSend_Click();

    // True while a run is in hand; the window does not close under it.
    bool running() const { return m_smtpRun != nullptr || m_postalRun != nullptr; }
    // What the finish page shows: the letters of a postal run, or a mail run (Back leads to
    // the template page or to the send page).
    bool finishShowsLetters() const { return m_finishShowsLetters; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void connectSendAndFinishPages();
    void showSelectedSource();
    // The send page's offer to go on with the interrupted run of the same list, template and subject.
    void OfferResume();
    RunIdentity runIdentity() const;
    SendRunInput sendRunInput(MergedAttachment& attachment);
    RunOutcome runSend(MailTransport* outbox);
    Result<QString> attachmentPreview(int row);
    void lblOpenDoc_Click();
    void CmdTestSend_Click();

    FrmMailMerge& m_wizard;
    SourcePage* m_source;
    FieldMapPage* m_fieldMapPage;
    TemplatePage* m_template;
    SendPage* m_send;
    FinishPage* m_finish;
    ComposePage* m_compose;
    ProgressPanel* m_progress;
    ContactTable& m_table;
    ContactSelection& m_selection;
    TokenEngine& m_tokens;

    // The run in hand, while one goes.
    SmtpSendRun* m_smtpRun = nullptr;
    ::PostalMergeRun* m_postalRun = nullptr;
    std::optional<PastRun> m_pastRun;
    bool m_finishShowsLetters = false;
};
