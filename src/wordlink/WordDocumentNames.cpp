#include "WordDocumentNames.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace wordlink {

bool endsAsWordDocument(const QString& name)
{
    return name.endsWith(u"DOC"_s, Qt::CaseInsensitive) || name.endsWith(u"DOCX"_s, Qt::CaseInsensitive);
}

bool isListedWordDocument(const QString& fileName)
{
    const QString suffix = QFileInfo(fileName).suffix().toUpper();
    return suffix == u"DOC"_s || suffix == u"DOCX"_s || suffix == u"RTF"_s;
}

} // namespace wordlink
