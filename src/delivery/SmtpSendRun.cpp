#include "SmtpSendRun.h"

#include "AttachmentSource.h"
#include "Base64.h"
#include "InlineImages.h"
#include "core/TextUtil.h"
#include "merge/RunView.h"
#include "merge/TokenEngine.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double FullBar = 7500.0;
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

SmtpSendRun::SmtpSendRun(RunView& view, const SmtpAccount& account, MailTransport* transport)
    : m_view(view)
    , m_account(account)
    , m_ownConversation(transport != nullptr ? nullptr : makeConversation(account, view))
    , m_transport(transport != nullptr ? *transport : *m_ownConversation)
{
}

void SmtpSendRun::PrepareSendRun(const QString& title, int contacts)
{
    m_view.setCancelEnabled(true);
    m_view.setBackEnabled(false);
    m_view.setStatus(QString());
    m_view.setProcess(QString());
    m_view.setFolderText(QString());
    m_view.setHeader(title);
    m_view.setBarWidth(0);
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
    m_accepted = 0;
    m_transport.endRun();
    PrepareSendRun(u"Sending Mails via Quillbay+ SMTP"_s, static_cast<int>(input.addresses.size()));
    m_view.pumpEvents();
    if (m_account.server.isEmpty() || m_account.fromEmail.isEmpty() || m_account.port == 0) {
        m_view.showSmtpSettings();
    }
    m_view.showRunPage(u"Send Mail"_s);
    m_view.setBackEnabled(false);
    m_view.setStatus(u"Connecting "_s + m_account.server);
    m_view.setWaitCursor(true);
    m_transport.setInterval(m_account.interval);
    m_view.setNext(u"Finish"_s, false);
    if (input.attachment != nullptr) {
        input.attachment->beginRun();
    }
    m_view.setProcessVisible(false);

    const EmbeddedHtml embedded = InlineImages::Embed(input.html);
    OutgoingMessage message;
    message.fromName = m_account.fromName;
    message.fromEmail = m_account.fromEmail;
    message.replyEmail = m_account.replyEmail;
    if (!embedded.InlineImageList.isEmpty()) {
        const Result<QList<QByteArray>> images = InlineImages::LoadInlineImages(embedded.InlineImageList);
        if (!images.ok()) {
            const RunOutcome outcome = closingSteps(u"an inline picture cannot be read: "_s + images.error().message);
            if (input.attachment != nullptr) {
                input.attachment->endRun();
            }
            return outcome;
        }
        message.inlineImagePaths = InlineImages::paths(embedded.InlineImageList);
        message.inlineImageData = images.value();
    }

    QString error; // what ended the run before its last contact
    const qsizetype last = input.rows.size() - 1;
    for (qsizetype i = 0;; ++i) {
        if (i > last) {
            m_transport.SendQuit();
            break;
        }
        if (m_transport.cancelled()) {
            break;
        }
        if (i != 0) {
            m_view.setStatus(input.addresses.value(i));
        }
        m_view.setProcess(u"Sending %1 of %2"_s.arg(i + 1).arg(input.rows.size()));
        const QString address = input.addresses.value(i);
        const int row = input.rows.at(i);
        const auto report = [&input, row, &address](const QString& outcome) {
            if (input.report) {
                input.report(row, address, outcome);
            }
        };
        if (!address.contains(u'@')) {
            report(u"skipped: no \"@\" in the address"_s);
        } else {
            message.to = address;
            message.subject = input.tokens->mergedSubject(row, input.subjectBox);
            message.body = input.tokens->mergedBody(row, embedded.html);
            QString skipped;
            if (TextUtil::trimSpaces(message.body).isEmpty()) {
                skipped = u"skipped: empty body"_s;
            }
            message.attachmentData.clear();
            message.attachmentName.clear();
            if (skipped.isEmpty() && input.attachment != nullptr) {
                const Result<QString> copy = input.attachment->attachmentFor(row);
                const Result<QByteArray> encoded =
                    copy.ok() ? Base64::EncodeBase64File(copy.value()) : Result<QByteArray>(copy.error());
                if (encoded.ok()) {
                    message.attachmentData = encoded.value();
                    message.attachmentName = TextUtil::lastPathPart(copy.value());
                } else {
                    skipped = u"skipped: the attachment could not be made (%1)"_s.arg(encoded.error().message);
                }
            }
            if (!skipped.isEmpty()) {
                report(skipped);
            } else {
                const MailTransport::Outcome outcome = m_transport.SendSmtpMessage(message, input.addresses.value(0));
                if (outcome == MailTransport::Outcome::Raised) {
                    report(u"failed: the connection was lost"_s);
                    error = u"the connection to the server was lost"_s;
                    break;
                }
                if (outcome == MailTransport::Outcome::Accepted) {
                    ++m_accepted;
                    report(u"sent"_s);
                } else {
                    const QString reply = m_transport.lastReply();
                    report(u"failed: "_s + (reply.isEmpty() ? u"no answer from the server"_s : reply));
                }
            }
            m_view.pumpEvents();
        }
        if (!m_transport.cancelled()) {
            m_view.setBarWidth(qMin(m_view.barWidth() + m_progressStep, FullBar));
        }
    }
    const RunOutcome outcome = closingSteps(error);
    if (input.attachment != nullptr) {
        input.attachment->endRun();
    }
    return outcome;
}

RunOutcome SmtpSendRun::closingSteps(const QString& error)
{
    const bool cancelled = m_transport.cancelled();
    const QString failure = m_transport.failure();
    const bool errorPending = !error.isEmpty();
    m_transport.endRun();
    m_view.setBarWidth(FullBar);
    m_view.setProcessVisible(true);
    if (cancelled || errorPending) {
        // A certificate that does not verify is named beside the usual text.
        m_view.setProcess(failure.startsWith(u"The certificate"_s) ? ProcessCancelled + u" "_s + failure
                                                                   : ProcessCancelled);
    } else {
        m_view.setProcess(u"All mails are successfully Sent."_s);
    }
    m_view.setStatus(QString());
    m_view.setCancelEnabled(false);
    m_view.setBackEnabled(true);
    m_view.setWaitCursor(false);
    if (!failure.isEmpty() || errorPending) {
        // A socket error or a certificate names itself; else what ended the loop.
        return RunOutcome::failed(failure.isEmpty() ? error : failure, m_accepted);
    }
    return {cancelled ? RunOutcome::Ending::Cancelled : RunOutcome::Ending::Completed, {}, m_accepted};
}
