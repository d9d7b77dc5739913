#include "DocumentListing.h"

#include "wordlink/WordDocumentNames.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include <cmath>

using namespace Qt::StringLiterals;

namespace DocumentListing {

QString sizeText(qint64 bytes)
{
    // std::nearbyint rounds a half to the even number, as the list always has.
    return QString::number(static_cast<qint64>(std::nearbyint(static_cast<double>(bytes) / 1024.0))) + u" KB"_s;
}

QList<ListedDocument> documentsIn(const QString& folder)
{
    const QLocale english(QLocale::English);
    const QString dateFormat = u"dd/MM/yyyy hh:mm:ss AP"_s;
    QList<ListedDocument> documents;
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files, QDir::Name | QDir::IgnoreCase);
    documents.reserve(files.size());
    for (const QFileInfo& file : files) {
        const QString name = file.fileName();
        if (name.startsWith(u'~') || !wordlink::isListedDocument(name)) {
            continue;
        }
        documents.append({file.absoluteFilePath(), file.completeBaseName(),
                          english.toString(file.lastModified(), dateFormat), sizeText(file.size())});
    }
    return documents;
}

} // namespace DocumentListing
