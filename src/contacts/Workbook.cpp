#include "Workbook.h"

#include "XlsWorkbook.h"
#include "XlsxWorkbook.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

bool Worksheet::setCell(int row, int column, QString text)
{
    if (row < 1 || row > MaxRows || column < 1 || column > MaxColumns) {
        return false;
    }
    if (text.isEmpty()) {
        return true;
    }
    if (!m_cells.empty()) {
        const Cell& last = m_cells.back();
        m_ordered = m_ordered && (row > last.row || (row == last.row && column > last.column));
    }
    m_cells.push_back({row, column, std::move(text)});
    return true;
}

void Worksheet::finish()
{
    if (!m_ordered) {
        // A cell given twice keeps the text given last: a stable sort keeps their order.
        std::stable_sort(m_cells.begin(), m_cells.end(), [](const Cell& a, const Cell& b) {
            return a.row != b.row ? a.row < b.row : a.column < b.column;
        });
        std::vector<Cell> unique;
        unique.reserve(m_cells.size());
        for (Cell& cell : m_cells) {
            if (!unique.empty() && unique.back().row == cell.row && unique.back().column == cell.column) {
                unique.back().text = std::move(cell.text);
            } else {
                unique.push_back(std::move(cell));
            }
        }
        m_cells = std::move(unique);
        m_ordered = true;
    }
    m_used = CellRange{};
    m_rowStarts.assign(2, 0);
    if (m_cells.empty()) {
        return;
    }
    int firstColumn = Worksheet::MaxColumns;
    int lastColumn = 1;
    for (const Cell& cell : m_cells) {
        firstColumn = std::min(firstColumn, cell.column);
        lastColumn = std::max(lastColumn, cell.column);
    }
    m_used.firstRow = m_cells.front().row;
    m_used.rows = m_cells.back().row - m_used.firstRow + 1;
    m_used.firstColumn = firstColumn;
    m_used.columns = lastColumn - firstColumn + 1;
    m_rowStarts.assign(static_cast<size_t>(m_used.rows) + 1, m_cells.size());
    for (size_t i = m_cells.size(); i-- > 0;) {
        m_rowStarts[static_cast<size_t>(m_cells[i].row - m_used.firstRow)] = i;
    }
    // Rows without cells start where the next row with cells starts.
    for (size_t r = m_rowStarts.size() - 1; r-- > 0;) {
        m_rowStarts[r] = std::min(m_rowStarts[r], m_rowStarts[r + 1]);
    }
}

QString Worksheet::cellText(int row, int column) const
{
    const int r = row - m_used.firstRow;
    if (m_cells.empty() || r < 0 || r >= m_used.rows) {
        return QString();
    }
    const auto begin = m_cells.begin() + static_cast<std::ptrdiff_t>(m_rowStarts[static_cast<size_t>(r)]);
    const auto end = m_cells.begin() + static_cast<std::ptrdiff_t>(m_rowStarts[static_cast<size_t>(r) + 1]);
    const auto found =
        std::lower_bound(begin, end, column, [](const Cell& cell, int wanted) { return cell.column < wanted; });
    return found != end && found->column == column ? found->text : QString();
}

std::optional<RangeValues> RangeValues::of(const Worksheet& sheet)
{
    const CellRange range = sheet.usedRange();
    if (range.rows == 1 && range.columns == 1) {
        return std::nullopt;
    }
    return RangeValues(sheet, range);
}

QString RangeValues::at(int row, int column) const
{
    if (row < 1 || row > m_range.rows || column < 1 || column > m_range.columns) {
        return QString();
    }
    return m_sheet->cellText(m_range.firstRow + row - 1, m_range.firstColumn + column - 1);
}

Result<std::unique_ptr<Workbook>> Workbook::open(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{Unreadable, file.errorString()};
    }
    const QByteArray magic = file.read(8);
    file.close();
    if (magic.startsWith("PK\x03\x04")) {
        return XlsxWorkbook::open(path);
    }
    if (magic == QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8)) {
        return XlsWorkbook::open(path);
    }
    return Error{NotAWorkbook, u"%1 is not an Excel workbook"_s.arg(path)};
}
