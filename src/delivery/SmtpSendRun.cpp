#include "SmtpSendRun.h"

#include "AttachmentSource.h"
#include "Base64.h"
#include "InlineImages.h"
#include "core/TextUtil.h"
#include "merge/RunView.h"
#include "merge/TokenEngine.h"

#include <QDateTime>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

constexpr double FullBar = 1.0;
const QString ProcessCancelled = u"Process Cancelled!"_s;

// The program's own SMTP conversation, showing its progress on the run page.
std::unique_ptr<SmtpConversation> makeConversation(const SmtpAccount& account, RunView& view)
{
    return std::make_unique<SmtpConversation>(
        account, SmtpConversation::Labels{[&view](const QString& text) { view.setStatus(text); },
                                          [&view](const QString& text) { view.setProcess(text); },
                                          [&view](bool visible) {
                                              view.setProcessVisible(visible);
                                          }});
}

} // namespace

QString DeliveryCounts::text() const
{
    return u"%1 sent, %2 failed, %3 skipped"_s.arg(sent).arg(failed).arg(skipped);
}

SmtpSendRun::SmtpSendRun(RunView& view, const SmtpAccount& account, MailTransport* transport)
    : m_view(view)
    , m_account(account)
    , m_ownConversation(transport != nullptr ? nullptr : makeConversation(account, view))
    , m_transport(transport != nullptr ? *transport : *m_ownConversation)
{
    m_transport.setEndOfDataHook([this] {
        m_endSent = true;
        if (m_journal != nullptr) {
            m_journal->messageInFlight(m_inFlightRow, m_inFlightAddress);
        }
    });
}

void SmtpSendRun::PrepareSendRun(const QString& title, int contacts)
{
    m_view.setCancelEnabled(true);
    m_view.setBackEnabled(false);
    m_view.setStatus(QString());
    m_view.setProcess(QString());
    m_view.setFolderText(QString());
    m_view.setHeader(title);
    m_view.setProgress(0);
    // With no contact the division fails and the step keeps its value; the loop runs no turn.
    if (contacts > 0) {
        m_progressStep = FullBar / contacts;
    }
}

void SmtpSendRun::CmdCancelSend_Click()
{
    m_transport.cancel();
}

RunOutcome SmtpSendRun::RunSmtpSend(const SendRunInput& input)
{
    m_way = Way::Smtp;
    return run(input);
}

RunOutcome SmtpSendRun::RunOutboxSend(const SendRunInput& input)
{
    // The outbox run hands the HTML over as composed, pictures as file references; it sends a
    // blank body too, says goodbye to no server, and a contact's attachment that cannot be made
    // ends it.
    m_way = Way::Outbox;
    return run(input);
}

std::optional<ContactDelivery> SmtpSendRun::personalise(const SendRunInput& input, int row, const QString& address,
                                                        OutgoingMessage& message) const
{
    message.to = address;
    message.subject = input.tokens->mergedSubject(row, input.subjectBox);
    message.body = input.tokens->mergedBody(row, message.body);
    if (m_way == Way::Smtp && TextUtil::trimSpaces(message.body).isEmpty()) {
        return ContactDelivery::skipped(row, address, u"empty body"_s);
    }
    message.attachmentData.clear();
    message.attachmentName.clear();
    if (input.attachment != nullptr) {
        const Result<QString> copy = input.attachment->attachmentFor(row);
        const Result<QByteArray> encoded =
            copy.ok() ? Base64::EncodeBase64File(copy.value()) : Result<QByteArray>(copy.error());
        if (!encoded.ok()) {
            return ContactDelivery::skipped(row, address, u"no attachment copy"_s, encoded.error().message);
        }
        message.attachmentData = encoded.value();
        message.attachmentName = TextUtil::lastPathPart(copy.value());
    }
    return std::nullopt;
}

ContactDelivery SmtpSendRun::deliver(const OutgoingMessage& message, int row, const QString& firstRecipient,
                                     MailTransport::Outcome& outcome)
{
    m_endSent = false;
    m_inFlightRow = row;
    m_inFlightAddress = message.to;
    m_lastMessageAt = QDateTime::currentMSecsSinceEpoch();
    outcome = m_transport.SendSmtpMessage(message, firstRecipient);
    const QString reply = m_transport.lastReply();
    if (outcome == MailTransport::Outcome::Accepted) {
        return ContactDelivery::sent(row, message.to, reply);
    }
    if (m_endSent && reply.isEmpty()) {
        // The whole message left and no answer came: it may well have been delivered.
        return {row, message.to, ContactDelivery::Kind::Unconfirmed, u"unconfirmed"_s,
                u"no answer from the server after the end of the message"_s};
    }
    if (outcome == MailTransport::Outcome::Raised) {
        const QString failure = m_transport.failure();
        return ContactDelivery::failed(row, message.to, failure.isEmpty() ? u"the connection was lost"_s : failure);
    }
    return ContactDelivery::failed(row, message.to, reply.isEmpty() ? u"no answer from the server"_s : reply);
}

