#include "InlineImages.h"

#include "Base64.h"
#include "core/TextUtil.h"

using namespace Qt::StringLiterals;

namespace InlineImages {

QString fileNameOf(const QString& path)
{
    return path.mid(qMax(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\')) + 1);
}

EmbeddedHtml Embed(const QString& html)
{
    EmbeddedHtml result;
    const QString trimmed = TextUtil::trimSpaces(html);
    if (trimmed.isEmpty()) {
        result.html = html;
        return result;
    }
    QString output;
    qsizetype scan = 0;
    qsizetype copy = 0;
    QStringList images;
    while (true) {
        const qsizetype hit = trimmed.indexOf(u"src"_s, scan);
        if (hit < 0) {
            break;
        }
        const qsizetype opening = trimmed.indexOf(u'"', hit + 3);
        const qsizetype closing = opening < 0 ? -1 : trimmed.indexOf(u'"', opening + 1);
        if (closing < 0) {
            // No value in quotes behind this "src": the walk ends, the rest is copied below.
            break;
        }
        output += trimmed.mid(copy, hit + 4 - copy);
        QString reference = trimmed.mid(opening + 1, closing - opening - 1);
        reference.remove(u"file://"_s);
        images << reference;
        output += u"cid:"_s + fileNameOf(TextUtil::trimSpaces(reference));
        scan = copy = closing + 1;
    }
    output += trimmed.mid(copy);
    result.html = output;
    result.InlineImageList = images.join(u'|');
    return result;
}

QStringList paths(const QString& list)
{
    return list.split(u'|');
}

Result<QList<QByteArray>> LoadInlineImages(const QString& list)
{
    const QStringList pieces = paths(list);
    QList<QByteArray> images(pieces.size());
    qsizetype next = 0;
    for (const QString& path : pieces) {
        if (path.isEmpty()) {
            continue;
        }
        const Result<QByteArray> encoded = Base64::EncodeBase64File(path);
        if (!encoded.ok()) {
            return encoded.error();
        }
        images[next++] = encoded.value();
    }
    return images;
}

} // namespace InlineImages
