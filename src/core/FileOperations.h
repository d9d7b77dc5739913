#pragma once

#include "core/Result.h"

#include <QString>

// The explorer's changes to the disk. Each either completes or leaves both sides as they were,
// and says in the user's words why it failed: no permission, a name already taken, a full disk,
// a file that has gone. Nothing is removed for good: what the user deletes goes to the desktop
// Trash, and a move between file systems copies, checks the copy, and only then lets the
// original go.
namespace FileOperations {

// A file or folder to the desktop Trash, where the user can get it back.
Status moveToTrash(const QString& path);

// A file into a folder under its own name; fails when that name is taken there.
Status moveFile(const QString& file, const QString& folder);

// A file to the given path, replacing what stands there only by a complete copy.
Status copyFile(const QString& file, const QString& target);

// A folder with everything in it into another folder, under its own name; files already there
// are replaced. Fails when the destination lies inside the folder itself.
Status copyFolder(const QString& folder, const QString& destination);

// A folder into another folder: renamed in place on the same file system, else copied in whole
// before the original goes.
Status moveFolder(const QString& folder, const QString& destination);

} // namespace FileOperations
