#include "MergedAttachment.h"

#include "core/AppPaths.h"
#include "core/TextUtil.h"
#include "merge/DocumentMerge.h"
#include "merge/TokenEngine.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/WordStatus.h"

#include <QFileInfo>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

enum AttachmentError
{
    ScratchMissing = 80,
    EmptyCopy
};

} // namespace

MergedAttachment::MergedAttachment(const TokenEngine& tokens, QString templatePath)
    : m_tokens(tokens)
    , m_template(std::move(templatePath))
{
}

MergedAttachment::~MergedAttachment() = default;

void MergedAttachment::beginRun()
{
    wordlink::setWordRunning(true);
    m_application = wordlink::NewApplication();
    m_scratch = std::make_unique<QTemporaryDir>(AppPaths::file(u"Attachments-XXXXXX"_s));
}

Result<QString> MergedAttachment::attachmentFor(int row)
{
    QString attachment = m_template;
    if (!m_tokens.docTokens().isEmpty()) {
        if (!m_application || !m_scratch || !m_scratch->isValid()) {
            return Error{ScratchMissing, u"no scratch folder for the run's copies"_s};
        }
        attachment = m_scratch->filePath(TextUtil::lastPathPart(m_template));
        const Status merged = DocumentMerge(*m_application, m_tokens).MergeDocTokens(row, m_template, attachment);
        if (!merged.ok()) {
            return merged.error();
        }
    }
    if (const QFileInfo file(attachment); !file.isFile() || file.size() == 0) {
        return Error{EmptyCopy, u"the attachment %1 is missing or empty"_s.arg(attachment)};
    }
    return attachment;
}

void MergedAttachment::endRun()
{
    if (m_application) {
        m_application->Quit();
        m_application.reset();
    }
    m_scratch.reset();
    wordlink::setWordRunning(false);
}
