// Opens arbitrary bytes as an .xlsx workbook and reads every sheet the way the spreadsheet
// importer does: the column names and all rows. Nothing may crash, whatever the package holds.
// Only zip packages are tried: a compound file goes to libfreexl, which runs in the helper
// program quillbay-xls-reader (a process per stage, far too slow for a fuzzer); its faults end
// that helper, not the program.
#include "contacts/ExcelImport.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>

using namespace Qt::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4 || data[0] != 'P' || data[1] != 'K') {
        return 0;
    }
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