void SmtpSendRun::tell(const SendRunInput& input, const ContactDelivery& delivery, bool journal)
{
    if (journal && input.journal != nullptr) {
        input.journal->record(delivery);
    }
    switch (delivery.kind) {
    case ContactDelivery::Kind::Sent:
        ++m_counts.sent;
        break;
    case ContactDelivery::Kind::Failed:
    case ContactDelivery::Kind::Unconfirmed:
        ++m_counts.failed;
        break;
    case ContactDelivery::Kind::Skipped:
        ++m_counts.skipped;
        break;
    }
    if (input.report) {
        input.report(delivery);
    }
}

bool SmtpSendRun::awaitPace(double barBefore)
{
    if (m_account.mailsPerMinute <= 0 || m_lastMessageAt < 0) {
        return !m_transport.cancelled();
    }
    const qint64 gap = 60000 / m_account.mailsPerMinute;
    const qint64 due = m_lastMessageAt + gap;
    for (qint64 now = QDateTime::currentMSecsSinceEpoch(); now < due; now = QDateTime::currentMSecsSinceEpoch()) {
        if (m_transport.cancelled()) {
            return false;
        }
        // The bar creeps through the first half of this contact's step while the run waits.
        const double waited = 1.0 - static_cast<double>(due - now) / static_cast<double>(gap);
        m_view.setProgress(qMin(barBefore + m_progressStep * 0.5 * waited, FullBar));
        m_view.setStatus(u"Waiting %1 s for the pace of %2 mails a minute"_s.arg((due - now + 999) / 1000)
                             .arg(m_account.mailsPerMinute));
        m_view.pumpEvents();
        QThread::msleep(static_cast<unsigned long>(qMin<qint64>(50, due - now)));
    }
    return !m_transport.cancelled();
}

RunOutcome SmtpSendRun::run(const SendRunInput& input)
{
    const bool smtp = m_way == Way::Smtp;
    m_counts = {};
    m_lastMessageAt = -1;
    m_transport.endRun();
    PrepareSendRun(smtp ? u"Sending Mails via Quillbay+ SMTP"_s : u"Sending Mails via Outlook Outbox"_s,
                   static_cast<int>(input.addresses.size()));
    m_view.pumpEvents();
    if (smtp && (m_account.server.isEmpty() || m_account.fromEmail.isEmpty() || m_account.port == 0)) {
        m_view.showSmtpSettings();
    }
    m_view.showRunPage(u"Send Mail"_s);
    m_view.setBackEnabled(false);
    if (smtp) {
        m_view.setStatus(u"Connecting "_s + m_account.server);
    }
    m_view.setWaitCursor(true);
    m_transport.setInterval(m_account.interval);
    m_view.setNext(u"Finish"_s, false);
    if (input.attachment != nullptr) {
        input.attachment->beginRun();
    }
    m_view.setProcessVisible(false);

    OutgoingMessage message;
    message.fromName = m_account.fromName;
    message.fromEmail = m_account.fromEmail;
    message.replyEmail = m_account.replyEmail;
    QString html = input.html;
    QString error; // what ended the run before its last contact
    if (smtp) {
        const EmbeddedHtml embedded = InlineImages::Embed(input.html);
        html = embedded.html;
        if (!embedded.InlineImageList.isEmpty()) {
            const Result<QList<QByteArray>> images = InlineImages::LoadInlineImages(embedded.InlineImageList);
            if (images.ok()) {
                message.inlineImagePaths = InlineImages::paths(embedded.InlineImageList);
                message.inlineImageData = images.value();
            } else {
                error = u"an inline picture cannot be read: "_s + images.error().message;
            }
        }
    }

    m_journal = input.journal;
    qsizetype next = 0; // the first contact not told of yet
    const qsizetype last = input.rows.size() - 1;
    for (qsizetype i = 0; error.isEmpty(); ++i) {
        if (i > last) {
            if (smtp) {
                m_transport.SendQuit();
            }
            break;
        }
        const double barBefore = m_view.progress();
        const QString address = input.addresses.value(i);
        const int row = input.rows.at(i);
        const bool deliveredBefore = input.resumed != nullptr && input.resumed->delivered(row, address);
        if (!deliveredBefore && address.contains(u'@') && !awaitPace(barBefore)) {
            break;
        }
        if (m_transport.cancelled()) {
            break;
        }
        if (i != 0 || !smtp) {
            m_view.setStatus(address);
        }
        m_view.setProcess(u"Sending %1 of %2"_s.arg(i + 1).arg(input.rows.size()));
        next = i + 1;
        if (deliveredBefore) {
            tell(input, ContactDelivery::skipped(row, address, u"sent before"_s), false);
        } else if (!address.contains(u'@')) {
            tell(input, ContactDelivery::skipped(row, address, u"no address"_s));
        } else {
            message.body = html;
            if (const std::optional<ContactDelivery> skipped = personalise(input, row, address, message)) {
                tell(input, *skipped);
                if (!smtp && skipped->outcome == u"skipped: no attachment copy"_s) {
                    error = skipped->reply;
                }
            } else {
                MailTransport::Outcome sent = MailTransport::Outcome::Accepted;
                tell(input, deliver(message, row, input.addresses.value(0), sent));
                if (sent == MailTransport::Outcome::Raised) {
                    error = u"the connection to the server was lost"_s;
                }
            }
            m_view.pumpEvents();
        }
        if (!m_transport.cancelled()) {
            m_view.setProgress(qMin(barBefore + m_progressStep, FullBar));
        }
    }
    // Contacts the run never came to are in the journal too.
    for (qsizetype i = next; i < input.rows.size(); ++i) {
        const int row = input.rows.at(i);
        const QString address = input.addresses.value(i);
        if (input.resumed == nullptr || !input.resumed->delivered(row, address)) {
            tell(input, ContactDelivery::skipped(row, address, u"not reached"_s));
        }
    }
    const RunOutcome outcome = closingSteps(error);
    if (input.attachment != nullptr) {
        input.attachment->endRun();
    }
    m_journal = nullptr;
    if (input.journal != nullptr) {
        input.journal->finish(outcome.completed()
                                  ? u"completed"_s
                                  : (outcome.ending == RunOutcome::Ending::Cancelled ? u"cancelled"_s : u"failed"_s));
    }
    return outcome;
}

