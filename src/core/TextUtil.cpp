#include "TextUtil.h"

namespace TextUtil {

QString trimSpaces(const QString& text)
{
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && text.at(first) == u' ') {
        ++first;
    }
    while (last > first && text.at(last - 1) == u' ') {
        --last;
    }
    return text.mid(first, last - first);
}

QString lastPathPart(const QString& path)
{
    return path.mid(path.lastIndexOf(u'/') + 1);
}

} // namespace TextUtil
