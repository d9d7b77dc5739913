#include "TestSupport.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A table of the given addresses and first names (the first names default to none).
void fill(ContactTable& table, const QStringList& emails, const QStringList& firsts = {})
{
    table.clear();
    for (qsizetype k = 0; k < emails.size(); ++k) {
        std::array<QString, 16> cells;
        cells[0] = emails.at(k);
        cells[1] = firsts.value(k);
        table.addRow(cells);
    }
}

QStringList emails(const ContactTable& table)
{
    QStringList result;
    for (int position = 1; position <= table.count(); ++position) {
        result << table.cell(position, 0);
    }
    return result;
}

} // namespace

class ContactTableTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void rows_areAddressedByOneBasedPosition_sortWithoutCase_andTheUserTicksThem()
    {
        ContactTable table;
        QAbstractItemModelTester tester(&table, QAbstractItemModelTester::FailureReportingMode::QtTest);
        fill(table, {u"bert@x.org"_s, u"Alice@x.org"_s, u"10@x.org"_s, u"9@x.org"_s, QString(), u"bert@x.org"_s},
             {u"bert"_s, u"Alice"_s, u"10"_s, u"9"_s, u"carl"_s, u"bert"_s});
        QCOMPARE(table.cell(2, 1), u"Alice"_s);
        QCOMPARE(table.cell(7, 0), QString());
        QCOMPARE(table.cell(0, 0), QString());
        QVERIFY(table.at(6).checked && table.at(6).counted); // duplicates stay two rows

        const QPersistentModelIndex highlighted = table.index(1, 3); // Alice, in a later column
        table.sortByCell(1, Qt::DescendingOrder);
        QCOMPARE(highlighted.row(), 3); // the highlight moves with its contact
        QCOMPARE(highlighted.column(), 3);
        QCOMPARE(emails(table), (QStringList{QString(), u"bert@x.org"_s, u"bert@x.org"_s, u"Alice@x.org"_s,
                                             u"9@x.org"_s, u"10@x.org"_s}));

        QSignalSpy toggled(&table, &ContactTable::checkToggled);
        QVERIFY(table.setData(table.index(0, 0), Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(toggled.count(), 1);
        QCOMPARE(toggled.first().first().toInt(), 1);
        QVERIFY(!table.at(1).checked);
        QVERIFY(table.at(1).counted); // the counting mark is the selection's business
        QVERIFY(!table.setData(table.index(0, 3), Qt::Checked, Qt::CheckStateRole));
    }

    void selection_countsEachRowOnce()
    {
        ContactTable table;
        fill(table, {u"1"_s, u"2"_s, u"3"_s, u"4"_s, u"5"_s, u"6"_s, u"7"_s, u"8"_s});
        ContactSelection selection(table);
        selection.resetToRowCount();
        QCOMPARE(selection.SelectedCount(), 8);
        // The user clicks a box: the list flips the row, then reports it.
        const auto userToggles = [&](int position, const QList<int>& highlighted) {
            table.setChecked(position, !table.at(position).checked);
            return selection.LsvSelection_ItemCheck(position, highlighted);
        };
        // Unticking one of five highlighted rows unticks all five and drops the highlight.
        QCOMPARE(userToggles(3, {2, 3, 4, 5, 6}), (QList<int>{2, 3, 4, 5, 6}));
        QCOMPARE(selection.SelectedCount(), 3);
        QVERIFY(!table.at(2).checked && !table.at(6).checked);
        // Again on a partly unticked set: nobody is counted twice.
        userToggles(7, {6, 7});
        QCOMPARE(selection.SelectedCount(), 2);
        userToggles(6, {1, 6, 8}); // rows 1 and 8 are ticked and counted already
        QCOMPARE(selection.SelectedCount(), 3);
        // A row outside the highlight toggles alone.
        QVERIFY(userToggles(2, {1, 6, 8}).isEmpty());
        QCOMPARE(selection.SelectedCount(), 4);
    }
};

QTEST_GUILESS_MAIN(ContactTableTest)
#include "tst_contact_table.moc"
