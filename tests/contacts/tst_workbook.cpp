#include "TestSupport.h"
#include "contacts/ExcelImport.h"
#include "contacts/Workbook.h"
#include "contacts/XlsWorkbook.h"
#include "contacts/XlsxWorkbook.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The texts of a sheet's cells, row by row, columns joined by "|".
QStringList rowsOf(const Worksheet& sheet, int firstColumn, int lastColumn)
{
    QStringList rows;
    const CellRange used = sheet.usedRange();
    for (int row = used.firstRow; row < used.firstRow + used.rows; ++row) {
        QStringList cells;
        for (int column = firstColumn; column <= lastColumn; ++column) {
            cells << sheet.cellText(row, column);
        }
        rows << cells.join(u'|');
    }
    return rows;
}

// Map index -> column; every field unmapped but those given.
std::array<int, 16> columnsOf(std::initializer_list<std::pair<int, int>> mapped)
{
    std::array<int, 16> columns;
    columns.fill(-1);
    for (const auto& [field, column] : mapped) {
        columns[static_cast<size_t>(field)] = column;
    }
    return columns;
}

} // namespace

class WorkbookTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // The sheet as the importer reads it; an empty one where it cannot be read.
    Worksheet sheetOf(const QString& file, int number)
    {
        Result<Worksheet> sheet = ExcelImport::readSheet(path(file), number);
        return sheet.ok() ? std::move(sheet).value() : Worksheet();
    }

