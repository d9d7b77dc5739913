#pragma once

#include "Result.h"

#include <QByteArray>
#include <QString>

// The user's files that a step reads whole (contact lists, mail bodies): only a regular file is
// read. A folder, a pipe, a socket or a device is refused with a reason instead, as reading a
// pipe would hold the step for as long as nobody writes to it.
namespace PlainFile {

enum class Kind
{
    Missing,
    Folder,
    Special,
    Regular
};

Kind kindOf(const QString& path);

Result<QByteArray> read(const QString& path);

// The same, in the program's text decoding (UTF-8 when valid, else Windows-1252).
Result<QString> readText(const QString& path);

} // namespace PlainFile
