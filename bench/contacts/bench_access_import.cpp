// Imports rows of an Access table as the merge wizard does (open the database, walk the
// table's recordset, map each record onto a contact row, fill the contact table) and prints
// rows per second.
//
// mdbtools reads databases but cannot write a table of any size (its writer stops at the first
// new data page), and no other program on this platform makes an Access file, so no table of
// 50,000 rows can be made at run time. The benchmark therefore takes the largest user table of
// the shared sample database nwind.mdb (by rows times fields) and imports it again and again,
// each pass opening the database anew, until at least 50,000 rows have been imported.
//
//   bench_access_import [DATABASE]   (default: the shared sample nwind.mdb)

#include "contacts/AccessDatabase.h"
#include "contacts/AccessImport.h"
#include "contacts/ContactTable.h"
#include "contacts/FieldMap.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {

constexpr int TargetRows = 50000;

Result<std::unique_ptr<AccessDatabase>> openDatabase(const QString& path)
{
    return AccessEngine::OpenDatabase(path, AccessImport::AccessConnect(path, QString()));
}

struct LargestTable
{
    QString name;
    qint64 cells = 0;
    int fields = 0;
};

// The user table with the most values (rows times fields); no name when there is none.
LargestTable largestTable(AccessDatabase& database)
{
    LargestTable largest;
    for (const QString& name : AccessImport::userTables(database.tableNames())) {
        const auto records = database.openRecordset(name);
        if (!records.ok()) {
            continue;
        }
        const auto fields = static_cast<int>(records.value()->fieldNames().size());
        const qint64 cells = qint64(records.value()->recordCount()) * fields;
        if (cells > largest.cells) {
            largest = {name, cells, fields};
        }
    }
    return largest;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const QString fixtures = qEnvironmentVariable("QUILLBAY_FIXTURES", QStringLiteral(QUILLBAY_FIXTURES));
    const QString path = argc > 1 ? QString::fromLocal8Bit(argv[1]) : fixtures + u"/access/nwind.mdb"_s;
    const Result<std::unique_ptr<AccessDatabase>> database = openDatabase(path);
    if (!database.ok()) {
        std::printf("%s\n", qPrintable(database.error().message));
        return 1;
    }
    const LargestTable largest = largestTable(*database.value());
    if (largest.name.isEmpty()) {
        std::printf("%s has no table to import\n", qPrintable(path));
        return 1;
    }
    const int fields = largest.fields;
    std::printf("database %s, table \"%s\": %lld values, %d fields\n", qPrintable(path), qPrintable(largest.name),
                static_cast<long long>(largest.cells), fields);

    // Every field feeds a merge field, up to all sixteen.
    std::array<int, 16> columns;
    columns.fill(-1);
    for (int k = 0; k < qMin(fields, 16); ++k) {
        columns[static_cast<size_t>(k)] = k;
    }

    QElapsedTimer wall;
    wall.start();
    const std::clock_t cpu = std::clock();
    std::vector<Contact> rows;
    int passes = 0;
    while (static_cast<int>(rows.size()) < TargetRows) {
        const Result<std::unique_ptr<AccessDatabase>> pass = openDatabase(path);
        const auto records = pass.ok() ? pass.value()->openRecordset(largest.name)
                                       : Result<std::unique_ptr<AccessRecordset>>(pass.error());
        if (!records.ok()) {
            std::printf("%s\n", qPrintable(records.error().message));
            return 1;
        }
        std::vector<Contact> more = AccessImport::importRows(*records.value(), columns);
        if (more.empty() || records.value()->failed()) {
            return 1;
        }
        rows.insert(rows.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
        ++passes;
    }
    const int count = static_cast<int>(rows.size());
    ContactTable table;
    table.appendRows(std::move(rows));
    const qint64 wallMs = wall.elapsed();
    const auto cpuMs = static_cast<qint64>((std::clock() - cpu) * 1000 / CLOCKS_PER_SEC);
    const double perSecond = count * 1000.0 / static_cast<double>(qMax<qint64>(wallMs, 1));
    std::printf("%d passes, %d rows x %d fields into the contact table in %lld ms (cpu %lld ms) = %.0f rows/s\n",
                passes, table.count(), fields, static_cast<long long>(wallMs), static_cast<long long>(cpuMs),
                perSecond);
    // The same number of field values spread over sixteen fields: 50,000 rows of 16 fields.
    const double cellsPerSecond = perSecond * fields;
    std::printf("at %.0f field values/s, 50,000 rows x 16 fields take %.2f s\n", cellsPerSecond,
                50000.0 * 16 / cellsPerSecond);
    return table.count() >= TargetRows ? 0 : 1;
}
