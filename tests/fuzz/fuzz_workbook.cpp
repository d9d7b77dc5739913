// Opens arbitrary bytes as a workbook (.xlsx when they begin as a zip package, .xls when they
// begin as a compound file) and reads every sheet the way the spreadsheet importer does: the
// column names and all rows. Nothing may crash, whatever the file holds.
#include "contacts/ExcelImport.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir folder;
    const QString path = folder.filePath(u"input.xlsx"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return 0;
    }
    file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    file.close();
    Result<std::unique_ptr<Workbook>> book = Workbook::open(path);
    if (!book.ok()) {
        return 0;
    }
    std::array<int, 16> columns;
    columns.fill(0);
    for (int number = 1; number <= book.value()->sheetNames().size(); ++number) {
        const Result<Worksheet> sheet = book.value()->sheet(number);
        if (sheet.ok()) {
            ExcelImport::ReadSheetHeadings(sheet.value());
            ExcelImport::importRows(sheet.value(), false, columns);
        }
    }
    return 0;
}
