#pragma once

#include "core/Result.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <vector>

// A block of cells of a worksheet, 1-based as a spreadsheet counts rows and columns.
struct CellRange
{
    int firstRow = 1;
    int firstColumn = 1;
    int rows = 1;
    int columns = 1;
};

// One worksheet as a reader found it: the text of every cell that holds a value. A cell's text
// is its value turned into text (ExcelCellText): the decimal text of a number, a date as its
// format shows it, "True" or "False", a string as it stands.
class Worksheet
{
public:
    // Sheets reach as far as row 1,048,576 and column 16,384 (XFD); nothing lies beyond.
    static constexpr int MaxRows = 1048576;
    static constexpr int MaxColumns = 16384;

    // Adds a cell while the sheet is read; an empty text adds nothing, a cell given twice keeps
    // its last text. Rows and columns outside the sheet's limits are refused.
    bool setCell(int row, int column, QString text);
    // Ends the reading: orders the cells and works out the used range.
    void finish();

    // The smallest block that holds every cell with a value; cell A1 alone for an empty sheet.
    CellRange usedRange() const { return m_used; }
    // The text of a cell anywhere on the sheet, empty when it holds nothing.
    QString cellText(int row, int column) const;

private:
    struct Cell
    {
        int row;
        int column;
        QString text;
    };
    std::vector<Cell> m_cells;
    // Index of the first cell of each row of the used range in m_cells, with one more at the end.
    std::vector<size_t> m_rowStarts;
    CellRange m_used;
    bool m_ordered = true;
};

// The values of a worksheet's used range, read at once: rows and columns count from 1 within the
// range. A used range of a single cell gives no such block (its value is one value, not a table).
class RangeValues
{
public:
    static std::optional<RangeValues> of(const Worksheet& sheet);

    int rows() const { return m_range.rows; }
    int columns() const { return m_range.columns; }
    // Empty outside the block.
    QString at(int row, int column) const;

private:
    RangeValues(const Worksheet& sheet, CellRange range)
        : m_sheet(&sheet)
        , m_range(range)
    {
    }
    const Worksheet* m_sheet;
    CellRange m_range;
};

// A workbook opened for reading: its worksheets in workbook order (chart sheets are not among
// them), each read whole when asked for.
class Workbook
{
public:
    enum ReadError
    {
        Unreadable = 20,
        NotAWorkbook,
        PasswordProtected,
        Corrupt,
        NoSuchSheet
    };

    virtual ~Workbook() = default;
    virtual QStringList sheetNames() const = 0;
    // The worksheet of this 1-based number.
    virtual Result<Worksheet> sheet(int number) const = 0;

    // Opens a .xls (BIFF) or .xlsx (Office Open XML) workbook, told apart by the file's first
    // bytes rather than its name; anything else is refused.
    static Result<std::unique_ptr<Workbook>> open(const QString& path);
};
