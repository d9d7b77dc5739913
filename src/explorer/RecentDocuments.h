#pragma once

#include <QString>
#include <QStringList>

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

} // namespace RecentDocuments
