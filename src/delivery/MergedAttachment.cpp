#include "MergedAttachment.h"

#include "core/AppPaths.h"
#include "core/TextUtil.h"
#include "merge/DocumentMerge.h"
#include "merge/TokenEngine.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/WordStatus.h"

MergedAttachment::MergedAttachment(const TokenEngine& tokens, QString templatePath)
    : m_tokens(tokens)
    , m_template(std::move(templatePath))
    , m_attachPath(AppPaths::file(TextUtil::lastPathPart(m_template)))
{
}

MergedAttachment::~MergedAttachment() = default;

void MergedAttachment::beginRun()
{
    wordlink::setWordRunning(true);
    m_application = wordlink::NewApplication();
}

Result<QString> MergedAttachment::attachmentFor(int row)
{
    if (m_tokens.docTokens().isEmpty()) {
        return m_template;
    }
    const Status merged = DocumentMerge(*m_application, m_tokens).MergeDocTokens(row, m_template, m_attachPath);
    if (!merged.ok()) {
        return merged.error();
    }
    return m_attachPath;
}

void MergedAttachment::endRun()
{
    if (m_application) {
        m_application->Quit();
        m_application.reset();
    }
    wordlink::setWordRunning(false);
}
