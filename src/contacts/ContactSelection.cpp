#include "ContactSelection.h"

#include "ContactTable.h"

ContactSelection::ContactSelection(ContactTable& table)
    : m_table(table)
{
}

void ContactSelection::resetToRowCount()
{
    m_selectedCount = m_table.count();
}

void ContactSelection::applyCheck(int position, bool checked)
{
    m_table.setChecked(position, checked);
    const bool counted = m_table.at(position).counted;
    if (checked && !counted) {
        ++m_selectedCount;
    } else if (!checked && counted) {
        --m_selectedCount;
    }
    m_table.setCounted(position, checked);
}

QList<int> ContactSelection::LsvSelection_ItemCheck(int position, const QList<int>& highlighted)
{
    if (!m_table.isValidPosition(position)) {
        return {};
    }
    const bool checked = m_table.at(position).checked;
    if (!highlighted.contains(position)) {
        applyCheck(position, checked);
        return {};
    }
    QList<int> rows = highlighted;
    std::sort(rows.begin(), rows.end());
    for (const int row : rows) {
        applyCheck(row, checked);
    }
    return rows;
}

void ContactSelection::lblSel_Click()
{
    const bool checkAll = m_nextClickChecksAll;
    for (int position = 1; position <= m_table.count(); ++position) {
        m_table.setChecked(position, checkAll);
        m_table.setCounted(position, checkAll);
    }
    m_nextClickChecksAll = !checkAll;
    m_selectedCount = checkAll ? m_table.count() : 0;
}

bool ContactSelection::LsvSelection_ColumnClick(int column)
{
    m_descending = !m_descending;
    m_table.sortByCell(column, m_descending ? Qt::DescendingOrder : Qt::AscendingOrder);
    return m_descending;
}

bool ContactSelection::AnyContactChecked() const
{
    for (int position = 1; position <= m_table.count(); ++position) {
        if (m_table.at(position).checked) {
            return true;
        }
    }
    return false;
}
