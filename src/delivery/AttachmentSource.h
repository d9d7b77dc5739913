#pragma once

#include "core/Result.h"

#include <QString>

// The Word attachment of a send run: the template itself, or each contact's personalised copy
// written under the template's file name in the application folder. A copy that cannot be
// made for a contact is an error, and that contact's mail is not sent: no contact ever gets
// another contact's copy.
class AttachmentSource
{
public:
    virtual ~AttachmentSource() = default;

    // Before the first contact (the office suite is started when the template needs it).
    virtual void beginRun() = 0;
    // The file to attach for the contact at this 1-based row.
    virtual Result<QString> attachmentFor(int row) = 0;
    // After the last contact.
    virtual void endRun() = 0;
};
