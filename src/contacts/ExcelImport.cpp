#include "ExcelImport.h"

#include "MergeFieldTable.h"

namespace ExcelImport {

int chooseSheet(const QStringList& names, const QString& lastFile, const QString& fileBoxText,
                const QString& rememberedSheet)
{
    if (names.isEmpty()) {
        return -1;
    }
    if (lastFile.isEmpty()) {
        return 0;
    }
    if (lastFile != fileBoxText) {
        return -1;
    }
    if (rememberedSheet.isEmpty()) {
        return 0;
    }
    return static_cast<int>(names.indexOf(rememberedSheet));
}

QStringList ReadSheetHeadings(const Worksheet& sheet)
{
    QStringList headings;
    const int columns = sheet.usedRange().columns;
    headings.reserve(columns);
    for (int column = 1; column <= columns; ++column) {
        headings << sheet.cellText(1, column);
    }
    return headings;
}

std::optional<Contact> AddExcelRow(const std::optional<RangeValues>& values, int row,
                                   const std::array<int, 16>& columnOfMapIndex)
{
    Contact contact;
    const auto valueOf = [&values, row](int column, QString& cell) {
        if (!values || column >= values->columns()) {
            return false;
        }
        cell = values->at(row, column + 1);
        return true;
    };
    const int emailColumn = columnOfMapIndex[MergeFieldTable::EmailMapIndex];
    if (emailColumn != -1 && !valueOf(emailColumn, contact.cells[0])) {
        return std::nullopt;
    }
    for (int mapIndex = 0; mapIndex < MergeFieldTable::CellCount; ++mapIndex) {
        const int column = columnOfMapIndex[mapIndex];
        if (mapIndex == MergeFieldTable::EmailMapIndex || column == -1) {
            continue;
        }
        if (!valueOf(column, contact.cells[MergeFieldTable::cellOfMapIndex(mapIndex)])) {
            return std::nullopt;
        }
    }
    return contact;
}

std::vector<Contact> importRows(const Worksheet& sheet, bool skipFirst, const std::array<int, 16>& columnOfMapIndex,
                                const std::function<void(int row)>& afterRow)
{
    const std::optional<RangeValues> values = RangeValues::of(sheet);
    const int total = sheet.usedRange().rows;
    std::vector<Contact> rows;
    rows.reserve(static_cast<size_t>(total));
    for (int row = skipFirst ? 2 : 1; row <= total; ++row) {
        if (auto contact = AddExcelRow(values, row, columnOfMapIndex)) {
            rows.push_back(std::move(*contact));
        }
        if (afterRow) {
            afterRow(row);
        }
    }
    return rows;
}

Result<Worksheet> readSheet(const QString& path, int sheetNumber)
{
    Result<std::unique_ptr<Workbook>> book = Workbook::open(path);
    if (!book.ok()) {
        return book.error();
    }
    return book.value()->sheet(sheetNumber);
}

} // namespace ExcelImport
