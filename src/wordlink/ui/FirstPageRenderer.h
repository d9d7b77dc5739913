#pragma once

#include <QImage>
#include <QString>

namespace wordlink {

// The first page of a PDF as an image on white paper, at the given resolution; a null image
// when the file cannot be read.
QImage renderFirstPage(const QString& pdfPath, int dotsPerInch = 96);

} // namespace wordlink
