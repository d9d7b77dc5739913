#pragma once

#include <QList>
#include <QString>

// The documents of one folder as the document list shows them: Word documents and RTF files,
// without the office suite's "~" lock and temporary files, in the order of their names.
struct ListedDocument
{
    QString path;     // the item's key
    QString text;     // the name without its extension
    QString modified; // "dd/mm/yyyy hh:mm:ss AM/PM"
    QString size;     // whole kilobytes, halves to the even number, then " KB"
};

namespace DocumentListing {

QList<ListedDocument> documentsIn(const QString& folder);

// The list's texts for a file's size and time.
QString sizeText(qint64 bytes);

} // namespace DocumentListing
