#include "RecentDocuments.h"

#include "core/ListSeparator.h"
#include "core/TextDecoding.h"

using namespace Qt::StringLiterals;

namespace RecentDocuments {

QStringList recentPaths(const QByteArray& logBytes)
{
    QString text = TextDecoding::decode(logBytes);
    text.remove(u"\r\n\r\n"_s);
    const QStringList lines = text.split(u"\r\n"_s);
    QString collected;
    QStringList paths;
    for (auto line = lines.crbegin(); line != lines.crend() && paths.size() < 10; ++line) {
        const qsizetype separator = line->indexOf(ListSeparatorChar);
        if (line->isEmpty() || separator < 0) {
            continue;
        }
        const QString path = line->left(separator);
        if (!collected.contains(path)) {
            collected += path + u"\r\n"_s;
            paths << path;
        }
    }
    return paths;
}

QString ShortenPath(const QString& path)
{
    if (path.size() < 40) {
        return path;
    }
    return path.left(15) + u"..."_s + path.right(15);
}

} // namespace RecentDocuments
