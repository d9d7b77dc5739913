#pragma once

#include "contacts/BlankReplacers.h"
#include "contacts/ContactTable.h"
#include "contacts/DataSources.h"
#include "contacts/FieldMap.h"
#include "core/Result.h"
#include "merge/TokenEngine.h"

#include <QString>
#include <QStringList>

#include <optional>

class QCommandLineParser;

// The contact source of a headless merge, given on the command line, and its reading through
// the same importer, field map and memory as the merge wizard: the remembered map of the source
// when the file is the remembered one, else the dictionary guess. --map replaces the thirteen
// standard fields of that map and --custom its three custom fields.
struct ContactSourceOptions
{
    QString path; // absolute, as the wizard's file dialog gives it; for mailclient a folder's name or id
    SourceKind kind = SourceKind::TabText; // --kind: tab, comma, excel, access, addressbook or mailclient
    QString sheet;
    QString table;
    QString password;
    bool skipFirstRow = false;
    QStringList maps;    // FIELD=COLUMN
    QStringList customs; // NAME=COLUMN
    QStringList blanks;  // FIELD=TEXT

    static void addTo(QCommandLineParser& parser);
    static Result<ContactSourceOptions> from(const QCommandLineParser& parser);

    // The wizard's source index of the kind (4 tab text, 5 comma text, …).
    int sourceIndex() const;
};

// What a merge needs beside the contact table: the map that read it and the blank-field texts.
struct LoadedContacts
{
    FieldMap map;
    BlankReplacers blanks;
};

// Fills the table from the source and, as the wizard's import does, remembers the map of a
// source that gave rows. An error value (code 2) for a kind this build cannot read, an
// unreadable or empty source, or a bad mapping.
Result<LoadedContacts> loadContacts(const ContactSourceOptions& options, ContactTable& table);

// The map index of a field given by its token name without brackets ("FirstName", "Job-Title",
// "Email1Address", …), or -1.
int mapIndexOfTokenName(const QString& name);

// The contacts of a merge command and the token engine over them, set for their source.
struct MergeContacts
{
    ContactTable table;
    TokenEngine tokens{table};
    LoadedContacts loaded;

    // Reads the source; on failure prints its one-line error and gives the exit status 2.
    std::optional<int> read(const ContactSourceOptions& source);
};
