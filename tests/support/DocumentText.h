#pragma once

#include "wordlink/DocumentEngine.h"

#include <QString>

#include <memory>

namespace TestSupport {

// The document opened by the application; null, with the reason as a warning, when it cannot be.
inline std::unique_ptr<wordlink::Document> openDocument(wordlink::DocumentApplication& application, const QString& path,
                                                        bool readOnly = true)
{
    Result<std::unique_ptr<wordlink::Document>> opened = application.Open(path, readOnly);
    if (!opened.ok()) {
        qWarning("%s", qPrintable(opened.error().message));
        return nullptr;
    }
    return std::move(opened).value();
}

// The main text of a Word document as the document engine reads it; "" when it cannot be opened.
inline QString documentText(const QString& path)
{
    auto application = wordlink::NewApplication();
    auto opened = application->Open(path, true);
    return opened.ok() ? opened.value()->ContentText().value() : QString();
}

} // namespace TestSupport
