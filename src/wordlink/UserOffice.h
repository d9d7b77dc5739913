#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// The office suite's visible writer, for the user: a document opens there, or a new one, and
// stays with the user; the program keeps no hold on it.
namespace wordlink {

// Opens the document, or a new document for an empty path. False when the document is not
// there (nothing is opened then) or the office suite cannot be started.
bool openForUser(const QString& path);

// What starts the office suite: a detached process unless another launcher is set (tests put
// their own in its place to see the command instead of a window; an empty one restores it).
using OfficeLauncher = std::function<bool(const QString& program, const QStringList& arguments)>;
void setOfficeLauncher(OfficeLauncher launcher);

} // namespace wordlink
