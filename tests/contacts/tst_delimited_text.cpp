#include "TestSupport.h"
#include "contacts/DelimitedText.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Map index -> column: first name from column 0, e-mail from column 1, company from column 2.
std::array<int, 16> nameEmailCompany()
{
    std::array<int, 16> columns;
    columns.fill(-1);
    columns[0] = 0;
    columns[12] = 1;
    columns[3] = 2;
    return columns;
}

} // namespace

class DelimitedTextTest : public QObject
{
    Q_OBJECT

private slots:
    void psplit_followsItsRules_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QStringList>("fields");
        QTest::newRow("plain") << u"a,b,c"_s << QStringList{u"a"_s, u"b"_s, u"c"_s};
        QTest::newRow("quoted comma first") << u"\"Smith, John\",x"_s << QStringList{u"Smith, John"_s, u"x"_s};
        QTest::newRow("quoted comma inside") << u"a,\"b,c\",d"_s << QStringList{u"a"_s, u"b,c"_s, u"d"_s};
        QTest::newRow("last field keeps its quotes") << u"a,\"b\""_s << QStringList{u"a"_s, u"\"b\""_s};
        QTest::newRow("closing quote ends the line") << u"\"a,b\""_s << QStringList{u"a,b"_s};
        QTest::newRow("quote after the comma") << u"x,y\"z"_s << QStringList{u"x"_s, u"y\"z"_s};
        QTest::newRow("earlier fields keep two quotes")
            << u"\"say \"\"hi\"\", ok\",2"_s << QStringList{u"say \"\"hi\"\", ok"_s, u"2"_s};
        QTest::newRow("the last field gets one quote")
            << u"1,\"say \"\"hi\"\"\""_s << QStringList{u"1"_s, u"\"say \"hi\"\""_s};
        QTest::newRow("character after a closing quote is dropped")
            << u"\"a\"b,c"_s << QStringList{u"a"_s, QString(), u"c"_s};
        QTest::newRow("text before an opening quote loses its first character")
            << u"ab\"cd\",e"_s << QStringList{u"b\"cd"_s, u"e"_s};
        QTest::newRow("a real superscript two comes out as quotes")
            << u"x²y,z²"_s << QStringList{u"x\"\"y"_s, u"z\""_s};
        QTest::newRow("no comma") << u"alone"_s << QStringList{u"alone"_s};
        QTest::newRow("empty fields") << u",,"_s << QStringList{QString(), QString(), QString()};
    }

    void psplit_followsItsRules()
    {
        QFETCH(QString, line);
        QFETCH(QStringList, fields);
        const SplitFields split = DelimitedText::PSplit(line);
        QCOMPARE(split.state, SplitFields::State::Fields);
        QCOMPARE(split.fields, fields);
    }

    void psplit_emptyAndUnterminatedLines()
    {
        QCOMPARE(DelimitedText::PSplit(QString()).state, SplitFields::State::Unset);
        // Nothing consumed yet, and after fields were taken: both fail instead of looping.
        QCOMPARE(DelimitedText::PSplit(u"\"open,b"_s).state, SplitFields::State::Failed);
        QCOMPARE(DelimitedText::PSplit(u"a,b,\"open,c"_s).state, SplitFields::State::Failed);
        // A doubled quote alone is a placeholder, not an opening quote.
        QCOMPARE(DelimitedText::PSplit(u"a\"\"b,c"_s).fields, (QStringList{u"a\"\"b"_s, u"c"_s}));
    }

    void stripQuotes_trimsThenDropsOneQuoteEachSide()
    {
        QCOMPARE(DelimitedText::StripQuotes(u"  \"Ann\"  "_s), u"Ann"_s);
        QCOMPARE(DelimitedText::StripQuotes(u"\"\"Ann\"\""_s), u"\"Ann\""_s);
        QCOMPARE(DelimitedText::StripQuotes(u"\""_s), QString());
        QCOMPARE(DelimitedText::StripQuotes(u"\tAnn\t"_s), u"\tAnn\t"_s);
    }

    void lines_endAtCrOrCrLf_notAtLoneLf()
    {
        QCOMPARE(DelimitedText::splitLines(u"a\r\nb\rc\nd\r\n"_s), (QStringList{u"a"_s, u"b"_s, u"c\nd"_s}));
        QCOMPARE(DelimitedText::splitLines(u"a\r\n\r\nb"_s), (QStringList{u"a"_s, QString(), u"b"_s}));
        QCOMPARE(DelimitedText::CountFileLines("a\r\nb\r\nc"), 2);
        QCOMPARE(DelimitedText::CountFileLines("a\nb\rc"), 1);
    }

    void header_splitsDifferentlyFromTheRows()
    {
        QCOMPARE(DelimitedText::headerColumns(u"\"Name\",\"Town, State\",Email"_s, TextKind::Comma),
                 (QStringList{u"Name"_s, u"Town"_s, u" State"_s, u"Email"_s}));
        QCOMPARE(DelimitedText::headerColumns(u"\"Name\"\tEmail"_s, TextKind::Tab),
                 (QStringList{u"\"Name\""_s, u"Email"_s}));
        QVERIFY(DelimitedText::headerColumns(QString(), TextKind::Comma).isEmpty());
    }

    void rows_takeTheirMappedColumns()
    {
        const auto row =
            DelimitedText::AddTextRow(u"Ann ,\"ann@x.org\",\"Acme, Inc\""_s, TextKind::Comma, nameEmailCompany());
        QVERIFY(row);
        QCOMPARE(row->cells[0], u"ann@x.org"_s);
        QCOMPARE(row->cells[1], u"Ann "_s);      // no quote: left as it stands, blanks included
        QCOMPARE(row->cells[4], u"Acme, Inc"_s); // the last field keeps its quotes, stripped here
        QVERIFY(row->checked);
        QVERIFY(row->counted);

        // A blank before a quoted field is taken for its opening character: the span then swallows
        // the next comma's field and the company comes out empty.
        const auto shifted =
            DelimitedText::AddTextRow(u"Ann, \"ann@x.org\" ,\"Acme\""_s, TextKind::Comma, nameEmailCompany());
        QVERIFY(shifted);
        QCOMPARE(shifted->cells[0], u"ann@x.org"_s);
        QCOMPARE(shifted->cells[4], QString());

        // Too few fields: the missing company is empty, the row stands.
        const auto shortRow = DelimitedText::AddTextRow(u"Bob,bob@x.org"_s, TextKind::Comma, nameEmailCompany());
        QVERIFY(shortRow);
        QCOMPARE(shortRow->cells[4], QString());
        // The e-mail column missing: no row at all.
        QVERIFY(!DelimitedText::AddTextRow(u"Cy"_s, TextKind::Comma, nameEmailCompany()));
        // An unterminated quote: no row, and the import can go on.
        QVERIFY(!DelimitedText::AddTextRow(u"Di,\"di@x.org,Acme"_s, TextKind::Comma, nameEmailCompany()));
    }

    void tabRows_stripQuotesOnlyFromFieldsThatHoldOne()
    {
        const auto row =
            DelimitedText::AddTextRow(u" Ann \t\"ann@x.org\"\tsay \"hi\" there "_s, TextKind::Tab, nameEmailCompany());
        QVERIFY(row);
        QCOMPARE(row->cells[1], u" Ann "_s);
        QCOMPARE(row->cells[0], u"ann@x.org"_s);
        QCOMPARE(row->cells[4], u"say \"hi\" there"_s);
        // A quote at an end after trimming is dropped, even when it closes a quoted word.
        const auto ending = DelimitedText::AddTextRow(u"x\ty@z\tsay \"hi\" "_s, TextKind::Tab, nameEmailCompany());
        QCOMPARE(ending->cells[4], u"say \"hi"_s);
    }

    void blankLines_dependOnTheKindAndTheAddressColumn()
    {
        std::array<int, 16> noEmail = nameEmailCompany();
        noEmail[12] = -1;
        QVERIFY(!DelimitedText::AddTextRow(QString(), TextKind::Comma, nameEmailCompany()));
        QVERIFY(!DelimitedText::AddTextRow(QString(), TextKind::Tab, nameEmailCompany()));
        const auto comma = DelimitedText::AddTextRow(QString(), TextKind::Comma, noEmail);
        QVERIFY(comma);
        QVERIFY(!comma->checked);
        QVERIFY(!comma->counted);
        const auto tab = DelimitedText::AddTextRow(QString(), TextKind::Tab, noEmail);
        QVERIFY(tab);
        QVERIFY(tab->checked);
    }
};

QTEST_GUILESS_MAIN(DelimitedTextTest)
#include "tst_delimited_text.moc"
