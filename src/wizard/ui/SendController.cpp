#include "SendController.h"

#include "FrmMailMerge.h"
#include "ProgressPanel.h"
#include "WizardPages.h"
#include "WizardRunView.h"
#include "composer/ComposePage.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/DataSources.h"
#include "contacts/MergeFieldTable.h"
#include "core/AppPaths.h"
#include "core/MessageBoxes.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "core/TextUtil.h"
#include "core/WaitCursor.h"
#include "delivery/FrmSmtp.h"
#include "delivery/MergedAttachment.h"
#include "delivery/SendmailTransport.h"
#include "delivery/SmtpAccount.h"
#include "delivery/SmtpSendRun.h"
#include "merge/DocumentMerge.h"
#include "merge/PostalMergeRun.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/UserOffice.h"
#include "wordlink/WordStatus.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

using namespace Qt::StringLiterals;

SendController::SendController(FrmMailMerge& wizard)
    : QObject(&wizard)
    , m_wizard(wizard)
    , m_source(wizard.sourcePage())
    , m_fieldMapPage(wizard.fieldMapPage())
    , m_template(wizard.templatePage())
    , m_send(wizard.sendPage())
    , m_finish(wizard.finishPage())
    , m_compose(wizard.composePage())
    , m_progress(wizard.progress())
    , m_table(wizard.contactTable())
    , m_selection(wizard.selection())
    , m_tokens(wizard.tokens())
{
    m_compose->setMergeSources(&m_tokens, [this](int row) { return attachmentPreview(row); });
    connectSendAndFinishPages();
}

bool SendController::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_finish->ImgDoc || watched == m_finish->lblOpenDoc) {
        if (event->type() == QEvent::MouseButtonRelease) {
            lblOpenDoc_Click();
        } else if (event->type() == QEvent::Enter || event->type() == QEvent::Leave) {
            // The label is underlined while the mouse is over it or its picture.
            QFont font = m_finish->lblOpenDoc->font();
            font.setUnderline(event->type() == QEvent::Enter);
            m_finish->lblOpenDoc->setFont(font);
        }
    }
    return QObject::eventFilter(watched, event);
}

void SendController::connectSendAndFinishPages()
{
    connect(m_finish->CmdCancelSend, &QPushButton::clicked, this, &SendController::CmdCancelSend_Click);
    connect(m_send->CmdTestSend, &QPushButton::clicked, this, &SendController::CmdTestSend_Click);
    connect(m_send->CmdSMTP, &QPushButton::clicked, this, [] {
        FrmSmtp* settings = FrmSmtp::instance();
        settings->show();
        settings->raise();
    });
    m_finish->ImgDoc->installEventFilter(this);
    m_finish->lblOpenDoc->installEventFilter(this);
}

void SendController::PrepareFieldMenu()
{
    std::array<QString, 3> headings;
    for (int k = 0; k < 3; ++k) {
        headings[k] = m_table.heading(MergeFieldTable::FirstCustomCell + k);
    }
    m_compose->PrepareFieldMenu(DataSources::isFileLike(m_wizard.sourceIndex()), headings);
}

void SendController::ScanMailTokens()
{
    WaitCursor wait;
    const QString html = m_compose->DocumentHTML();
    bool shown = false;
    m_tokens.setSourceIndex(m_wizard.sourceIndex());
    m_tokens.ScanMailTokens(html, [this, &shown](double width) {
        if (!shown) {
            m_progress->BeginProgress(1);
            shown = true;
        }
        m_progress->setWidth(width);
    });
    m_progress->finish();
    showSelectedSource();
}

void SendController::showSelectedSource()
{
    const auto kind = static_cast<SourceKind>(m_wizard.sourceIndex());
    m_send->Label5[0]->setText(kind == SourceKind::MailClient ? u"Selected Folder :"_s : u"Selected File :"_s);
    QString source;
    switch (kind) {
    case SourceKind::MailClient:
        source = m_source->txtContact->text();
        break;
    case SourceKind::Excel:
        source = m_source->txtXlSheet->text();
        break;
    case SourceKind::Access:
        source = m_source->txtMdbFile->text();
        break;
    default:
        source = m_source->txtWabfile->text();
        break;
    }
    m_send->txtselected[0]->setText(source);
    m_send->txtselected[1]->setText(QString::number(m_compose->CboPTo->count()) + u" Contacts"_s);
    OfferResume();
}

RunIdentity SendController::runIdentity() const
{
    return {m_send->txtselected[0]->text(),
            m_template->ChkAttachment->isChecked() ? TextUtil::trimSpaces(m_template->txtTemplate[0]->text())
                                                   : QString(),
            m_compose->txtSubject->text(), m_compose->CboPTo->count()};
}

void SendController::OfferResume()
{
    m_pastRun = PastRun::latestInterrupted(AppPaths::file(u"Runs"_s), runIdentity());
    m_send->ChkResume->setVisible(m_pastRun.has_value());
    m_send->ChkResume->setChecked(m_pastRun.has_value());
    if (m_pastRun) {
        m_send->ChkResume->setText(u"Resume the interrupted run (%1 of %2 sent)"_s.arg(m_pastRun->sentCount())
                                       .arg(m_pastRun->identity().contacts));
    }
}

void SendController::ScanDocTokens()
{
    {
        WaitCursor wait;
        m_tokens.setSourceIndex(m_wizard.sourceIndex());
        DocumentMerge::ScanDocTokens(m_tokens, m_template->txtTemplate[0]->text());
    }
    m_wizard.changes().mailTemplate = false;
}

