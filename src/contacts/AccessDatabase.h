#pragma once

#include "core/Result.h"

#include <QString>
#include <QStringList>

#include <memory>

// A database of Access (.mdb, .accdb) opened for reading, as the Access importer sees it: its
// tables, and one table at a time as a recordset walked from the first row to the last. The
// engine behind it is the mdbtools library, run in a helper program of its own; nothing but that
// helper includes it, so the importer and its tests see only these classes.

// One table's rows. Every value comes as text: a null gives the empty text, a number its
// decimal text ("18", "0.05", "1995.5"), a date "1994-11-16" (with " 10:30:00" when it has a
// time of day), a yes/no field "True" or "False"; pictures and other binary data give the
// empty text.
class AccessRecordset
{
public:
    virtual ~AccessRecordset() = default;

    // The field names, in the table's order.
    virtual QStringList fieldNames() const = 0;
    virtual int recordCount() const = 0;
    // Reads the next row into values, one text a field; false after the last row, or when the
    // rows break off because the rest of the table cannot be read (failed() then tells).
    virtual bool moveNext(QStringList& values) = 0;
    virtual bool failed() const = 0;
};

class AccessDatabase
{
public:
    virtual ~AccessDatabase() = default;

    // Every table, system tables included, in the order of their names (case aside).
    virtual QStringList tableNames() const = 0;
    // A table by its exact name; the engine's error when it has no such table.
    virtual Result<std::unique_ptr<AccessRecordset>> openRecordset(const QString& table) = 0;
};

namespace AccessEngine {

// The engine's error numbers; an Error carries one as its code, with the engine's description
// as its message.
inline constexpr int FileNotFound = 3024;
inline constexpr int InvalidPassword = 3031;
inline constexpr int TableNotFound = 3078;
inline constexpr int UnrecognizedFormat = 3343;

// Opens the database at path, read-only. connect is the connection text
// ";Database=<path>;PWD=<password>;DSN=<path>" (or any text holding "PWD=<password>"): the
// password must equal the one stored in the database's header, case counting; a database
// without a password opens with any. Fails with "Could not find file", "Not a valid
// password." or "Unrecognized database format" (a file that is no database, or one that the
// engine cannot read).
Result<std::unique_ptr<AccessDatabase>> OpenDatabase(const QString& path, const QString& connect);

// The reader program to start instead of quillbay-mdb-reader, and how long it may stay silent
// before it is stopped (for tests; an empty program and 0 give back the helper and its ten
// seconds).
void setReaderProgram(const QString& program, int silenceLimitMs = 0);

} // namespace AccessEngine
