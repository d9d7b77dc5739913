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

QStringList logLines(const QByteArray& logBytes)
{
    QString text = TextDecoding::decode(logBytes);
    text.replace(u"\r\n"_s, u"\r"_s);
    return text.split(u'\r');
}

std::optional<LogEntry> logEntry(const QString& line)
{
    if (line.isEmpty()) {
        return std::nullopt;
    }
    const QStringList fields = line.split(ListSeparatorChar);
    if (fields.size() < 5) {
        return std::nullopt;
    }
    const QString& path = fields.at(0);
    const qsizetype slash = path.lastIndexOf(u'/');
    return LogEntry{
        path,         path.mid(slash + 1),    slash < 0 ? QString() : path.left(slash), fields.at(1), fields.at(2),
        fields.at(3), fields.at(4) + u" KB"_s};
}

} // namespace RecentDocuments