void SendController::PostalMergeRun(const QString& folder)
{
    m_tokens.setSourceIndex(m_wizard.sourceIndex());
    WizardRunView view(m_wizard);
    ::PostalMergeRun run(view);
    m_postalRun = &run;
    m_finishShowsLetters = true;
    m_finish->lblCounts->setVisible(false);
    run.run({&m_table, &m_tokens, m_template->txtTemplate[1]->text(), m_template->txtDocs->text(),
             m_selection.SelectedCount()},
            folder);
    m_postalRun = nullptr;
}

void SendController::lblOpenDoc_Click()
{
    // The combined document, named as the box reads without trimming, opens in the office
    // suite's visible writer and is left to the user; nothing opens when it is not there.
    wordlink::setWordRunning(true);
    wordlink::openForUser(m_template->txtDocs->text());
    wordlink::setWordRunning(false);
}

void SendController::syncTokenSettings()
{
    m_tokens.setSourceIndex(m_wizard.sourceIndex());
    BlankReplacers blanks;
    for (int k = 0; k < 4; ++k) {
        blanks.texts[k] = m_fieldMapPage->TxtBlank[k]->text();
    }
    m_tokens.setBlankReplacers(blanks);
}

Result<QString> SendController::attachmentPreview(int row)
{
    // The whole pass with every field, ignoring the document token list.
    wordlink::WordJob job;
    const QString templatePath = TextUtil::trimSpaces(m_template->txtTemplate[0]->text());
    const QString preview = AppPaths::file(u"DocPreview"_s + DocumentMerge::mergedExtension(templatePath));
    const std::unique_ptr<wordlink::DocumentApplication> application = wordlink::NewApplication();
    const Status merged = DocumentMerge(*application, m_tokens).MergeDocAllFields(row, templatePath, preview);
    application->Quit();
    if (!merged.ok()) {
        return merged.error();
    }
    return preview;
}

SendRunInput SendController::sendRunInput(MergedAttachment& attachment)
{
    SendRunInput input;
    for (int i = 0; i < m_compose->CboPTo->count(); ++i) {
        input.addresses << m_compose->CboPTo->itemText(i);
        input.rows << m_compose->CboPIndex->itemText(i).toInt();
    }
    input.subjectBox = m_compose->txtSubject->text();
    input.html = m_compose->DocumentHTML();
    syncTokenSettings();
    input.tokens = &m_tokens;
    if (m_template->ChkAttachment->isChecked()) {
        input.attachment = &attachment;
    }
    return input;
}

RunOutcome SendController::RunSmtpSend()
{
    return runSend(nullptr);
}

RunOutcome SendController::RunOutboxSend()
{
    SendmailTransport outbox(SettingsStore::instance().value(Keys::SendmailPath));
    return runSend(&outbox);
}

RunOutcome SendController::runSend(MailTransport* outbox)
{
    m_finishShowsLetters = false;
    m_finish->lblCounts->setVisible(false);
    MergedAttachment attachment(m_tokens, TextUtil::trimSpaces(m_template->txtTemplate[0]->text()));
    SendRunInput input = sendRunInput(attachment);
    const bool resuming = m_pastRun && m_send->ChkResume->isChecked();
    // A journal that cannot be written leaves the run without one; the mails go all the same.
    Result<std::unique_ptr<DeliveryJournal>> journal =
        resuming ? DeliveryJournal::resume(*m_pastRun)
                 : DeliveryJournal::create(DeliveryJournal::newPath(), runIdentity());
    if (journal.ok()) {
        input.journal = journal.value().get();
    }
    input.resumed = resuming ? &*m_pastRun : nullptr;
    WizardRunView view(m_wizard);
    SmtpSendRun run(view, SmtpAccount::current(), outbox);
    m_smtpRun = &run;
    const RunOutcome outcome = outbox == nullptr ? run.RunSmtpSend(input) : run.RunOutboxSend(input);
    m_smtpRun = nullptr;
    m_finish->showDeliveryReport(run.counts().text(), input.journal != nullptr ? input.journal->path() : QString());
    OfferResume();
    return outcome;
}

void SendController::CmdTestSend_Click()
{
    const QString me = SmtpAccount::current().fromEmail;
    if (me.isEmpty()) {
        MessageBoxes::information(u"Please enter your e-mail address in the SMTP Settings first."_s);
        return;
    }
    MergedAttachment attachment(m_tokens, TextUtil::trimSpaces(m_template->txtTemplate[0]->text()));
    const SendRunInput input = sendRunInput(attachment);
    if (input.rows.isEmpty()) {
        return;
    }
    const int position = qBound(0, m_compose->CboPTo->currentIndex(), static_cast<int>(input.rows.size()) - 1);
    ContactDelivery test;
    {
        WaitCursor wait;
        WizardRunView view(m_wizard);
        SmtpSendRun run(view, SmtpAccount::current());
        test = run.SendTest(input, input.rows.at(position), me);
    }
    MessageBoxes::information(
        u"The mail of %1 went to %2 alone.\n\n%3"_s.arg(input.addresses.at(position), me, test.summary()));
}

void SendController::CmdCancelSend_Click()
{
    if (m_smtpRun != nullptr) {
        m_smtpRun->CmdCancelSend_Click();
    }
    if (m_postalRun != nullptr) {
        m_postalRun->CmdCancelSend_Click();
    }
}
