#include "ContactSourceOptions.h"

#include "CliOutput.h"
#include "ContactBookSources.h"
#include "contacts/AccessImport.h"
#include "contacts/DataSources.h"
#include "contacts/DelimitedText.h"
#include "contacts/ExcelImport.h"
#include "contacts/MergeFieldTable.h"
#include "contacts/TextSource.h"
#include "contacts/Workbook.h"
#include "core/CommonRoutines.h"
#include "core/PlainFile.h"
#include "core/SettingsKeys.h"
#include "core/TextUtil.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include <functional>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Loaded = Result<LoadedContacts>;

// The names of --kind, in the order of SourceKind.
const QStringList KindNames = {u"addressbook"_s, u"mailclient"_s, u"excel"_s, u"access"_s, u"tab"_s, u"comma"_s};
// The fields that have a blank-field text, by their token names, in the order of the texts.
const QStringList BlankFields = {u"FirstName"_s, u"LastName"_s, u"Job-Title"_s, u"CompanyName"_s};

SourceKind kindOfFileName(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == u"csv"_s) {
        return SourceKind::CommaText;
    }
    if (suffix == u"xls"_s || suffix == u"xlsx"_s) {
        return SourceKind::Excel;
    }
    if (suffix == u"mdb"_s || suffix == u"accdb"_s) {
        return SourceKind::Access;
    }
    if (suffix == u"wab"_s || suffix == u"vcf"_s) {
        return SourceKind::AddressBook;
    }
    return SourceKind::TabText;
}

// Splits "NAME=VALUE" at its first "=".
bool splitPair(const QString& pair, QString& name, QString& value)
{
    const qsizetype equals = pair.indexOf(u'=');
    if (equals <= 0) {
        return false;
    }
    name = pair.left(equals);
    value = pair.mid(equals + 1);
    return true;
}

// --map FIELD=COLUMN: the thirteen standard boxes hold exactly what is given.
Status applyMaps(FieldMap& map, const QStringList& pairs)
{
    FieldMapMemory::ClearMap(map);
    QString field;
    QString column;
    for (const QString& pair : pairs) {
        if (!splitPair(pair, field, column)) {
            return Status::failure(ErrorCode::BadInput, u"--map wants FIELD=COLUMN, not \"%1\""_s.arg(pair));
        }
        const int index = mapIndexOfTokenName(field);
        if (index < 0) {
            return Status::failure(ErrorCode::BadInput,
                                   u"--map: no merge field is called \"%1\" (FirstName, LastName, Job-Title, "
                                   u"CompanyName, Business-Street, …, WebPage, Email1Address)"_s.arg(field));
        }
        const qsizetype position = map.columns.indexOf(column);
        if (position < 0) {
            return Status::failure(ErrorCode::BadInput, u"--map: the contact list has no column \"%1\""_s.arg(column));
        }
        map.choose(index, static_cast<int>(position));
    }
    return {};
}

// --custom NAME=COLUMN: the three custom boxes and their names hold exactly what is given.
Status applyCustoms(FieldMap& map, const QStringList& pairs)
{
    if (pairs.size() > MergeFieldTable::CustomCount) {
        return Status::failure(ErrorCode::BadInput, u"at most three --custom fields"_s);
    }
    QString name;
    QString column;
    for (int k = 0; k < MergeFieldTable::CustomCount; ++k) {
        const int field = MergeFieldTable::FirstCustomCell + k;
        map.clearField(field);
        map.customNames[static_cast<size_t>(k)].clear();
        if (k >= pairs.size()) {
            continue;
        }
        if (!splitPair(pairs.at(k), name, column)) {
            return Status::failure(ErrorCode::BadInput, u"--custom wants NAME=COLUMN, not \"%1\""_s.arg(pairs.at(k)));
        }
        const qsizetype position = map.columns.indexOf(column);
        if (position < 0) {
            return Status::failure(ErrorCode::BadInput,
                                   u"--custom: the contact list has no column \"%1\""_s.arg(column));
        }
        map.customNames[static_cast<size_t>(k)] = name;
        map.choose(field, static_cast<int>(position));
    }
    return {};
}