private slots:
    void initTestCase()
    {
        QVERIFY(TestSupport::makeWorkbook(u"xlsx"_s, path(u"book.xlsx"_s)));
        QVERIFY(TestSupport::makeWorkbook(u"raw"_s, path(u"raw.xlsx"_s)));
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, path(u"book.xls"_s)));
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, path(u"book1904.xls"_s), {u"--1904"_s}));
        QVERIFY(TestSupport::makeWorkbook(u"broken"_s, m_dir.path()));
    }

    void xlsx_numbersDatesAndBooleans_readAsTheSheetShowsThem()
    {
        Result<std::unique_ptr<Workbook>> book = Workbook::open(path(u"book.xlsx"_s));
        QVERIFY(book.ok());
        // The chart sheet is no worksheet.
        QCOMPARE(book.value()->sheetNames(),
                 (QStringList{u"Contacts"_s, u"Values"_s, u"Offset"_s, u"Single"_s, u"Empty"_s}));
        QVERIFY(!book.value()->sheet(6).ok());
        QCOMPARE(
            rowsOf(sheetOf(u"book.xlsx"_s, 1), 1, 5),
            (QStringList{u"Name|Email|Company|Amount|Joined"_s, u"Ann|ann@example.com|Acme|12|1/15/2024"_s,
                         u"Björn|bjorn@example.com|Nord, AB|0.1|12/31/1999"_s, u"Cy|cy@example.com||1234567.5|"_s}));
        QCOMPARE(
            rowsOf(sheetOf(u"book.xlsx"_s, 2), 2, 2),
            (QStringList{u"12"_s, u"0.1"_s, u"0.3"_s, u"0.333333333333333"_s, u"1E+20"_s, u"-2.5E-07"_s, u"-42"_s,
                         u"True"_s, u"False"_s, u"1/15/2024"_s, u"Monday, 15 January 2024"_s, u"2:05 PM"_s,
                         u"2024-01-15 14:05:09"_s, u"05:09"_s, u"45306"_s, u"45306"_s, u"Due 1.3.24"_s, u"0.25"_s}));
        // Written part by part: rich and inline strings, cached formula results, cells and rows
        // without a reference, a cell given twice and out of order (the last counts), _xHHHH_
        // escapes, the 1904 system.
        Result<std::unique_ptr<Workbook>> raw = Workbook::open(path(u"raw.xlsx"_s));
        QVERIFY(raw.ok());
        QCOMPARE(raw.value()->sheetNames(), QStringList{u"Raw & Rich"_s});
        QCOMPARE(rowsOf(sheetOf(u"raw.xlsx"_s, 1), 1, 6),
                 (QStringList{u"Name|Tab\tbed|Name!|||"_s, u"Mary Ann|2|True|8|1904-01-01|"_s, u"|||||"_s,
                              u"0.3|Line\r\nTwo_x0041_|#DIV/0!|1/1/1905|| "_s}));
    }

    void xls_readsTheSameContacts_andShowsDatesAsShortDates()
    {
        for (const QString& file : {u"book.xls"_s, u"book1904.xls"_s}) {
            Result<std::unique_ptr<Workbook>> book = Workbook::open(path(file));
            QVERIFY(book.ok());
            QCOMPARE(book.value()->sheetNames(), (QStringList{u"People"_s, u"Second"_s}));
            QCOMPARE(rowsOf(sheetOf(file, 1), 1, 6),
                     (QStringList{u"Name|Email|Company|Amount|Joined|"_s,
                                  u"Ann|ann@example.com|Acme|12|1/15/2024|1/15/2024 14:05"_s,
                                  u"Björn|bjorn@example.com|Nord, AB|0.1|12/31/1999|0.333333333333333"_s,
                                  u"Cy|cy@example.com||1234567.5||1E+20"_s}));
            const Worksheet second = sheetOf(file, 2);
            QCOMPARE(second.usedRange().firstRow, 3);
            QCOMPARE(second.cellText(4, 2), u"eve@example.com"_s);
        }
    }

    void damagedOrForeignFiles_failAsValues()
    {
        QVERIFY(TestSupport::writeFile(path(u"list.xls"_s), "Name,Email\r\nAnn,a@x.org\r\n"));
        QVERIFY(TestSupport::writeFile(path(u"garbage.xls"_s),
                                       QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + QByteArray(2048, '\x7F')));
        QVERIFY(TestSupport::writeFile(path(u"cut.xlsx"_s), QByteArray("PK\x03\x04\x14\x00\x00\x00", 8)));
        for (const QString& file :
             {u"list.xls"_s, u"garbage.xls"_s, u"cut.xlsx"_s, u"no_workbook.xlsx"_s, u"absent.xlsx"_s}) {
            QVERIFY2(!Workbook::open(path(file)).ok(), qPrintable(file));
            QVERIFY(!ExcelImport::readSheet(path(file), 1).ok());
        }
        // These open; only their sheet fails.
        for (const QString& file : {u"bad_string.xlsx"_s, u"bad_row.xlsx"_s, u"bad_xml.xlsx"_s}) {
            Result<std::unique_ptr<Workbook>> book = Workbook::open(path(file));
            QVERIFY2(book.ok(), qPrintable(file));
            const Result<Worksheet> sheet = book.value()->sheet(1);
            QVERIFY2(!sheet.ok() && sheet.error().code == int(Workbook::Corrupt), qPrintable(file));
        }
    }

    void headingsComeFromRowOne_rowsFromTheUsedRange()
    {
        // The used range C3:D4 (A1 is formatted but holds nothing) has two columns: the names are
        // A1 and B1, both empty.
        const Worksheet offset = sheetOf(u"book.xlsx"_s, 3);
        QCOMPARE(ExcelImport::ReadSheetHeadings(offset), (QStringList{QString(), QString()}));
        const std::vector<Contact> rows = ExcelImport::importRows(offset, true, columnsOf({{12, 0}, {0, 1}}));
        QCOMPARE(rows.size(), size_t(1));
        QCOMPARE(rows[0].cells[0], u"dee@example.com"_s);
        QCOMPARE(rows[0].cells[1], u"Dee"_s);

        // A single cell is its own heading and gives no rows; an empty sheet is A1 alone.
        const Worksheet single = sheetOf(u"book.xlsx"_s, 4);
        QCOMPARE(ExcelImport::ReadSheetHeadings(single), QStringList{u"alone"_s});
        QVERIFY(ExcelImport::importRows(single, false, columnsOf({{0, 0}})).empty());
        QCOMPARE(ExcelImport::ReadSheetHeadings(sheetOf(u"book.xlsx"_s, 5)), QStringList{QString()});
    }

    void xls_aReaderThatCrashesOrBreaksOff_endsTheStage()
    {
        // The .xls library runs in a program of its own: whatever it does on a damaged file,
        // the stage ends with an error value.
        const QString book = path(u"book.xls"_s);
        XlsWorkbook::setReaderProgram(TestSupport::writeShellScript(path(u"crash.sh"_s), "kill -SEGV $$\n"));
        QCOMPARE(XlsWorkbook::open(book).error().code, int(Workbook::Corrupt));

        XlsWorkbook::setReaderProgram(TestSupport::writeShellScript(
            path(u"cut.sh"_s),
            "if [ \"$1\" = sheets ]; then printf '2:OK1:01:15:Sheet3:END'; else printf '2:OK1:11:1'; fi\n"));
        Result<std::unique_ptr<Workbook>> listed = XlsWorkbook::open(book);
        QVERIFY(listed.ok());
        QCOMPARE(listed.value()->sheetNames(), QStringList{u"Sheet"_s});
        QCOMPARE(listed.value()->sheet(1).error().code, int(Workbook::Corrupt));

        XlsWorkbook::setReaderProgram({});
    }
};

QTEST_GUILESS_MAIN(WorkbookTest)
#include "tst_workbook.moc"
