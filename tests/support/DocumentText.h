#pragma once

#include "wordlink/DocumentEngine.h"

#include <QString>

namespace TestSupport {

// The main text of a Word document as the document engine reads it; "" when it cannot be opened.
inline QString documentText(const QString& path)
{
    auto application = wordlink::NewApplication();
    auto opened = application->Open(path, true);
    return opened.ok() ? opened.value()->ContentText().value() : QString();
}

} // namespace TestSupport
