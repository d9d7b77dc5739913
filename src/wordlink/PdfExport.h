#pragma once

#include "core/Result.h"

#include <QString>

namespace wordlink {

// A document as PDF, for the previews: made by the office suite and kept in a cache in the
// application folder, by the document's path, size and modification time, so that a preview of
// an unchanged document is shown without asking the office suite again. Only the latest export
// of each document is kept.
Result<QString> exportPdf(const QString& documentPath);

} // namespace wordlink
