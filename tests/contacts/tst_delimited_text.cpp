#include "TestSupport.h"
#include "contacts/DelimitedText.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

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
    void psplit_followsItsRules()
    {
        const struct
        {
            QString line;
            QStringList fields;
        } cases[] = {
            {u"\"Smith, John\",x"_s, {u"Smith, John"_s, u"x"_s}},
            {u"a,\"b,c\",d"_s, {u"a"_s, u"b,c"_s, u"d"_s}},
            {u"a,\"b\""_s, {u"a"_s, u"\"b\""_s}}, // the last field keeps its quotes
            {u"\"a,b\""_s, {u"a,b"_s}},           // a closing quote ends the line
            {u"x,y\"z"_s, {u"x"_s, u"y\"z"_s}},
            // Earlier fields keep two quotes, the last one gets one.
            {u"\"say \"\"hi\"\", ok\",2"_s, {u"say \"\"hi\"\", ok"_s, u"2"_s}},
            {u"1,\"say \"\"hi\"\"\""_s, {u"1"_s, u"\"say \"hi\"\""_s}},
            {u"\"a\"b,c"_s, {u"a"_s, QString(), u"c"_s}},     // the character after a closing quote is dropped
            {u"ab\"cd\",e"_s, {u"b\"cd"_s, u"e"_s}},          // text before an opening quote loses its first one
            {u"x\u00b2y,z\u00b2"_s, {u"x\"\"y"_s, u"z\""_s}}, // a real superscript two comes out as quotes
            {u"a\"\"b,c"_s, {u"a\"\"b"_s, u"c"_s}},           // a doubled quote alone is no opening quote
            {u"alone"_s, {u"alone"_s}},
            {u",,"_s, {QString(), QString(), QString()}},
        };
        for (const auto& row : cases) {
            const SplitFields split = DelimitedText::PSplit(row.line);
            QVERIFY2(split.state == SplitFields::State::Fields, qPrintable(row.line));
            QCOMPARE(split.fields, row.fields);
        }
        QCOMPARE(DelimitedText::PSplit(QString()).state, SplitFields::State::Unset);
        // Nothing consumed yet, and after fields were taken: both fail instead of looping.
        QCOMPARE(DelimitedText::PSplit(u"\"open,b"_s).state, SplitFields::State::Failed);
        QCOMPARE(DelimitedText::PSplit(u"a,b,\"open,c"_s).state, SplitFields::State::Failed);
    }

    void stripQuotes_trimsThenDropsOneQuoteEachSide()
    {
        QCOMPARE(DelimitedText::StripQuotes(u"  \"Ann\"  "_s), u"Ann"_s);
        QCOMPARE(DelimitedText::StripQuotes(u"\"\"Ann\"\""_s), u"\"Ann\""_s);
        QCOMPARE(DelimitedText::StripQuotes(u"\""_s), QString());
        QCOMPARE(DelimitedText::StripQuotes(u"\tAnn\t"_s), u"\tAnn\t"_s);
    }

    void lines_endAtCrLfCrOrLf_andAQuotedBreakStaysInItsField()
    {
        const auto lines = [](const QString& text, TextKind kind) {
            QStringList read;
            DelimitedText::LineReader reader(text, kind);
            while (!reader.atEnd()) {
                read << reader.readLine().toString();
            }
            return read;
        };
        QCOMPARE(lines(u"a\r\nb\rc\nd\r\n"_s, TextKind::Tab), (QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
        QCOMPARE(lines(u"a\n\nb"_s, TextKind::Comma), (QStringList{u"a"_s, QString(), u"b"_s}));
        QCOMPARE(lines(u"Ann,\"1 High St\r\nLeeds\",a@x.org\nBob"_s, TextKind::Comma),
                 (QStringList{u"Ann,\"1 High St\r\nLeeds\",a@x.org"_s, u"Bob"_s}));
        // A doubled quote inside the field does not close it before its line break.
        QCOMPARE(lines(u"Ann,\"the \"\"Quay\"\"\nLeeds\",a@x.org\nBob"_s, TextKind::Comma),
                 (QStringList{u"Ann,\"the \"\"Quay\"\"\nLeeds\",a@x.org"_s, u"Bob"_s}));
        // A tab list has no quoting; a quote that nothing closes does not swallow the lines after it.
        QCOMPARE(lines(u"\"a\nb\""_s, TextKind::Tab), (QStringList{u"\"a"_s, u"b\""_s}));
        QCOMPARE(lines(u"Ann,\"open\nBob,b@x.org\n"_s, TextKind::Comma),
                 (QStringList{u"Ann,\"open"_s, u"Bob,b@x.org"_s}));
        QCOMPARE(DelimitedText::CountFileLines("a\r\nb\r\nc"), 2);
        QCOMPARE(DelimitedText::CountFileLines("a\nb\rc"), 2);
        QCOMPARE(DelimitedText::CountFileLines(""), 1);
    }

    void files_readAsUtf8WithOrWithoutMark_elseWindows1252()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"list.csv"_s);
        for (const QByteArray& bytes :
             {QByteArray("\xEF\xBB\xBFName,Email\r\nBj\xC3\xB6rn \xC3\x89lo\xC3\xAFse,b@x.org\r\n"),
              QByteArray("Name,Email\r\nBj\xC3\xB6rn \xC3\x89lo\xC3\xAFse,b@x.org\r\n"),
              QByteArray("Name,Email\r\nBj\xF6rn \xC9lo\xEFse,b@x.org\r\n")}) {
            QVERIFY(TestSupport::writeFile(path, bytes));
            QByteArray raw;
            const Result<QString> text = DelimitedText::readText(path, &raw);
            QVERIFY(text.ok());
            QCOMPARE(raw, bytes);
            // The mark is no part of the first column's name.
            QCOMPARE(DelimitedText::firstLineColumns(text.value(), TextKind::Comma),
                     (QStringList{u"Name"_s, u"Email"_s}));
            const std::vector<Contact> rows =
                DelimitedText::importRows(text.value(), TextKind::Comma, true, nameEmailCompany());
            QCOMPARE(rows.size(), size_t{1});
            QCOMPARE(rows.front().cells[0], u"b@x.org"_s);
            QCOMPARE(rows.front().cells[1], u"Bj\u00f6rn \u00c9lo\u00efse"_s);
        }
    }

    void onlyPlainFilesAreRead_aFolderOrAPipeSaysWhy()
    {
        QTemporaryDir dir;
        QVERIFY(!DelimitedText::readText(dir.filePath(u"missing.csv"_s)).ok());
        const Result<QString> folder = DelimitedText::readText(dir.path());
        QVERIFY(!folder.ok());
        QVERIFY(folder.error().message.contains(u"folder"_s));
        // Nobody writes to the pipe: reading it would wait for ever.
        const QString pipe = dir.filePath(u"pipe.csv"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const Result<QString> special = DelimitedText::readText(pipe);
        QVERIFY(!special.ok());
        QVERIFY(special.error().message.contains(u"not a plain file"_s));
    }

    void importRows_readsLineByLine_andPassesOverLinesThatAddNoRow()
    {
        std::array<int, 16> columns = nameEmailCompany();
        // A quoted line break stays in its field; CR, LF and CR LF end lines; a closing line
        // end adds no empty line; a line with an open quote or without the address adds no row.
        const QString text = u"Name,Email\r\nAnn,ann@x.org,\"A\nB\"\rBob,\"bob@x.org,Co\r\nCy\nDi,di@x.org\r\n"_s;
        QList<qsizetype> numbers;
        const std::vector<Contact> rows = DelimitedText::importRows(text, TextKind::Comma, true, columns,
                                                                    [&numbers](qsizetype line) { numbers << line; });
        QCOMPARE(numbers, (QList<qsizetype>{2, 3, 4, 5}));
        QCOMPARE(rows.size(), size_t{2});
        QCOMPARE(rows[0].cells[4], u"A\nB"_s);
        QCOMPARE(rows[1].cells[0], u"di@x.org"_s);
        // Without "Skip First Row" the header is a contact too; LF line ends give the same rows.
        const std::vector<Contact> withHeader = DelimitedText::importRows(text, TextKind::Comma, false, columns);
        QCOMPARE(withHeader.size(), size_t{3});
        QCOMPARE(withHeader[0].cells[0], u"Email"_s);
        QString lineFeeds = text;
        lineFeeds.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
        const std::vector<Contact> fromLineFeeds =
            DelimitedText::importRows(lineFeeds, TextKind::Comma, false, columns);
        QCOMPARE(fromLineFeeds.size(), withHeader.size());
        QCOMPARE(fromLineFeeds[2].cells, withHeader[2].cells);
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
