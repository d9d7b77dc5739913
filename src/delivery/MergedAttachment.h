#pragma once

#include "AttachmentSource.h"

#include <QString>

#include <memory>

class QTemporaryDir;
class TokenEngine;

namespace wordlink {
class DocumentApplication;
}

// The Word attachment of a mail: each contact's copy of the template with the tokens it holds
// replaced, written under the template's file name in a scratch folder of the run's own inside
// the application folder (so that two runs at once never send each other's copies), removed at
// the end of the run; the template as it stands when it holds no token. A copy that is missing
// or empty fails that contact. The office-suite flag is up for the length of the run.
class MergedAttachment : public AttachmentSource
{
public:
    MergedAttachment(const TokenEngine& tokens, QString templatePath);
    ~MergedAttachment() override;

    void beginRun() override;
    Result<QString> attachmentFor(int row) override;
    void endRun() override;

private:
    const TokenEngine& m_tokens;
    QString m_template;
    std::unique_ptr<QTemporaryDir> m_scratch;
    std::unique_ptr<wordlink::DocumentApplication> m_application;
};
