#pragma once

#include "MergeFieldTable.h"

#include <QAbstractTableModel>

#include <array>
#include <vector>

// One contact: sixteen text cells (cell 0 the e-mail address, cells 1 to 12 the standard
// fields, 13 to 15 the custom ones), the check mark, the counting mark (the row is counted in
// the number of selected contacts) and the key a mail-client source gives it. Values are the
// texts the source gave, untrimmed and unchecked.
struct Contact
{
    std::array<QString, MergeFieldTable::CellCount> cells;
    bool checked = true;
    bool counted = true;
    QString key;
};

// The one table of contacts of the merge wizard, shown by the contact list. Rows are kept in
// list order, which the user can re-sort, and are addressed by their 1-based position in that
// order. Column i shows cell i; column 0 carries the check box.
class ContactTable : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit ContactTable(QObject* parent = nullptr);

    int count() const { return static_cast<int>(m_rows.size()); }
    bool isValidPosition(int position) const { return position >= 1 && position <= count(); }
    const Contact& at(int position) const { return m_rows[static_cast<size_t>(position - 1)]; }
    QString cell(int position, int cell) const;

    void clear();
    // Adds a checked, counted row.
    void addRow(const std::array<QString, MergeFieldTable::CellCount>& cells, const QString& key = {});
    // Adds rows as they are, in one insertion; a sorted list places them by its order.
    void appendRows(std::vector<Contact> rows);

    void setChecked(int position, bool checked);
    void setCounted(int position, bool counted);

    // Column headings: fixed for cells 0 to 12; cells 13 to 15 carry the custom field names.
    QString heading(int cell) const;
    void setCustomHeading(int cell, const QString& heading);

    // Re-sorts the rows by the text of one cell, without regard to case; the order is kept
    // for rows added later, as a sorted list view does.
    void sortByCell(int cell, Qt::SortOrder order);
    bool isSorted() const { return m_sortCell >= 0; }
    int sortCell() const { return m_sortCell; }
    Qt::SortOrder sortOrder() const { return m_sortOrder; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool setHeaderData(int section, Qt::Orientation orientation, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

signals:
    // The user toggled the check box of the row at this 1-based position.
    void checkToggled(int position);

private:
    // Sorts the rows by the current sort cell; entry i of the result is the old index of new row i.
    std::vector<size_t> sortRows();

    std::vector<Contact> m_rows;
    std::array<QString, MergeFieldTable::CustomCount> m_customHeadings;
    int m_sortCell = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
