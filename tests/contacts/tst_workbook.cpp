#include "TestSupport.h"
#include "contacts/ExcelCellText.h"
#include "contacts/ExcelImport.h"
#include "contacts/Workbook.h"
#include "contacts/XlsWorkbook.h"
#include "contacts/XlsxWorkbook.h"
#include "wordlink/OoxmlPackage.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<Workbook> openBook(const QString& path)
{
    Result<std::unique_ptr<Workbook>> book = Workbook::open(path);
    if (!book.ok()) {
        qWarning("%s: %s", qPrintable(path), qPrintable(book.error().message));
        return nullptr;
    }
    return std::move(book).value();
}

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

std::array<int, 16> noColumns()
{
    std::array<int, 16> columns;
    columns.fill(-1);
    return columns;
}

} // namespace

class WorkbookTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString path(const QString& name) const { return m_dir.filePath(name); }

private slots:
    void initTestCase()
    {
        QVERIFY(TestSupport::makeWorkbook(u"xlsx"_s, path(u"book.xlsx"_s)));
        QVERIFY(TestSupport::makeWorkbook(u"xlsx"_s, path(u"book1904.xlsx"_s), {u"--1904"_s}));
        QVERIFY(TestSupport::makeWorkbook(u"raw"_s, path(u"raw.xlsx"_s)));
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, path(u"book.xls"_s)));
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, path(u"book1904.xls"_s), {u"--1904"_s}));
        QVERIFY(TestSupport::makeWorkbook(u"broken"_s, m_dir.path()));
    }

    void generalNumber_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("integer") << 12.0 << u"12"_s;
        QTest::newRow("tenth") << 0.1 << u"0.1"_s;
        QTest::newRow("float noise") << 0.1 + 0.2 << u"0.3"_s;
        QTest::newRow("third") << 1.0 / 3.0 << u"0.333333333333333"_s;
        QTest::newRow("fifteen digits") << 123456789012345.0 << u"123456789012345"_s;
        QTest::newRow("from 1E+15") << 1e15 << u"1E+15"_s;
        QTest::newRow("2^53") << 9007199254740992.0 << u"9.00719925474099E+15"_s;
        QTest::newRow("small") << 0.0001 << u"0.0001"_s;
        QTest::newRow("smaller") << -2.5e-7 << u"-2.5E-07"_s;
        QTest::newRow("negative zero") << -0.0 << u"0"_s;
        QTest::newRow("money") << 1234567.5 << u"1234567.5"_s;
    }

    void generalNumber()
    {
        QFETCH(double, value);
        QFETCH(QString, text);
        QCOMPARE(ExcelCellText::generalNumber(value), text);
    }

    void dateFormats_areToldFromNumberFormats_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<bool>("date");
        QTest::newRow("general") << u"General"_s << false;
        QTest::newRow("decimals") << u"#,##0.00"_s << false;
        QTest::newRow("quoted days") << u"0 \"days\""_s << false;
        QTest::newRow("colours") << u"[Red]0.00;[Blue]-0.00"_s << false;
        QTest::newRow("escaped letters") << u"0\\h\\s"_s << false;
        QTest::newRow("scientific") << u"0.00E+00"_s << false;
        QTest::newRow("short date") << u"m/d/yyyy"_s << true;
        QTest::newRow("locale bracket") << u"[$-409]mmmm d, yyyy;@"_s << true;
        QTest::newRow("time") << u"h:mm AM/PM"_s << true;
        QTest::newRow("elapsed") << u"[h]:mm:ss"_s << true;
    }

    void dateFormats_areToldFromNumberFormats()
    {
        QFETCH(QString, code);
        QFETCH(bool, date);
        QCOMPARE(ExcelCellText::isDateFormat(code), date);
    }

    void formatDate_data()
    {
        QTest::addColumn<double>("serial");
        QTest::addColumn<QString>("code");
        QTest::addColumn<bool>("date1904");
        QTest::addColumn<QString>("text");
        QTest::newRow("short") << 45306.0 << u"m/d/yyyy"_s << false << u"1/15/2024"_s;
        QTest::newRow("names") << 45306.0 << u"dddd, dd mmmm yyyy"_s << false << u"Monday, 15 January 2024"_s;
        QTest::newRow("abbreviations") << 45306.0 << u"ddd d-mmm-yy"_s << false << u"Mon 15-Jan-24"_s;
        QTest::newRow("initial") << 45306.0 << u"mmmmm"_s << false << u"J"_s;
        QTest::newRow("minutes after hours") << 45306.5 + 5.0 / 1440 << u"hh:mm"_s << false << u"12:05"_s;
        QTest::newRow("minutes before seconds") << 9.0 / 86400 + 5.0 / 1440 << u"mm:ss"_s << false << u"05:09"_s;
        QTest::newRow("pm") << 45306.75 << u"h:mm AM/PM"_s << false << u"6:00 PM"_s;
        QTest::newRow("midnight") << 45306.0 << u"h:mm a/p"_s << false << u"12:00 a"_s;
        QTest::newRow("elapsed") << 1.5 << u"[h]:mm:ss"_s << false << u"36:00:00"_s;
        QTest::newRow("fraction") << 1.25 / 86400 << u"mm:ss.00"_s << false << u"00:01.25"_s;
        QTest::newRow("carry into next day")
            << 45306.9999999 << u"m/d/yyyy h:mm:ss"_s << false << u"1/16/2024 0:00:00"_s;
        QTest::newRow("phantom leap day") << 60.0 << u"m/d/yyyy dddd"_s << false << u"2/29/1900 Wednesday"_s;
        QTest::newRow("after the phantom") << 61.0 << u"yyyy-mm-dd"_s << false << u"1900-03-01"_s;
        QTest::newRow("first day") << 1.0 << u"dddd d mmm yyyy"_s << false << u"Sunday 1 Jan 1900"_s;
        QTest::newRow("1904 day zero") << 0.0 << u"m/d/yyyy dddd"_s << true << u"1/1/1904 Friday"_s;
        QTest::newRow("text and escapes") << 45352.0 << u"\"Due\" d\\.m\\.yy"_s << false << u"Due 1.3.24"_s;
        QTest::newRow("second section ignored") << 45306.0 << u"d/m/yy;@"_s << false << u"15/1/24"_s;
        QTest::newRow("negative is a number") << -3.0 << u"m/d/yyyy"_s << false << u"-3"_s;
    }

    void formatDate()
    {
        QFETCH(double, serial);
        QFETCH(QString, code);
        QFETCH(bool, date1904);
        QFETCH(QString, text);
        QCOMPARE(ExcelCellText::formatDate(serial, code, date1904), text);
    }

    void isoTexts_becomeSerialsOfTheirDateSystem()
    {
        double serial = 0.0;
        QVERIFY(ExcelCellText::serialOfIsoText(u"2024-01-15", false, serial));
        QCOMPARE(serial, 45306.0);
        QVERIFY(ExcelCellText::serialOfIsoText(u"1900-02-28", false, serial));
        QCOMPARE(serial, 59.0);
        QVERIFY(ExcelCellText::serialOfIsoText(u"2024-01-15 12:00:00", true, serial));
        QCOMPARE(serial, 45306.5 - 1462);
        QVERIFY(ExcelCellText::serialOfIsoText(u"06:00:00", false, serial));
        QCOMPARE(serial, 0.25);
        QVERIFY(!ExcelCellText::serialOfIsoText(u"2024-13-01", false, serial));
        QVERIFY(!ExcelCellText::serialOfIsoText(u"noon", false, serial));
        QVERIFY(!ExcelCellText::serialOfIsoText(u"25:00:00", false, serial));
    }

    void escapesAndReferences()
    {
        QCOMPARE(XlsxText::decodeEscapes(u"a_x000D__x000A_b"_s), u"a\r\nb"_s);
        QCOMPARE(XlsxText::decodeEscapes(u"_x005F_x0041_"_s), u"_x0041_"_s);
        QCOMPARE(XlsxText::decodeEscapes(u"_x00zz_ and _x41_"_s), u"_x00zz_ and _x41_"_s);
        QCOMPARE(XlsxText::decodeEscapes(u"_xD83D__xDE00_"_s), u"\U0001F600"_s);
        int row = 0;
        int column = 0;
        QVERIFY(XlsxText::parseReference("AB12", row, column));
        QCOMPARE(column, 28);
        QCOMPARE(row, 12);
        QVERIFY(XlsxText::parseReference("$XFD$1048576", row, column));
        QCOMPARE(column, 16384);
        QCOMPARE(row, 1048576);
        for (const char* wrong : {"XFE1", "A1048577", "A0", "12", "A", "AAAA1", "A1B", ""}) {
            QVERIFY2(!XlsxText::parseReference(wrong, row, column), wrong);
        }
    }

    void worksheet_keepsTheLastOfATwiceGivenCell_andFindsCellsOutOfOrder()
    {
        Worksheet sheet;
        QVERIFY(sheet.setCell(5, 2, u"late"_s));
        QVERIFY(sheet.setCell(2, 4, u"first"_s));
        QVERIFY(sheet.setCell(5, 2, u"later"_s));
        QVERIFY(sheet.setCell(3, 3, QString()));
        QVERIFY(!sheet.setCell(0, 1, u"x"_s));
        QVERIFY(!sheet.setCell(1, Worksheet::MaxColumns + 1, u"x"_s));
        sheet.finish();
        const CellRange used = sheet.usedRange();
        QCOMPARE(used.firstRow, 2);
        QCOMPARE(used.firstColumn, 2);
        QCOMPARE(used.rows, 4);
        QCOMPARE(used.columns, 3);
        QCOMPARE(sheet.cellText(5, 2), u"later"_s);
        QCOMPARE(sheet.cellText(2, 4), u"first"_s);
        QCOMPARE(sheet.cellText(3, 3), QString());
        QCOMPARE(sheet.cellText(4, 2), QString());
        QCOMPARE(sheet.cellText(1, 1), QString());
        const std::optional<RangeValues> values = RangeValues::of(sheet);
        QVERIFY(values.has_value());
        QCOMPARE(values->at(4, 1), u"later"_s);
        QCOMPARE(values->at(1, 3), u"first"_s);
        QCOMPARE(values->at(5, 1), QString());
    }

    void xlsx_numbersDatesAndBooleans_readAsTheSheetShowsThem_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("1900 dates") << u"book.xlsx"_s;
        QTest::newRow("1904 dates") << u"book1904.xlsx"_s;
    }

    void xlsx_numbersDatesAndBooleans_readAsTheSheetShowsThem()
    {
        QFETCH(QString, file);
        const auto book = openBook(path(file));
        QVERIFY(book);
        // The chart sheet is no worksheet.
        QCOMPARE(book->sheetNames(), (QStringList{u"Contacts"_s, u"Values"_s, u"Offset"_s, u"Single"_s, u"Empty"_s}));
        const Result<Worksheet> contacts = book->sheet(1);
        QVERIFY(contacts.ok());
        QCOMPARE(
            rowsOf(contacts.value(), 1, 5),
            (QStringList{u"Name|Email|Company|Amount|Joined"_s, u"Ann|ann@example.com|Acme|12|1/15/2024"_s,
                         u"Björn|bjorn@example.com|Nord, AB|0.1|12/31/1999"_s, u"Cy|cy@example.com||1234567.5|"_s}));
        const Result<Worksheet> values = book->sheet(2);
        QVERIFY(values.ok());
        QCOMPARE(
            rowsOf(values.value(), 2, 2),
            (QStringList{u"12"_s, u"0.1"_s, u"0.3"_s, u"0.333333333333333"_s, u"1E+20"_s, u"-2.5E-07"_s, u"-42"_s,
                         u"True"_s, u"False"_s, u"1/15/2024"_s, u"Monday, 15 January 2024"_s, u"2:05 PM"_s,
                         u"2024-01-15 14:05:09"_s, u"05:09"_s, u"45306"_s, u"45306"_s, u"Due 1.3.24"_s, u"0.25"_s}));
        QVERIFY(!book->sheet(6).ok());
        QVERIFY(!book->sheet(0).ok());
    }

    void xlsx_rawParts_richInlineFormulasMissingReferencesAndEscapes()
    {
        const auto book = openBook(path(u"raw.xlsx"_s));
        QVERIFY(book);
        QCOMPARE(book->sheetNames(), QStringList{u"Raw & Rich"_s});
        const Result<Worksheet> sheet = book->sheet(1);
        QVERIFY(sheet.ok());
        const CellRange used = sheet->usedRange();
        QCOMPARE(used.firstRow, 1);
        QCOMPARE(used.rows, 4);
        QCOMPARE(used.columns, 6);
        QCOMPARE(rowsOf(sheet.value(), 1, 6),
                 (QStringList{u"Name|Tab\tbed|Name!|||"_s, u"Mary Ann|2|True||1904-01-01|"_s, u"|||||"_s,
                              u"0.3|Line\r\nTwo_x0041_|#DIV/0!|1/1/1905|| "_s}));
    }

    void xls_readsTheSameContacts_andShowsDatesAsShortDates_data()
    {
        QTest::addColumn<QString>("file");
        QTest::newRow("1900 dates") << u"book.xls"_s;
        QTest::newRow("1904 dates") << u"book1904.xls"_s;
    }

    void xls_readsTheSameContacts_andShowsDatesAsShortDates()
    {
        QFETCH(QString, file);
        const auto book = openBook(path(file));
        QVERIFY(book);
        QCOMPARE(book->sheetNames(), (QStringList{u"People"_s, u"Second"_s}));
        const Result<Worksheet> people = book->sheet(1);
        QVERIFY(people.ok());
        QCOMPARE(rowsOf(people.value(), 1, 6),
                 (QStringList{u"Name|Email|Company|Amount|Joined|"_s,
                              u"Ann|ann@example.com|Acme|12|1/15/2024|1/15/2024 14:05"_s,
                              u"Björn|bjorn@example.com|Nord, AB|0.1|12/31/1999|0.333333333333333"_s,
                              u"Cy|cy@example.com||1234567.5||1E+20"_s}));
        const Result<Worksheet> second = book->sheet(2);
        QVERIFY(second.ok());
        QCOMPARE(second->usedRange().firstRow, 3);
        QCOMPARE(second->usedRange().firstColumn, 2);
        QCOMPARE(second->cellText(4, 2), u"eve@example.com"_s);
    }

    void damagedOrForeignFiles_failAsValues_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("bytes"); // written first when not empty
        QTest::addColumn<bool>("opens");       // the workbook opens and only its sheet fails
        QTest::newRow("text renamed .xls") << u"list.xls"_s << QByteArray("Name,Email\r\nAnn,a@x.org\r\n") << false;
        QTest::newRow("compound file of garbage")
            << u"garbage.xls"_s << QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + QByteArray(2048, '\x7F')
            << false;
        QTest::newRow("zip cut short") << u"cut.xlsx"_s << QByteArray("PK\x03\x04\x14\x00\x00\x00", 8) << false;
        QTest::newRow("zip of no workbook") << u"no_workbook.xlsx"_s << QByteArray() << false;
        QTest::newRow("missing file") << u"absent.xlsx"_s << QByteArray() << false;
        QTest::newRow("missing shared string") << u"bad_string.xlsx"_s << QByteArray() << true;
        QTest::newRow("reference beyond XFD") << u"bad_reference.xlsx"_s << QByteArray() << true;
        QTest::newRow("row beyond the last") << u"bad_row.xlsx"_s << QByteArray() << true;
        QTest::newRow("number that is none") << u"bad_number.xlsx"_s << QByteArray() << true;
        QTest::newRow("sheet not well-formed") << u"bad_xml.xlsx"_s << QByteArray() << true;
    }

    void damagedOrForeignFiles_failAsValues()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, bytes);
        QFETCH(bool, opens);
        if (!bytes.isEmpty()) {
            QVERIFY(TestSupport::writeFile(path(file), bytes));
        }
        Result<std::unique_ptr<Workbook>> book = Workbook::open(path(file));
        QCOMPARE(book.ok(), opens);
        if (opens) {
            QCOMPARE(book.value()->sheetNames().size(), 1);
            const Result<Worksheet> sheet = book.value()->sheet(1);
            QVERIFY(!sheet.ok());
            QCOMPARE(sheet.error().code, int(Workbook::Corrupt));
        }
        QVERIFY(!ExcelImport::readSheet(path(file), 1).ok());
    }

    void headingsComeFromRowOne_rowsFromTheUsedRange()
    {
        const Result<Worksheet> offset = ExcelImport::readSheet(path(u"book.xlsx"_s), 3);
        QVERIFY(offset.ok());
        // The used range C3:D4 (A1 is formatted but holds nothing) has two columns: the names are
        // A1 and B1, both empty.
        QCOMPARE(ExcelImport::ReadSheetHeadings(offset.value()), (QStringList{QString(), QString()}));
        std::array<int, 16> columns = noColumns();
        columns[12] = 0; // e-mail from the range's first column
        columns[0] = 1;
        columns[13] = 1;
        const std::vector<Contact> rows = ExcelImport::importRows(offset.value(), true, columns);
        QCOMPARE(rows.size(), size_t(1));
        QCOMPARE(rows[0].cells[0], u"dee@example.com"_s);
        QCOMPARE(rows[0].cells[1], u"Dee"_s);
        QCOMPARE(rows[0].cells[13], u"Dee"_s);
        QVERIFY(rows[0].checked);
        QVERIFY(rows[0].counted);

        const Result<Worksheet> contacts = ExcelImport::readSheet(path(u"book.xlsx"_s), 1);
        QVERIFY(contacts.ok());
        QCOMPARE(ExcelImport::ReadSheetHeadings(contacts.value()),
                 (QStringList{u"Name"_s, u"Email"_s, u"Company"_s, u"Amount"_s, u"Joined"_s}));
        columns = noColumns();
        columns[12] = 1;
        columns[3] = 2;
        columns[14] = 4;
        QList<int> seen;
        const std::vector<Contact> all =
            ExcelImport::importRows(contacts.value(), false, columns, [&seen](int row) { seen << row; });
        QCOMPARE(seen, (QList<int>{1, 2, 3, 4}));
        QCOMPARE(all.size(), size_t(4)); // unskipped, the heading row is a contact too
        QCOMPARE(all[0].cells[0], u"Email"_s);
        QCOMPARE(all[2].cells[4], u"Nord, AB"_s);
        QCOMPARE(all[3].cells[4], QString());
        QCOMPARE(all[1].cells[14], u"1/15/2024"_s);
    }

    void aSingleCell_givesNoBlockOfValues_andNoRows()
    {
        const Result<Worksheet> single = ExcelImport::readSheet(path(u"book.xlsx"_s), 4);
        QVERIFY(single.ok());
        QCOMPARE(ExcelImport::ReadSheetHeadings(single.value()), QStringList{u"alone"_s});
        QVERIFY(!RangeValues::of(single.value()).has_value());
        std::array<int, 16> columns = noColumns();
        columns[0] = 0;
        QVERIFY(ExcelImport::importRows(single.value(), false, columns).empty());
        // An empty sheet's used range is A1 alone: one nameless column.
        const Result<Worksheet> empty = ExcelImport::readSheet(path(u"book.xlsx"_s), 5);
        QVERIFY(empty.ok());
        QCOMPARE(ExcelImport::ReadSheetHeadings(empty.value()), QStringList{QString()});
    }

    // Parts of a workbook changed at random, a thousand times: each either reads or fails as a
    // value, and what reads stays within the sheet's limits (the sanitizer build runs this too).
    void mutatedParts_readOrFail_neverBeyondTheSheet()
    {
        Result<wordlink::OoxmlPackage> original = wordlink::OoxmlPackage::open(path(u"raw.xlsx"_s));
        QVERIFY(original.ok());
        const QStringList parts{u"book/sheets/one.xml"_s, u"book/strings.xml"_s, u"book/styles.xml"_s,
                                u"book/main.xml"_s, u"book/_rels/main.xml.rels"_s};
        static const char interesting[] = "<>\"/=_x0159AZrtsvc:; \xFF";
        QRandomGenerator random(14);
        int read = 0;
        int failed = 0;
        for (int round = 0; round < 1000; ++round) {
            const QString part = parts.at(round % parts.size());
            QByteArray bytes = original.value().part(part).value();
            for (int change = 0, changes = 1 + random.bounded(4); change < changes; ++change) {
                const qsizetype at = random.bounded(bytes.size());
                switch (random.bounded(3)) {
                case 0:
                    bytes[at] = interesting[random.bounded(int(sizeof interesting) - 1)];
                    break;
                case 1:
                    bytes.remove(at, random.bounded(1, 12));
                    break;
                default:
                    bytes.insert(at, bytes.mid(random.bounded(bytes.size()), random.bounded(1, 40)));
                    break;
                }
            }
            wordlink::OoxmlPackage mutated = wordlink::OoxmlPackage::open(path(u"raw.xlsx"_s)).value();
            mutated.setPart(part, bytes);
            QVERIFY(mutated.saveTo(path(u"mutated.xlsx"_s)).ok());
            const Result<Worksheet> sheet = ExcelImport::readSheet(path(u"mutated.xlsx"_s), 1);
            if (!sheet.ok()) {
                ++failed;
                continue;
            }
            ++read;
            const CellRange used = sheet->usedRange();
            QVERIFY(used.firstRow >= 1 && used.firstRow + used.rows - 1 <= Worksheet::MaxRows);
            QVERIFY(used.firstColumn >= 1 && used.firstColumn + used.columns - 1 <= Worksheet::MaxColumns);
            std::array<int, 16> columns = noColumns();
            columns[12] = 0;
            columns[0] = used.columns - 1;
            const std::vector<Contact> rows = ExcelImport::importRows(sheet.value(), false, columns);
            QVERIFY(rows.size() <= size_t(used.rows));
            QCOMPARE(ExcelImport::ReadSheetHeadings(sheet.value()).size(), qsizetype(used.columns));
        }
        QVERIFY2(read > 100 && failed > 100, qPrintable(u"%1 read, %2 failed"_s.arg(read).arg(failed)));
    }

    void chooseSheet_afterListing()
    {
        const QStringList names{u"One"_s, u"Two"_s, u"two"_s};
        QCOMPARE(ExcelImport::chooseSheet(names, QString(), u"/a.xls"_s, u"Two"_s), 0);
        QCOMPARE(ExcelImport::chooseSheet(names, u"/b.xls"_s, u"/a.xls"_s, u"Two"_s), -1);
        QCOMPARE(ExcelImport::chooseSheet(names, u"/a.xls"_s, u"/a.xls"_s, u"two"_s), 2);
        QCOMPARE(ExcelImport::chooseSheet(names, u"/a.xls"_s, u"/a.xls"_s, QString()), 0);
        QCOMPARE(ExcelImport::chooseSheet(names, u"/a.xls"_s, u"/a.xls"_s, u"Gone"_s), -1);
        QCOMPARE(ExcelImport::chooseSheet({}, QString(), u"/a.xls"_s, QString()), -1);
    }
    void xls_aReaderThatCrashesOrBreaksOff_endsTheStage()
    {
        // The .xls library runs in a program of its own: whatever it does on a damaged file,
        // the stage ends with an error value.
        QTemporaryDir dir;
        const QString book = dir.filePath(u"book.xls"_s);
        XlsWorkbook::setReaderProgram(TestSupport::writeShellScript(dir.filePath(u"crash.sh"_s), "kill -SEGV $$\n"));
        Result<std::unique_ptr<Workbook>> crashed = XlsWorkbook::open(book);
        QVERIFY(!crashed.ok());
        QCOMPARE(crashed.error().code, int(Workbook::Corrupt));

        XlsWorkbook::setReaderProgram(TestSupport::writeShellScript(
            dir.filePath(u"cut.sh"_s),
            "if [ \"$1\" = sheets ]; then printf '2:OK1:01:15:Sheet3:END'; else printf '2:OK1:11:1'; fi\n"));
        Result<std::unique_ptr<Workbook>> listed = XlsWorkbook::open(book);
        QVERIFY(listed.ok());
        QCOMPARE(listed.value()->sheetNames(), QStringList{u"Sheet"_s});
        const Result<Worksheet> cut = listed.value()->sheet(1);
        QVERIFY(!cut.ok());
        QCOMPARE(cut.error().code, int(Workbook::Corrupt));

        XlsWorkbook::setReaderProgram(dir.filePath(u"missing"_s));
        QCOMPARE(XlsWorkbook::open(book).error().code, int(Workbook::Unreadable));
        XlsWorkbook::setReaderProgram({});
    }
};

QTEST_GUILESS_MAIN(WorkbookTest)
#include "tst_workbook.moc"
