#include "TestSupport.h"
#include "contacts/BlankReplacers.h"
#include "contacts/ContactTable.h"
#include "contacts/DataSources.h"
#include "core/SettingsStore.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

std::array<QString, 16> row(const QString& email, const QString& first = {})
{
    std::array<QString, 16> cells;
    cells[0] = email;
    cells[1] = first;
    return cells;
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

    void rows_areAddressedByOneBasedPosition_addressFirst_checkedAndCounted()
    {
        ContactTable table;
        QAbstractItemModelTester tester(&table, QAbstractItemModelTester::FailureReportingMode::QtTest);
        table.addRow(row(u"a@x.org"_s, u"Ann"_s));
        table.addRow(row(QString(), u"No address"_s));
        table.addRow(row(u"a@x.org"_s, u"Ann again"_s));
        QCOMPARE(emails(table), (QStringList{u"a@x.org"_s, QString(), u"a@x.org"_s})); // duplicates stay two rows
        QCOMPARE(table.cell(1, 1), u"Ann"_s);
        QCOMPARE(table.cell(4, 0), QString());
        QCOMPARE(table.cell(0, 0), QString());
        QVERIFY(table.at(3).checked && table.at(3).counted);
        QCOMPARE(table.data(table.index(0, 0), Qt::CheckStateRole).value<Qt::CheckState>(), Qt::Checked);
        // The address is map index 12 but the list's first column.
        QCOMPARE(MergeFieldTable::cellOfMapIndex(12), 0);
        QCOMPARE(MergeFieldTable::cellOfMapIndex(0), 1);
        QCOMPARE(table.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), u"Email Address"_s);
        QCOMPARE(MergeFieldTable::customToken(u"Member No"_s), u"[[Member No]]"_s);
        table.clear();
        QCOMPARE(table.count(), 0);
    }

    void userToggle_changesTheCheck_andReportsThePosition()
    {
        ContactTable table;
        table.addRow(row(u"a@x.org"_s));
        table.addRow(row(u"b@x.org"_s));
        QSignalSpy toggled(&table, &ContactTable::checkToggled);
        QVERIFY(table.setData(table.index(1, 0), Qt::Unchecked, Qt::CheckStateRole));
        QCOMPARE(toggled.count(), 1);
        QCOMPARE(toggled.first().first().toInt(), 2);
        QVERIFY(!table.at(2).checked);
        QVERIFY(table.at(2).counted); // the counting mark is the selection's business
        QVERIFY(!table.setData(table.index(1, 3), Qt::Checked, Qt::CheckStateRole));
        QVERIFY(table.flags(table.index(0, 0)).testFlag(Qt::ItemIsUserCheckable));
        QVERIFY(!table.flags(table.index(0, 1)).testFlag(Qt::ItemIsUserCheckable));
    }

    void sort_isTextOrderWithoutCase_andStaysForLaterRows()
    {
        ContactTable table;
        QAbstractItemModelTester tester(&table, QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (const QString& first : {u"bert"_s, u"Alice"_s, u"10"_s, u"9"_s, u"carl"_s}) {
            table.addRow(row(first + u"@x.org"_s, first));
        }
        const QPersistentModelIndex highlighted = table.index(1, 3); // Alice, in a later column
        table.sortByCell(1, Qt::DescendingOrder);
        QCOMPARE(highlighted.row(), 2); // the highlight moves with its contact
        QCOMPARE(highlighted.column(), 3);
        QCOMPARE(emails(table),
                 (QStringList{u"carl@x.org"_s, u"bert@x.org"_s, u"Alice@x.org"_s, u"9@x.org"_s, u"10@x.org"_s}));
        table.sortByCell(1, Qt::AscendingOrder);
        QCOMPARE(table.cell(1, 1), u"10"_s); // numbers sort as text
        table.addRow(row(u"bea@x.org"_s, u"Bea"_s));
        QCOMPARE(emails(table).indexOf(u"bea@x.org"_s), 3);
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

    void customHeadings_canBeRenamed_standardOnesCannot()
    {
        ContactTable table;
        QSignalSpy headers(&table, &QAbstractItemModel::headerDataChanged);
        table.setCustomHeading(14, u"Member No"_s);
        QCOMPARE(table.heading(14), u"Member No"_s);
        QCOMPARE(headers.count(), 1);
        table.setCustomHeading(3, u"Nope"_s);
        QCOMPARE(table.heading(3), u"Job Title"_s);
        QVERIFY(!table.setHeaderData(2, Qt::Horizontal, u"x"_s, Qt::EditRole));
    }
};

QTEST_GUILESS_MAIN(ContactTableTest)
#include "tst_contact_table.moc"
