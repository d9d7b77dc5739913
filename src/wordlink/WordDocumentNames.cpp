#include "WordDocumentNames.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace wordlink {

bool isWordDocumentName(const QString& name)
{
    const QString suffix = QFileInfo(name).suffix();
    return suffix.compare(u"doc"_s, Qt::CaseInsensitive) == 0 || suffix.compare(u"docx"_s, Qt::CaseInsensitive) == 0;
}

bool isListedDocument(const QString& fileName)
{
    return isWordDocumentName(fileName) || QFileInfo(fileName).suffix().compare(u"rtf"_s, Qt::CaseInsensitive) == 0;
}

} // namespace wordlink
