// The Access engine on the mdbtools library (libmdb): the only file that includes it.
//
// libmdb reads a file's pages as they are and trusts what it finds, so this side guards it: a
// file is handed to it only when it is a regular file whose first page carries an Access
// signature, every pointer it returns is tested, and the database password, which libmdb does
// not check, is compared here with the one stored in the file's header.

#include "AccessDatabase.h"
#include "JetHeader.h"
#include "core/PlainFile.h"

#include <QFile>

#include <mdbtools.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// The largest text a field gives: a memo of 65,535 characters, three UTF-8 bytes each.
constexpr size_t BindSize = 3 * 65536;
// Enough of the first page for the signature and the scrambled header region.
constexpr qint64 HeaderBytes = 0x100;

Error engineError(int number, const QString& description)
{
    return Error{number, description};
}

Error unrecognized(const QString& path)
{
    return engineError(AccessEngine::UnrecognizedFormat, u"Unrecognized database format '%1'."_s.arg(path));
}

// The password part of the connection text. The wizard's text is ";Database=P;PWD=W;DSN=P" with
// the path P known, so the password is whatever stands between, semicolons included; any
// other text gives what follows "PWD=" up to the next semicolon.
QString passwordOf(const QString& connect, const QString& path)
{
    const QString head = u";Database="_s + path + u";PWD="_s;
    const QString tail = u";DSN="_s + path;
    if (connect.size() >= head.size() + tail.size() && connect.startsWith(head) && connect.endsWith(tail)) {
        return connect.mid(head.size(), connect.size() - head.size() - tail.size());
    }
    const qsizetype start = connect.indexOf(u"PWD="_s, 0, Qt::CaseInsensitive);
    if (start < 0) {
        return {};
    }
    const qsizetype end = connect.indexOf(u';', start + 4);
    return connect.mid(start + 4, end < 0 ? -1 : end - start - 4);
}

// "18.0000" -> "18", "1995.5000" -> "1995.5": a number of fixed decimals without its
// trailing zeros, as the number itself is written.
QString withoutTrailingZeros(QString number)
{
    if (!number.contains(u'.')) {
        return number;
    }
    while (number.endsWith(u'0')) {
        number.chop(1);
    }
    if (number.endsWith(u'.')) {
        number.chop(1);
    }
    return number;
}

// The text of one bound value by the column's type. libmdb writes single-precision numbers
// with eight significant digits ("0.050000001"); they are given with the seven a single
// holds ("0.05"), doubles with fifteen.
QString displayText(int columnType, const char* bound, int length)
{
    if (length <= 0) {
        return {};
    }
    const QString raw = QString::fromUtf8(bound, length);
    switch (columnType) {
    case MDB_BOOL:
        return raw == u"0"_s ? u"False"_s : u"True"_s;
    case MDB_FLOAT:
        return QString::number(raw.toFloat(), 'g', 7);
    case MDB_DOUBLE:
        return QString::number(raw.toDouble(), 'g', 15);
    case MDB_MONEY:
    case MDB_NUMERIC:
        return withoutTrailingZeros(raw);
    case MDB_DATETIME:
        // Written as "%Y-%m-%d %H:%M:%S"; midnight gives the date alone, the engine's day
        // zero the time alone.
        if (raw.endsWith(u" 00:00:00"_s)) {
            return raw.left(raw.size() - 9);
        }
        return raw.startsWith(u"1899-12-30 "_s) ? raw.mid(11) : raw;
    case MDB_BINARY:
    case MDB_OLE:
    case MDB_COMPLEX:
        return {};
    default:
        return raw;
    }
}

class MdbRecordset : public AccessRecordset
{
public:
    explicit MdbRecordset(MdbTableDef* table)
        : m_table(table)
    {
        const MdbHandle* handle = table->entry->mdb;
        const size_t bindSize = handle->bind_size;
        m_buffers.resize(table->num_cols);
        m_lengths.resize(table->num_cols, 0);
        for (unsigned int column = 0; column < table->num_cols; ++column) {
            const auto* definition = static_cast<const MdbColumn*>(g_ptr_array_index(table->columns, column));
            m_names << QString::fromUtf8(definition->name);
            m_types.push_back(definition->col_type);
            m_buffers[column].assign(bindSize, '\0');
            mdb_bind_column(table, static_cast<int>(column + 1), m_buffers[column].data(), &m_lengths[column]);
        }
        mdb_rewind_table(table);
    }

