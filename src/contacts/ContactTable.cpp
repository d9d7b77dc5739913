#include "ContactTable.h"

#include <QCollator>

#include <algorithm>
#include <numeric>

ContactTable::ContactTable(QObject* parent)
    : QAbstractTableModel(parent)
{
    for (int k = 0; k < MergeFieldTable::CustomCount; ++k) {
        m_customHeadings[k] = MergeFieldTable::defaultCustomHeading(MergeFieldTable::FirstCustomCell + k);
    }
}

QString ContactTable::cell(int position, int cellIndex) const
{
    if (!isValidPosition(position) || cellIndex < 0 || cellIndex >= MergeFieldTable::CellCount) {
        return {};
    }
    return at(position).cells[cellIndex];
}

void ContactTable::clear()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
}

void ContactTable::addRow(const std::array<QString, MergeFieldTable::CellCount>& cells, const QString& key)
{
    std::vector<Contact> one(1);
    one.front().cells = cells;
    one.front().key = key;
    appendRows(std::move(one));
}

void ContactTable::appendRows(std::vector<Contact> rows)
{
    if (rows.empty()) {
        return;
    }
    if (isSorted()) {
        beginResetModel();
        std::move(rows.begin(), rows.end(), std::back_inserter(m_rows));
        sortRows();
        endResetModel();
        return;
    }
    const int first = count();
    beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
    if (m_rows.empty()) {
        m_rows = std::move(rows);
    } else {
        std::move(rows.begin(), rows.end(), std::back_inserter(m_rows));
    }
    endInsertRows();
}

void ContactTable::setChecked(int position, bool checked)
{
    if (!isValidPosition(position) || at(position).checked == checked) {
        return;
    }
    m_rows[static_cast<size_t>(position - 1)].checked = checked;
    const QModelIndex changed = index(position - 1, 0);
    emit dataChanged(changed, changed, {Qt::CheckStateRole});
}

void ContactTable::setCounted(int position, bool counted)
{
    if (isValidPosition(position)) {
        m_rows[static_cast<size_t>(position - 1)].counted = counted;
    }
}

QString ContactTable::heading(int cellIndex) const
{
    if (cellIndex >= MergeFieldTable::FirstCustomCell && cellIndex < MergeFieldTable::CellCount) {
        return m_customHeadings[cellIndex - MergeFieldTable::FirstCustomCell];
    }
    if (cellIndex >= 0 && cellIndex < MergeFieldTable::FirstCustomCell) {
        return MergeFieldTable::standardHeading(cellIndex);
    }
    return {};
}

void ContactTable::setCustomHeading(int cellIndex, const QString& text)
{
    if (cellIndex < MergeFieldTable::FirstCustomCell || cellIndex >= MergeFieldTable::CellCount) {
        return;
    }
    m_customHeadings[cellIndex - MergeFieldTable::FirstCustomCell] = text;
    emit headerDataChanged(Qt::Horizontal, cellIndex, cellIndex);
}

void ContactTable::sortByCell(int cellIndex, Qt::SortOrder order)
{
    if (cellIndex < 0 || cellIndex >= MergeFieldTable::CellCount) {
        return;
    }
    m_sortCell = cellIndex;
    m_sortOrder = order;
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const std::vector<size_t> moved = sortRows();
    // The current row and the highlighted rows move with their contacts.
    std::vector<int> newPosition(moved.size());
    for (size_t to = 0; to < moved.size(); ++to) {
        newPosition[moved[to]] = static_cast<int>(to);
    }
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& index : before) {
        after.append(index.isValid() ? this->index(newPosition[static_cast<size_t>(index.row())], index.column())
                                     : index);
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

std::vector<size_t> ContactTable::sortRows()
{
    // The list's own text order, blind to case, on every column (numbers too).
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<QCollatorSortKey> keys;
    keys.reserve(m_rows.size());
    for (const Contact& row : m_rows) {
        keys.push_back(collator.sortKey(row.cells[m_sortCell]));
    }
    std::vector<size_t> order(m_rows.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        const int comparison = keys[a].compare(keys[b]);
        return m_sortOrder == Qt::AscendingOrder ? comparison < 0 : comparison > 0;
    });
    std::vector<Contact> sorted;
    sorted.reserve(m_rows.size());
    for (const size_t from : order) {
        sorted.push_back(std::move(m_rows[from]));
    }
    m_rows = std::move(sorted);
    return order;
}

int ContactTable::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : count();
}

int ContactTable::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : MergeFieldTable::CellCount;
}

QVariant ContactTable::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || !isValidPosition(index.row() + 1)) {
        return {};
    }
    const Contact& row = at(index.row() + 1);
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        return row.cells[index.column()];
    }
    if (role == Qt::CheckStateRole && index.column() == 0) {
        return row.checked ? Qt::Checked : Qt::Unchecked;
    }
    return {};
}

bool ContactTable::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::CheckStateRole || !index.isValid() || index.column() != 0) {
        return false;
    }
    const int position = index.row() + 1;
    setChecked(position, value.value<Qt::CheckState>() == Qt::Checked);
    emit checkToggled(position);
    return true;
}

QVariant ContactTable::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole) {
        return heading(section);
    }
    if (orientation == Qt::Vertical && role == Qt::DisplayRole) {
        return section + 1;
    }
    return {};
}

bool ContactTable::setHeaderData(int section, Qt::Orientation orientation, const QVariant& value, int role)
{
    if (orientation != Qt::Horizontal || role != Qt::EditRole || section < MergeFieldTable::FirstCustomCell) {
        return false;
    }
    setCustomHeading(section, value.toString());
    return true;
}

Qt::ItemFlags ContactTable::flags(const QModelIndex& index) const
{
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    Qt::ItemFlags result = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (index.column() == 0) {
        result |= Qt::ItemIsUserCheckable;
    }
    return result;
}
