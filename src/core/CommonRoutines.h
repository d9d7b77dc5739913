#pragma once

#include <QString>

// Small routines that several windows call. None reports anything: each folds a failure
// into its result.

// True only for an existing file of length at least 1: an empty file counts as absent.
bool FileExists(const QString& path);

// Makes one folder level; any error, an existing folder included, is swallowed.
void MakeFolder(const QString& path);

// The path of a special folder by its index 0..29 (system, programs, documents, desktop, …),
// or "" where this system has no such folder or it does not exist. The mapping onto the
// XDG and system folders is documented in docs/platform.md.
QString GetSpecialFolder(int index);

// The same lookup by the shell folder code behind each index (5 documents, 16 desktop, …).
QString SpecialFolderByCode(int code);
