#pragma once

#include "AttachmentSource.h"

#include <QString>

#include <memory>

class TokenEngine;

namespace wordlink {
class DocumentApplication;
}

// The Word attachment of a mail: each contact's copy of the template with the tokens it holds
// replaced, written under the template's file name in the application folder; the template as
// it stands when it holds no token. The office-suite flag is up for the length of the run.
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
    QString m_attachPath;
    std::unique_ptr<wordlink::DocumentApplication> m_application;
};