// The stored blank-field texts, with --blank FIELD=TEXT on top.
Result<BlankReplacers> blankReplacers(const QStringList& pairs)
{
    BlankReplacers blanks = BlankReplacers::load();
    QString field;
    QString text;
    for (const QString& pair : pairs) {
        if (!splitPair(pair, field, text) || !BlankFields.contains(field)) {
            return Result<BlankReplacers>::failure(
                ErrorCode::BadInput,
                u"--blank wants FirstName, LastName, Job-Title or CompanyName=TEXT, not \"%1\""_s.arg(pair));
        }
        blanks.texts[static_cast<size_t>(BlankFields.indexOf(field))] = text;
    }
    return blanks;
}

} // namespace

void ContactSourceOptions::addTo(QCommandLineParser& parser)
{
    parser.addOption({u"contacts"_s,
                      u"The contact list; with --kind mailclient the name or identifier of an address book of "
                      u"the mail client (default: its personal address book)."_s,
                      u"FILE"_s});
    parser.addOption({u"kind"_s,
                      u"tab, comma, excel, access, addressbook (.wab or .vcf) or mailclient (default: comma for a "
                      u".csv file, excel for a .xls or .xlsx workbook, access for a .mdb or .accdb database, "
                      u"addressbook for .wab and .vcf, tab for any other text file)."_s,
                      u"KIND"_s});
    parser.addOption({u"sheet"_s, u"The sheet of a workbook (kind excel; default: its first sheet)."_s, u"NAME"_s});
    parser.addOption(
        {u"table"_s, u"The table of a database (kind access; default: its first table by name)."_s, u"NAME"_s});
    parser.addOption({u"password"_s,
                      u"The password of a database (kind access). Every user of the machine can read a "
                      u"command line: prefer --db-password-env."_s,
                      u"TEXT"_s});
    parser.addOption({u"db-password-env"_s,
                      u"Reads the password of a database (kind access) from this environment "
                      u"variable."_s,
                      u"VAR"_s});
    parser.addOption({u"skip-first-row"_s, u"The first row names the columns and is no contact."_s});
    parser.addOption({u"map"_s,
                      u"Reads the merge field (a token's name without brackets: FirstName, Job-Title, "
                      u"Email1Address, …) from the column. Given once or more, it replaces the remembered "
                      u"map or the guess for the thirteen standard fields."_s,
                      u"FIELD=COLUMN"_s});
    parser.addOption({u"custom"_s,
                      u"A custom field, called [[NAME]] in templates, read from the column; up to three."_s,
                      u"NAME=COLUMN"_s});
    parser.addOption({u"blank"_s,
                      u"The text of an empty FirstName, LastName, Job-Title or CompanyName in a mail "
                      u"(default: the stored blank-field texts)."_s,
                      u"FIELD=TEXT"_s});
}

