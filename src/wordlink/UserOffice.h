#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// The office suite's visible writer, for the user: a document opens there, or a new one, and
// stays with the user; the program keeps no hold on it.
namespace wordlink {

enum class UserOpen
{
    Opened,
    NotThere, // the document is not there: nothing is opened
    NoWriter  // no writer can show it; the user has been told what to install
};

// Opens the document, or a new document for an empty path.
UserOpen openForUser(const QString& path);

// Why the office suite whose program is `soffice` cannot show a writer window ("" when it can):
// none is installed, or one built without a window system (the "nogui" packages), whose
// program folder holds no window plugin (libvclplug_*).
QString visibleWriterProblem(const QString& soffice);

// What starts the office suite: a detached process unless another launcher is set (tests put
// their own in its place to see the command instead of a window; an empty one restores it).
using OfficeLauncher = std::function<bool(const QString& program, const QStringList& arguments)>;
void setOfficeLauncher(OfficeLauncher launcher);
// The launcher set in place of the office suite, empty when none is.
const OfficeLauncher& officeLauncher();
// The office suite's arguments that open the document in a visible writer, or a new one.
QStringList writerArguments(const QString& path);

} // namespace wordlink
