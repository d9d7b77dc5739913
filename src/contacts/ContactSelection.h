#pragma once

#include <QList>
#include <QString>

class ContactTable;

// The choice of contacts on the contact page: the check marks with their counting marks, the
// number of selected contacts, "Select/UnSelect All" and the shared sort order.
class ContactSelection
{
public:
    explicit ContactSelection(ContactTable& table);

    int SelectedCount() const { return m_selectedCount; }
    // After an import: every row counts.
    void resetToRowCount();

    // The user toggled the box of the row at `position`. When that row is highlighted, every
    // highlighted row takes its check state, each counted once; returns the rows whose
    // highlight is to be removed.
    QList<int> LsvSelection_ItemCheck(int position, const QList<int>& highlighted);

    // "Select/UnSelect All" alternates between clearing every row and checking every row,
    // starting with clearing; where it stands is not reset by an import.
    void lblSel_Click();
    // True when the next "Select/UnSelect All" checks every row.
    bool nextClickChecksAll() const { return m_nextClickChecksAll; }

    // Sorts by the clicked column; the order flips on every click, whatever the column, so the
    // first click sorts descending. Returns true for a descending sort (the "DOWN" icon).
    bool LsvSelection_ColumnClick(int column);

    bool AnyContactChecked() const;

private:
    void applyCheck(int position, bool checked);

    ContactTable& m_table;
    int m_selectedCount = 0;
    bool m_nextClickChecksAll = false;
    bool m_descending = false;
};
