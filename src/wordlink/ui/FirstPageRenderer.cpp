#include "FirstPageRenderer.h"

#include <QPainter>
#include <QPdfDocument>

namespace wordlink {

QImage renderFirstPage(const QString& pdfPath, int dotsPerInch)
{
    QPdfDocument document;
    if (document.load(pdfPath) != QPdfDocument::Error::None || document.pageCount() < 1) {
        return {};
    }
    const QSizeF points = document.pagePointSize(0);
    const QSize size(qRound(points.width() * dotsPerInch / 72.0), qRound(points.height() * dotsPerInch / 72.0));
    const QImage rendered = document.render(0, size);
    // The page comes with a transparent background: it is laid on white.
    QImage page(size, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.drawImage(0, 0, rendered);
    painter.end();
    return page;
}

} // namespace wordlink
