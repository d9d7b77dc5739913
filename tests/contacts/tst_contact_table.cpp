#include "TestSupport.h"
#include "contacts/BlankReplacers.h"
#include "contacts/ContactSelection.h"
#include "contacts/ContactTable.h"
#include "contacts/DataSources.h"
#include "core/SettingsStore.h"

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
        QCOMPARE(table.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), u"Email Address"_s);

        const QPersistentModelIndex highlighted = table.index(1, 3); // Alice, in a later column
        table.sortByCell(1, Qt::DescendingOrder);
        QCOMPARE(highlighted.row(), 3); // the highlight moves with its contact
        QCOMPARE(highlighted.column(), 3);
        QCOMPARE(emails(table), (QStringList{QString(), u"bert@x.org"_s, u"bert@x.org"_s, u"Alice@x.org"_s,
                                             u"9@x.org"_s, u"10@x.org"_s}));
        table.sortByCell(1, Qt::AscendingOrder);
        QCOMPARE(table.cell(1, 1), u"10"_s); // numbers sort as text
        std::array<QString, 16> bea{u"bea@x.org"_s, u"Bea"_s};
        table.addRow(bea);
        QCOMPARE(emails(table).indexOf(u"bea@x.org"_s), 3); // the order stays for later rows

        QSignalSpy toggled(&table, &ContactTable::checkToggled);
        QVERIFY(table.setData(table.index(0, 0), Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(toggled.count(), 1);
        QCOMPARE(toggled.first().first().toInt(), 1);
        QVERIFY(!table.at(1).checked);
        QVERIFY(table.at(1).counted); // the counting mark is the selection's business
        QVERIFY(!table.setData(table.index(0, 3), Qt::Checked, Qt::CheckStateRole));

        QSignalSpy headers(&table, &QAbstractItemModel::headerDataChanged);
        table.setCustomHeading(14, u"Member No"_s);
        QCOMPARE(table.heading(14), u"Member No"_s);
        QCOMPARE(headers.count(), 1);
        table.setCustomHeading(3, u"Nope"_s);
        QCOMPARE(table.heading(3), u"Job Title"_s);
        QCOMPARE(MergeFieldTable::cellOfMapIndex(12), 0); // the address is map index 12 but the first column
        QCOMPARE(MergeFieldTable::customToken(u"Member No"_s), u"[[Member No]]"_s);
    }

    void selection_countsEachRowOnce_andSelectAllAlternates()
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

        QVERIFY(!selection.nextClickChecksAll());
        selection.lblSel_Click(); // the first click clears everything
        QCOMPARE(selection.SelectedCount(), 0);
        QVERIFY(!selection.AnyContactChecked());
        fill(table, {u"a"_s, u"b"_s, u"c"_s}); // a new import checks every row
        selection.resetToRowCount();
        selection.lblSel_Click(); // checks all again: no visible change
        QCOMPARE(selection.SelectedCount(), 3);
        QVERIFY(table.at(1).checked);

        // Column clicks share one order, starting descending.
        QVERIFY(selection.LsvSelection_ColumnClick(0));
        QCOMPARE(table.cell(1, 0), u"c"_s);
        QVERIFY(!selection.LsvSelection_ColumnClick(1));
        QCOMPARE(table.sortCell(), 1);
    }

    void fileLikeSources_andBlankReplacers_haveTheirDefaults()
    {
        QVERIFY(!DataSources::isFileLike(1));
        QVERIFY(DataSources::isFileLike(2));
        TestSupport::resetSettings();
        QCOMPARE(BlankReplacers::load().texts, (std::array<QString, 4>{u"Sir"_s, {}, {}, {}}));
        BlankReplacers changed;
        changed.texts = {QString(), u" Doe "_s, u"Staff"_s, u"Home"_s};
        changed.save();
        QCOMPARE(GetSetting(u"blankfields"_s, u"company"_s), u"Home"_s);
        // An emptied first-name box is remembered empty; it does not fall back to "Sir".
        QCOMPARE(BlankReplacers::load().texts, changed.texts);
    }
};

QTEST_GUILESS_MAIN(ContactTableTest)
#include "tst_contact_table.moc"
