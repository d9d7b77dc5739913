#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Reading of the document log "Log.Dat" in the application folder: lines of records whose
// fields are joined by the list separator, the newest last; field 0 is a document's path.
namespace RecentDocuments {

// The paths for the File menu, newest first, each once, at most ten. A path already
// contained in one collected before it (as a case-sensitive part of the collected text) is
// dropped; two line ends in a row join their neighbours into one line.
QStringList recentPaths(const QByteArray& logBytes);

// The menu text of a path: paths of 40 characters and more become their first 15
// characters, "..." and their last 15.
QString ShortenPath(const QString& path);

// One record as the log window shows it. The name is field 0 behind its last "/", the folder
// field 0 before it ("/docs/a.doc" gives "a.doc" in "/docs"; a path without "/" is all name).
struct LogEntry
{
    QString path;
    QString name;
    QString folder;
    QString accessed;
    QString modified;
    QString created;
    QString size; // field 4 and " KB"
};

// The lines of the log as the window reads them, one record a line: a line ends at CR LF or at
// a CR alone.
QStringList logLines(const QByteArray& logBytes);

// The record of a line of five fields or more (those behind the fifth are ignored); nothing
// for an empty or shorter line.
std::optional<LogEntry> logEntry(const QString& line);

} // namespace RecentDocuments