Result<ContactSourceOptions> ContactSourceOptions::from(const QCommandLineParser& parser)
{
    using Failure = Result<ContactSourceOptions>;
    ContactSourceOptions options;
    const QString given = parser.value(u"contacts"_s);
    if (parser.isSet(u"kind"_s)) {
        const qsizetype named = KindNames.indexOf(parser.value(u"kind"_s));
        if (named < 0) {
            return Failure::failure(
                ErrorCode::BadInput,
                u"unknown --kind \"%1\" (tab, comma, excel, access, addressbook or mailclient)"_s.arg(
                    parser.value(u"kind"_s)));
        }
        options.kind = static_cast<SourceKind>(named);
    } else {
        options.kind = kindOfFileName(given);
    }
    const bool mailClient = options.kind == SourceKind::MailClient;
    if (given.isEmpty() && !mailClient) {
        return Failure::failure(ErrorCode::BadInput, u"--contacts FILE is required"_s);
    }
    // A folder of the mail client is a name, not a path.
    options.path = mailClient ? given : QFileInfo(given).absoluteFilePath();
    if (mailClient || options.kind == SourceKind::AddressBook) {
        for (const QString& option : {u"map"_s, u"custom"_s, u"blank"_s, u"skip-first-row"_s}) {
            if (parser.isSet(option)) {
                return Failure::failure(
                    ErrorCode::BadInput,
                    u"--%1 belongs to the kinds with columns (tab, comma, excel, access): an address book "
                    u"has fixed fields"_s.arg(option));
            }
        }
    }
    if (parser.isSet(u"sheet"_s) && options.kind != SourceKind::Excel) {
        return Failure::failure(ErrorCode::BadInput, u"--sheet belongs to --kind excel"_s);
    }
    for (const QString& option : {u"table"_s, u"password"_s, u"db-password-env"_s}) {
        if (parser.isSet(option) && options.kind != SourceKind::Access) {
            return Failure::failure(ErrorCode::BadInput, u"--%1 belongs to --kind access"_s.arg(option));
        }
    }
    if (parser.isSet(u"password"_s) && parser.isSet(u"db-password-env"_s)) {
        return Failure::failure(ErrorCode::BadInput,
                                u"give the password either with --password or with --db-password-env"_s);
    }
    if (parser.isSet(u"skip-first-row"_s) && options.kind == SourceKind::Access) {
        return Failure::failure(ErrorCode::BadInput,
                                u"--skip-first-row does not apply to --kind access: a table's first record is "
                                u"a contact, not a heading"_s);
    }
    options.sheet = parser.value(u"sheet"_s);
    options.table = parser.value(u"table"_s);
    options.password = parser.value(u"password"_s);
    if (parser.isSet(u"db-password-env"_s)) {
        const QString variable = parser.value(u"db-password-env"_s);
        if (!qEnvironmentVariableIsSet(variable.toLocal8Bit().constData())) {
            return Failure::failure(ErrorCode::BadInput,
                                    u"--db-password-env: the environment variable %1 is not set"_s.arg(variable));
        }
        options.password = qEnvironmentVariable(variable.toLocal8Bit().constData());
    }
    options.skipFirstRow = parser.isSet(u"skip-first-row"_s);
    options.maps = parser.values(u"map"_s);
    options.customs = parser.values(u"custom"_s);
    options.blanks = parser.values(u"blank"_s);
    return options;
}

int ContactSourceOptions::sourceIndex() const
{
    return static_cast<int>(kind);
}

int mapIndexOfTokenName(const QString& name)
{
    const QString token = u"[["_s + name + u"]]"_s;
    for (const MergeField& field : MergeFieldTable::standardFields()) {
        if (token == QString::fromUtf16(field.token)) {
            return field.mapIndex;
        }
    }
    return -1;
}

