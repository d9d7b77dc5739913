#pragma once

#include "core/Result.h"

#include <QString>

namespace wordlink {

class OfficeBridge;

// A document as PDF, for the previews: made by the office suite and kept in a cache in the
// application folder, by the document's path, size and modification time, so that a preview of
// an unchanged document is shown without asking the office suite again. Only the latest export
// of each document is kept. The export goes through the shared office bridge unless another is
// given.
Result<QString> exportPdf(const QString& documentPath);
Result<QString> exportPdf(const QString& documentPath, OfficeBridge& bridge);

} // namespace wordlink
