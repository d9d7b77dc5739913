#include "TestSupport.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

void fill(ContactTable& table, int rows)
{
    table.clear();
    for (int i = 1; i <= rows; ++i) {
        std::array<QString, 16> cells;
        cells[0] = u"c%1@x.org"_s.arg(i);
        cells[1] = QString(QChar(u'a' + (i * 3) % 7));
        table.addRow(cells);
    }
}

// The user clicks a box: the list flips the row, then reports it.
QList<int> userToggles(ContactTable& table, ContactSelection& selection, int position, const QList<int>& highlighted)
{
    table.setChecked(position, !table.at(position).checked);
    return selection.LsvSelection_ItemCheck(position, highlighted);
}

} // namespace

class ContactSelectionTest : public QObject
{
    Q_OBJECT

private slots:
    void toggles_countEachRowOnce()
    {
        ContactTable table;
        fill(table, 8);
        ContactSelection selection(table);
        selection.resetToRowCount();
        QCOMPARE(selection.SelectedCount(), 8);

        // Unticking one of five highlighted rows unticks all five and drops the highlight.
        const QList<int> dropped = userToggles(table, selection, 3, {2, 3, 4, 5, 6});
        QCOMPARE(dropped, (QList<int>{2, 3, 4, 5, 6}));
        QCOMPARE(selection.SelectedCount(), 3);
        for (int position = 2; position <= 6; ++position) {
            QVERIFY(!table.at(position).checked);
        }
        // Again on a partly unticked set: nobody is counted twice.
        userToggles(table, selection, 7, {6, 7});
        QCOMPARE(selection.SelectedCount(), 2);
        userToggles(table, selection, 6, {1, 6, 8}); // rows 1 and 8 are ticked and counted already
        QCOMPARE(selection.SelectedCount(), 3);

        // A row outside the highlight toggles alone.
        QVERIFY(userToggles(table, selection, 2, {1, 6, 8}).isEmpty());
        QCOMPARE(selection.SelectedCount(), 4);
        // Ticking a row whose mark already counts does not raise the count.
        table.setChecked(2, true);
        selection.LsvSelection_ItemCheck(2, {});
        QCOMPARE(selection.SelectedCount(), 4);
        QVERIFY(selection.AnyContactChecked());
    }

    void selectAll_alternates_andAnImportDoesNotResetIt()
    {
        ContactTable table;
        fill(table, 4);
        ContactSelection selection(table);
        selection.resetToRowCount();
        QVERIFY(!selection.nextClickChecksAll());
        selection.lblSel_Click(); // the first click clears everything
        QCOMPARE(selection.SelectedCount(), 0);
        QVERIFY(!selection.AnyContactChecked());
        QVERIFY(selection.nextClickChecksAll());

        fill(table, 3); // a new import checks every row
        selection.resetToRowCount();
        selection.lblSel_Click(); // checks all again: no visible change
        QCOMPARE(selection.SelectedCount(), 3);
        QVERIFY(table.at(1).checked);
        selection.lblSel_Click();
        QCOMPARE(selection.SelectedCount(), 0);

        table.clear();
        selection.lblSel_Click();
        QCOMPARE(selection.SelectedCount(), 0);
        QVERIFY(!selection.AnyContactChecked());
    }

    void columnClicks_shareOneOrder_startingDescending()
    {
        ContactTable table;
        fill(table, 5);
        ContactSelection selection(table);
        QVERIFY(selection.LsvSelection_ColumnClick(1));
        QVERIFY(table.cell(1, 1) >= table.cell(5, 1));
        QVERIFY(!selection.LsvSelection_ColumnClick(0)); // another column: the order flips all the same
        QCOMPARE(table.cell(1, 0), u"c1@x.org"_s);
        QCOMPARE(table.sortCell(), 0);
    }
};

QTEST_GUILESS_MAIN(ContactSelectionTest)
#include "tst_contact_selection.moc"