namespace {

// The map of a source whose columns are read: the remembered map of the source or the guess, then
// --map and --custom on top; and the blank-field texts.
Loaded prepareMap(const ContactSourceOptions& options, const QStringList& columns, const MapSection& where,
                  const QString& chosenTable)
{
    LoadedContacts loaded;
    loaded.map.setColumns(columns);
    FieldMapMemory::PrepareMapPage(loaded.map, where, options.path, chosenTable);
    if (!options.maps.isEmpty()) {
        if (const Status mapped = applyMaps(loaded.map, options.maps); !mapped.ok()) {
            return mapped.error();
        }
    }
    if (!options.customs.isEmpty()) {
        if (const Status mapped = applyCustoms(loaded.map, options.customs); !mapped.ok()) {
            return mapped.error();
        }
    }
    if (FieldMapMemory::MapIsEmpty(loaded.map)) {
        return Loaded::failure(ErrorCode::BadInput,
                               u"Please Map any Field: no column of %1 is taken for a merge field; give --map "
                               u"FIELD=COLUMN"_s.arg(options.path));
    }
    Result<BlankReplacers> blanks = blankReplacers(options.blanks);
    if (!blanks.ok()) {
        return blanks.error();
    }
    loaded.blanks = blanks.value();
    return loaded;
}

// Empties the table and gives it the custom headings of the map.
void startTable(ContactTable& table, const FieldMap& map)
{
    table.clear();
    for (int k = 0; k < MergeFieldTable::CustomCount; ++k) {
        table.setCustomHeading(MergeFieldTable::FirstCustomCell + k,
                               TextUtil::trimSpaces(map.customNames[static_cast<size_t>(k)]));
    }
}

Loaded loadTextContacts(const ContactSourceOptions& options, ContactTable& table)
{
    const TextKind kind = options.kind == SourceKind::TabText ? TextKind::Tab : TextKind::Comma;
    const Result<TextSource::OpenedList> list = TextSource::open(options.path, kind);
    if (!list.ok()) {
        switch (list.error().code) {
        case ErrorCode::FileMissing:
            return Loaded::failure(ErrorCode::BadInput, u"File Doesn't Exists: %1"_s.arg(options.path));
        case ErrorCode::NoContacts:
            return Loaded::failure(ErrorCode::BadInput, u"the contact list %1 holds no contacts"_s.arg(options.path));
        default:
            return Loaded::failure(ErrorCode::BadInput,
                                   u"cannot read the contact list: %1"_s.arg(list.error().message));
        }
    }
    if (list->columns.isEmpty()) {
        return Loaded::failure(ErrorCode::BadInput, u"the first line of %1 names no columns"_s.arg(options.path));
    }
    Loaded loaded = prepareMap(options, list->columns, TextSource::mapSection(kind), {});
    if (!loaded.ok()) {
        return loaded;
    }
    startTable(table, loaded->map);
    table.appendRows(DelimitedText::importRows(list->text, kind, options.skipFirstRow, loaded->map.listIndex));
    if (table.count() == 0) {
        return Loaded::failure(ErrorCode::BadInput, u"the contact list %1 holds no contacts"_s.arg(options.path));
    }
    TextSource::remember(kind, options.path, loaded->map);
    return loaded;
}

// The sheet named by --sheet, else the first one, read as the wizard's spreadsheet source reads it,
// and the workbook and sheet remembered with the map.
Loaded loadExcelContacts(const ContactSourceOptions& options, ContactTable& table)
{
    if (PlainFile::kindOf(options.path) == PlainFile::Kind::Missing) {
        return Loaded::failure(ErrorCode::BadInput, u"File Doesn't Exists: %1"_s.arg(options.path));
    }
    Result<std::unique_ptr<Workbook>> book = Workbook::open(options.path);
    if (!book.ok()) {
        return Loaded::failure(ErrorCode::BadInput, u"cannot read the workbook: %1"_s.arg(book.error().message));
    }
    const QStringList names = book.value()->sheetNames();
    if (names.isEmpty()) {
        return Loaded::failure(ErrorCode::BadInput, u"the workbook %1 has no sheets"_s.arg(options.path));
    }
    const QString name = options.sheet.isEmpty() ? names.first() : options.sheet;
    const qsizetype number = names.indexOf(name) + 1;
    if (number == 0) {
        return Loaded::failure(ErrorCode::BadInput,
                               u"the workbook has no sheet \"%1\" (its sheets: %2)"_s.arg(name, names.join(u", "_s)));
    }
    const Result<Worksheet> sheet = book.value()->sheet(static_cast<int>(number));
    if (!sheet.ok()) {
        return Loaded::failure(ErrorCode::BadInput,
                               u"cannot read the sheet \"%1\": %2"_s.arg(name, sheet.error().message));
    }
    const QStringList columns = ExcelImport::ReadSheetHeadings(sheet.value());
    if (columns.isEmpty()) {
        return Loaded::failure(ErrorCode::BadInput, u"the first line of %1 names no columns"_s.arg(options.path));
    }
    const MapSection where{QString::fromLatin1(Keys::ExcelSection), u"ExFilename"_s};
    Loaded loaded = prepareMap(options, columns, where, name);
    if (!loaded.ok()) {
        return loaded;
    }
    startTable(table, loaded->map);
    table.appendRows(ExcelImport::importRows(sheet.value(), options.skipFirstRow, loaded->map.listIndex));
    if (table.count() == 0) {
        return Loaded::failure(ErrorCode::BadInput, u"the contact list %1 holds no contacts"_s.arg(options.path));
    }
    SettingsStore::instance().setValue(Keys::ExcelFileName, options.path);
    SettingsStore::instance().setValue(Keys::ExcelSheetNameWrite, name);
    FieldMapMemory::SaveMap(loaded->map, where.section);
    return loaded;
}

// One table of an Access database, read as the wizard reads it: the remembered map when the
// database and table are the remembered ones, the rows after it, and the database, table and
// password remembered with the map.
Loaded loadAccessContacts(const ContactSourceOptions& options, ContactTable& table)
{
    if (!FileExists(options.path)) {
        return Loaded::failure(ErrorCode::BadInput, u"File Doesn't Exists: %1"_s.arg(options.path));
    }
    const Result<std::unique_ptr<AccessDatabase>> database =
        AccessEngine::OpenDatabase(options.path, AccessImport::AccessConnect(options.path, options.password));
    if (!database.ok()) {
        if (database.error().code == AccessEngine::InvalidPassword) {
            return Loaded::failure(ErrorCode::BadInput,
                                   u"Please enter a valid password! %1 wants its database password: give it "
                                   u"with --db-password-env VAR"_s.arg(options.path));
        }
        return Loaded::failure(ErrorCode::BadInput, u"cannot read the database: %1"_s.arg(database.error().message));
    }
    const QStringList tables = AccessImport::userTables(database.value()->tableNames());
    if (tables.isEmpty()) {
        return Loaded::failure(ErrorCode::BadInput,
                               u"(No Tables): the database %1 has no table to read"_s.arg(options.path));
    }
    const QString name = options.table.isEmpty() ? tables.first() : options.table;
    if (!tables.contains(name)) {
        return Loaded::failure(ErrorCode::BadInput, u"the database %1 has no table \"%2\" (its tables: %3)"_s.arg(
                                                        options.path, name, tables.join(u", "_s)));
    }
    Result<std::unique_ptr<AccessRecordset>> records = database.value()->openRecordset(name);
    if (!records.ok()) {
        return Loaded::failure(ErrorCode::BadInput,
                               u"cannot read the table \"%1\": %2"_s.arg(name, records.error().message));
    }
    if (records.value()->recordCount() == 0) {
        return Loaded::failure(ErrorCode::BadInput, u"No Records! The table \"%1\" holds no contacts"_s.arg(name));
    }
    const MapSection where{QString::fromLatin1(Keys::AccessSection), u"MDBFileName"_s};
    Loaded loaded = prepareMap(options, records.value()->fieldNames(), where, name);
    if (!loaded.ok()) {
        return loaded;
    }
    startTable(table, loaded->map);
    table.appendRows(AccessImport::importRows(*records.value(), loaded->map.listIndex));
    if (records.value()->failed()) {
        return Loaded::failure(ErrorCode::BadInput,
                               u"cannot read the table \"%1\": the database is damaged after row %2"_s.arg(
                                   name, QString::number(table.count())));
    }
    if (table.count() == 0) {
        return Loaded::failure(ErrorCode::BadInput, u"No Records! The table \"%1\" holds no contacts"_s.arg(name));
    }
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::MdbFileNameWrite, options.path);
    store.setValue(Keys::AccessTableName, name);
    store.setValue(Keys::AccessPassword, options.password);
    FieldMapMemory::SaveMap(loaded->map, where.section);
    return loaded;
}

} // namespace

Result<LoadedContacts> loadContacts(const ContactSourceOptions& options, ContactTable& table)
{
    switch (options.kind) {
    case SourceKind::AddressBook:
        return loadAddressBook(options, table);
    case SourceKind::MailClient:
        return loadMailClientFolder(options, table);
    case SourceKind::Excel:
        return loadExcelContacts(options, table);
    case SourceKind::Access:
        return loadAccessContacts(options, table);
    case SourceKind::TabText:
    case SourceKind::CommaText:
        return loadTextContacts(options, table);
    }
    return Loaded::failure(ErrorCode::BadInput, u"unknown contact kind"_s);
}

std::optional<int> MergeContacts::read(const ContactSourceOptions& source)
{
    Result<LoadedContacts> result = loadContacts(source, table);
    if (!result.ok()) {
        return CliOutput::badArguments(result.error().message);
    }
    loaded = result.value();
    tokens.setSourceIndex(source.sourceIndex());
    tokens.setBlankReplacers(loaded.blanks);
    return std::nullopt;
}
