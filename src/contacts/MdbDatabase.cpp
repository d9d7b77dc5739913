// The Access engine on the mdbtools library. libmdb itself runs in the helper program
// quillbay-mdb-reader (src/contacts/mdbreader), started for each stage: libmdb trusts what it
// finds in a file, and on a damaged database it can loop for ever or crash. Here the helper's
// output is read with a limit on how long it may stay silent, so such a file ends the stage as
// a database the engine cannot read.
//
// Before the helper sees a file, it must be a regular file whose first page carries an Access
// signature; the database password, which libmdb does not check, is compared here with the one
// stored in the file's header.

#include "AccessDatabase.h"
#include "HelperRun.h"
#include "JetHeader.h"
#include "core/PlainFile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

// Enough of the first page for the signature and the scrambled header region.
constexpr qint64 HeaderBytes = 0x100;
// How long the helper may write nothing before it is taken to be stuck on a damaged file.
constexpr int DefaultSilenceLimitMs = 10000;

struct ReaderSettings
{
    QString program; // empty: the installed or built helper
    int silenceLimitMs = DefaultSilenceLimitMs;
};

ReaderSettings& readerSettings()
{
    static ReaderSettings settings;
    return settings;
}

Error unrecognized(const QString& path)
{
    return Error{AccessEngine::UnrecognizedFormat, u"Unrecognized database format '%1'."_s.arg(path)};
}

QString readerProgram()
{
    if (!readerSettings().program.isEmpty()) {
        return readerSettings().program;
    }
    return helperProgram(QStringLiteral(QUILLBAY_MDB_READER_FROM_BIN), QStringLiteral(QUILLBAY_MDB_READER_BUILT));
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

class MdbRecordset : public AccessRecordset
{
public:
    MdbRecordset(std::unique_ptr<HelperRun> run, QStringList names, int count)
        : m_run(std::move(run))
        , m_names(std::move(names))
        , m_count(count)
    {
    }

    QStringList fieldNames() const override { return m_names; }
    int recordCount() const override { return m_count; }
    bool failed() const override { return m_failed; }

    bool moveNext(QStringList& values) override
    {
        if (m_ended) {
            return false;
        }
        values.resize(m_names.size());
        for (qsizetype column = 0; column < m_names.size(); ++column) {
            const std::optional<QByteArray> value = m_run->next();
            if (!value || (column == 0 && *value == "END")) {
                // "END" can only stand where a row would begin: a value is never read as the end.
                m_ended = true;
                m_failed = !value.has_value();
                return false;
            }
            values[column] = QString::fromUtf8(*value);
        }
        return true;
    }

private:
    std::unique_ptr<HelperRun> m_run;
    QStringList m_names;
    int m_count;
    bool m_ended = false;
    bool m_failed = false;
};

class MdbDatabase : public AccessDatabase
{
public:
    MdbDatabase(QString path, QStringList tables)
        : m_path(std::move(path))
        , m_tables(std::move(tables))
    {
        // The engine's collection of tables is in the order of their names, not of the catalog.
        m_tables.sort(Qt::CaseInsensitive);
    }

    QStringList tableNames() const override { return m_tables; }

    Result<std::unique_ptr<AccessRecordset>> openRecordset(const QString& table) override
    {
        if (!m_tables.contains(table)) {
            return Error{AccessEngine::TableNotFound, u"Could not find the table '%1'."_s.arg(table)};
        }
        auto run = std::make_unique<HelperRun>(readerProgram(), QStringList{u"rows"_s, m_path, table},
                                               readerSettings().silenceLimitMs);
        const std::optional<QByteArray> status = run->next();
        if (status != "OK") {
            return unrecognized(m_path);
        }
        const std::optional<int> fields = run->nextNumber();
        QStringList names;
        for (int k = 0; fields && k < *fields; ++k) {
            const std::optional<QByteArray> name = run->next();
            if (!name) {
                return unrecognized(m_path);
            }
            names << QString::fromUtf8(*name);
        }
        const std::optional<int> count = run->nextNumber();
        if (!fields || !count) {
            return unrecognized(m_path);
        }
        return std::unique_ptr<AccessRecordset>(std::make_unique<MdbRecordset>(std::move(run), names, *count));
    }

private:
    QString m_path;
    QStringList m_tables;
};

// The tables of the database, as the helper lists them.
Result<QStringList> listTables(const QString& path)
{
    HelperRun run(readerProgram(), {u"tables"_s, QFileInfo(path).absoluteFilePath()}, readerSettings().silenceLimitMs);
    if (!run.started()) {
        return Error{AccessEngine::UnrecognizedFormat,
                     u"The database reader %1 cannot be started."_s.arg(readerProgram())};
    }
    const std::optional<int> count = run.next() == "OK" ? run.nextNumber() : std::nullopt;
    QStringList tables;
    for (int k = 0; count && k < *count; ++k) {
        const std::optional<QByteArray> name = run.next();
        if (!name) {
            return unrecognized(path);
        }
        tables << QString::fromUtf8(*name);
    }
    if (!count || run.next() != "END") {
        return unrecognized(path);
    }
    return tables;
}

} // namespace

namespace AccessEngine {

void setReaderProgram(const QString& program, int silenceLimitMs)
{
    readerSettings() = {program, silenceLimitMs > 0 ? silenceLimitMs : DefaultSilenceLimitMs};
}

Result<std::unique_ptr<AccessDatabase>> OpenDatabase(const QString& path, const QString& connect)
{
    const PlainFile::Kind kind = PlainFile::kindOf(path);
    QFile file(path);
    if (kind == PlainFile::Kind::Missing || (kind == PlainFile::Kind::Regular && !file.open(QIODevice::ReadOnly))) {
        return Error{FileNotFound, u"Could not find file '%1'."_s.arg(path)};
    }
    if (kind != PlainFile::Kind::Regular) {
        return unrecognized(path);
    }
    const std::optional<QString> stored = JetHeader::storedPassword(file.read(HeaderBytes));
    file.close();
    if (!stored) {
        return unrecognized(path);
    }
    // A database without a password opens whatever password is given with it.
    if (!stored->isEmpty() && *stored != passwordOf(connect, path)) {
        return Error{InvalidPassword, u"Not a valid password."_s};
    }
    const Result<QStringList> tables = listTables(path);
    if (!tables.ok()) {
        return tables.error();
    }
    return std::unique_ptr<AccessDatabase>(
        std::make_unique<MdbDatabase>(QFileInfo(path).absoluteFilePath(), tables.value()));
}

} // namespace AccessEngine
