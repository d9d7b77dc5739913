#pragma once

#include "ContactTable.h"
#include "DelimitedText.h"
#include "FieldMap.h"
#include "core/Result.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

// A contact list in a text file, tab- or comma-separated, as the merge wizard and the command
// line both read it: open it for its column names, read its rows through a field map, then
// remember the file and the map for the next time.
namespace TextSource {

struct OpenedList
{
    QString text;
    // The names of the first line's columns; none when the first line is empty.
    QStringList columns;
};

// Where the map of the kind is remembered: "TabValues" / "TxtTabFile" or "CommaValues" / "TxtComaFile".
MapSection mapSection(TextKind kind);

// The list's text and its column names, or an error: FileMissing ("File Doesn't Exists"),
// NotAFile or CannotRead (the reason), NoContacts ("The contact list … holds no contacts").
Result<OpenedList> open(const QString& path, TextKind kind);

// The rows of the list (after its first line when skipFirst), read afresh from the file so that
// a list changed since it was opened is read as it is now. lineCount is told the number of lines
// before the rows are read, afterLine the number of each line read. None when the file cannot be
// read.
std::vector<Contact> readRows(const QString& path, TextKind kind, bool skipFirst, const FieldMap& map,
                              const std::function<void(int lineCount)>& lineCount = {},
                              const std::function<void(qsizetype lineNumber)>& afterLine = {});

// After rows were read: the file becomes the kind's remembered file and the map its remembered map.
void remember(TextKind kind, const QString& path, const FieldMap& map);

} // namespace TextSource
