#include "PdfExport.h"

#include "BridgeDocument.h"
#include "core/AppPaths.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace wordlink {

Result<QString> exportPdf(const QString& documentPath)
{
    const QFileInfo document(documentPath);
    if (!document.isFile()) {
        return Error{60, u"no such document: "_s + documentPath};
    }
    const QByteArray identity = document.absoluteFilePath().toUtf8() + '|' + QByteArray::number(document.size()) + '|' +
                                QByteArray::number(document.lastModified().toMSecsSinceEpoch());
    const QString folder = AppPaths::file(u"Previews"_s);
    QDir().mkpath(folder);
    const QString pdf = folder + u'/' +
                        QString::fromLatin1(QCryptographicHash::hash(identity, QCryptographicHash::Sha1).toHex()) +
                        u".pdf"_s;
    if (QFileInfo(pdf).size() > 0) {
        return pdf;
    }
    const Status made = BridgeDocument::convert(document.absoluteFilePath(), pdf);
    if (!made.ok()) {
        return made.error();
    }
    return pdf;
}

} // namespace wordlink
