#include "PdfExport.h"

#include "BridgeDocument.h"
#include "OfficeBridge.h"
#include "core/AppPaths.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace wordlink {

Result<QString> exportPdf(const QString& documentPath)
{
    return exportPdf(documentPath, OfficeBridge::instance());
}

Result<QString> exportPdf(const QString& documentPath, OfficeBridge& bridge)
{
    const QFileInfo document(documentPath);
    if (!document.isFile()) {
        return Error{ErrorCode::NoSuchDocument, u"no such document: "_s + documentPath};
    }
    // One export per document is kept: named by the document's path, then by its size and time.
    const auto hashed = [](const QByteArray& text) {
        return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha1).toHex().left(20));
    };
    const QString pathPart = hashed(document.absoluteFilePath().toUtf8());
    const QString versionPart = hashed(QByteArray::number(document.size()) + '|' +
                                       QByteArray::number(document.lastModified().toMSecsSinceEpoch()));
    const QString folder = AppPaths::file(u"Previews"_s);
    QDir().mkpath(folder);
    const QString pdf = folder + u'/' + pathPart + u'-' + versionPart + u".pdf"_s;
    if (QFileInfo(pdf).size() > 0) {
        return pdf;
    }
    // An earlier version's export goes.
    const QDir previews(folder);
    for (const QString& older : previews.entryList({pathPart + u"-*.pdf"_s}, QDir::Files)) {
        QFile::remove(previews.filePath(older));
    }
    const Status made = BridgeDocument::convert(document.absoluteFilePath(), pdf, bridge);
    if (!made.ok()) {
        return made.error();
    }
    return pdf;
}

} // namespace wordlink
