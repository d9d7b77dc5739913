#pragma once

#include "ContactTable.h"
#include "Workbook.h"
#include "core/Result.h"

#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <optional>
#include <vector>

// The spreadsheet source, written against Workbook so that a .xls and a .xlsx read alike. Its
// three stages each open the workbook themselves: list the worksheets, read the column names of
// the chosen one, read its rows once the map is confirmed.
namespace ExcelImport {

// The entry of the sheet list to choose after listing a workbook's sheets: the first when no
// earlier file is given; none (-1) when the earlier file is another one; for the same file the
// remembered sheet, exactly as named (the first when none is remembered, none when it is gone).
int chooseSheet(const QStringList& names, const QString& lastFile, const QString& fileBoxText,
                const QString& rememberedSheet);

// The column names: the texts of row 1 of the sheet itself, columns 1 to n, where n is the
// number of columns of the used range. A sheet whose used range does not begin at A1 so shows
// names that do not stand above the values they map; an empty heading keeps its place.
QStringList ReadSheetHeadings(const Worksheet& sheet);

// The row at this 1-based position of the used range's values, each map index taking the value
// of the column it reads (-1 for none): the e-mail cell first, then the others. Values are taken
// as they are, with no trimming and no quote handling. Nothing when there is no block of values
// (a used range of one cell) and some map index reads a column.
std::optional<Contact> AddExcelRow(const std::optional<RangeValues>& values, int row,
                                   const std::array<int, 16>& columnOfMapIndex);

// The rows of the used range, from its second row when skipFirst, in sheet order. afterRow is
// told the 1-based row number of each row read, so that a caller can advance its progress.
std::vector<Contact> importRows(const Worksheet& sheet, bool skipFirst, const std::array<int, 16>& columnOfMapIndex,
                                const std::function<void(int row)>& afterRow = {});

// Opens the workbook and reads its worksheet of this 1-based number.
Result<Worksheet> readSheet(const QString& path, int sheetNumber);

} // namespace ExcelImport