    ~MdbRecordset() override { mdb_free_tabledef(m_table); }
    MdbRecordset(const MdbRecordset&) = delete;
    MdbRecordset& operator=(const MdbRecordset&) = delete;

    QStringList fieldNames() const override { return m_names; }
    int recordCount() const override { return static_cast<int>(m_table->num_rows); }

    bool moveNext(QStringList& values) override
    {
        if (!mdb_fetch_row(m_table)) {
            return false;
        }
        values.resize(m_names.size());
        for (qsizetype column = 0; column < m_names.size(); ++column) {
            const auto index = static_cast<size_t>(column);
            values[column] = displayText(m_types[index], m_buffers[index].data(), m_lengths[index]);
        }
        return true;
    }

private:
    MdbTableDef* m_table;
    QStringList m_names;
    std::vector<int> m_types;
    std::vector<std::vector<char>> m_buffers;
    std::vector<int> m_lengths;
};

class MdbDatabase : public AccessDatabase
{
public:
    explicit MdbDatabase(MdbHandle* handle)
        : m_handle(handle)
    {
        for (unsigned int k = 0; k < handle->num_catalog; ++k) {
            const auto* entry = static_cast<const MdbCatalogEntry*>(g_ptr_array_index(handle->catalog, k));
            if (entry != nullptr && entry->object_type == MDB_TABLE) {
                m_tables << QString::fromUtf8(entry->object_name);
            }
        }
        // The engine's collection of tables is in the order of their names, not of the catalog.
        m_tables.sort(Qt::CaseInsensitive);
    }

    ~MdbDatabase() override { mdb_close(m_handle); }
    MdbDatabase(const MdbDatabase&) = delete;
    MdbDatabase& operator=(const MdbDatabase&) = delete;

    QStringList tableNames() const override { return m_tables; }

    Result<std::unique_ptr<AccessRecordset>> openRecordset(const QString& table) override
    {
        const Error notFound{AccessEngine::TableNotFound, u"Could not find the table '%1'."_s.arg(table)};
        if (!m_tables.contains(table)) {
            return notFound;
        }
        QByteArray name = table.toUtf8();
        MdbTableDef* definition = mdb_read_table_by_name(m_handle, name.data(), MDB_TABLE);
        if (definition == nullptr) {
            return notFound;
        }
        if (mdb_read_columns(definition) == nullptr) {
            mdb_free_tabledef(definition);
            return notFound;
        }
        return std::unique_ptr<AccessRecordset>(std::make_unique<MdbRecordset>(definition));
    }

private:
    MdbHandle* m_handle;
    QStringList m_tables;
};

} // namespace

namespace AccessEngine {

Result<std::unique_ptr<AccessDatabase>> OpenDatabase(const QString& path, const QString& connect)
{
    const PlainFile::Kind kind = PlainFile::kindOf(path);
    if (kind == PlainFile::Kind::Missing) {
        return engineError(FileNotFound, u"Could not find file '%1'."_s.arg(path));
    }
    if (kind != PlainFile::Kind::Regular) {
        return unrecognized(path);
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return engineError(FileNotFound, u"Could not find file '%1'."_s.arg(path));
    }
    const QByteArray firstPage = file.read(HeaderBytes);
    file.close();
    const std::optional<QString> stored = JetHeader::storedPassword(firstPage);
    if (!stored) {
        return unrecognized(path);
    }
    // A database without a password opens whatever password is given with it.
    if (!stored->isEmpty() && *stored != passwordOf(connect, path)) {
        return engineError(InvalidPassword, u"Not a valid password."_s);
    }
    MdbHandle* handle = mdb_open(QFile::encodeName(path).constData(), MDB_NOFLAGS);
    if (handle == nullptr) {
        return unrecognized(path);
    }
    mdb_set_bind_size(handle, BindSize);
    mdb_set_date_fmt(handle, "%Y-%m-%d %H:%M:%S");
    mdb_set_shortdate_fmt(handle, "%Y-%m-%d %H:%M:%S");
    mdb_set_boolean_fmt_numbers(handle);
    if (mdb_read_catalog(handle, MDB_TABLE) == nullptr) {
        mdb_close(handle);
        return unrecognized(path);
    }
    return std::unique_ptr<AccessDatabase>(std::make_unique<MdbDatabase>(handle));
}

} // namespace AccessEngine