ContactDelivery SmtpSendRun::SendTest(const SendRunInput& input, int row, const QString& testAddress)
{
    m_transport.endRun();
    m_transport.setInterval(m_account.interval);
    const EmbeddedHtml embedded = InlineImages::Embed(input.html);
    OutgoingMessage message;
    message.fromName = m_account.fromName;
    message.fromEmail = m_account.fromEmail;
    message.replyEmail = m_account.replyEmail;
    message.body = embedded.html;
    const Result<QList<QByteArray>> images = InlineImages::LoadInlineImages(embedded.InlineImageList);
    if (!images.ok()) {
        return ContactDelivery::failed(row, testAddress, images.error().message);
    }
    message.inlineImagePaths = InlineImages::paths(embedded.InlineImageList);
    message.inlineImageData = images.value();
    if (input.attachment != nullptr) {
        input.attachment->beginRun();
    }
    m_way = Way::Smtp;
    MailTransport::Outcome sent = MailTransport::Outcome::Accepted;
    std::optional<ContactDelivery> delivery = personalise(input, row, testAddress, message);
    if (!delivery) {
        delivery = deliver(message, row, testAddress, sent);
    }
    m_transport.SendQuit();
    if (!m_transport.failure().isEmpty()) {
        delivery = ContactDelivery::failed(row, testAddress, m_transport.failure());
    }
    m_transport.endRun();
    if (input.attachment != nullptr) {
        input.attachment->endRun();
    }
    return *delivery;
}

RunOutcome SmtpSendRun::closingSteps(const QString& error)
{
    const bool cancelled = m_transport.cancelled();
    const QString failure = m_transport.failure();
    const bool errorPending = !error.isEmpty();
    m_transport.endRun();
    // The outbox run keeps a bar that rounding left just short of its end.
    if (m_way == Way::Smtp || m_view.progress() > FullBar) {
        m_view.setProgress(FullBar);
    }
    m_view.setProcessVisible(true);
    if (cancelled || errorPending) {
        // A certificate that does not verify is named beside the usual text.
        m_view.setProcess(failure.startsWith(u"The certificate"_s) ? ProcessCancelled + u" "_s + failure
                                                                   : ProcessCancelled);
    } else {
        m_view.setProcess(m_way == Way::Smtp ? u"All mails are successfully Sent."_s
                                             : u"All mails are successfully sent."_s);
    }
    m_view.setStatus(QString());
    m_view.setCancelEnabled(false);
    m_view.setBackEnabled(true);
    m_view.setWaitCursor(false);
    if (!failure.isEmpty() || errorPending) {
        // A socket error or a certificate names itself; else what ended the loop.
        return RunOutcome::failed(failure.isEmpty() ? error : failure, m_counts.sent);
    }
    return {cancelled ? RunOutcome::Ending::Cancelled : RunOutcome::Ending::Completed, {}, m_counts.sent};
}
