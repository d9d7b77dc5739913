#include "TestSupport.h"
#include "contacts/DelimitedText.h"
#include "contacts/TextSource.h"

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

private:
    QTemporaryDir m_dir;

    QString write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        return TestSupport::writeFile(path, bytes) ? path : QString();
    }

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }
    void init() { TestSupport::resetSettings(); }

    void psplit_followsItsRules()
    {
        const std::pair<QString, QStringList> cases[] = {
            {u"\"Smith, John\",x"_s, {u"Smith, John"_s, u"x"_s}},
            {u"a,\"b\""_s, {u"a"_s, u"\"b\""_s}}, // the last field keeps its quotes
        };
        for (const auto& [line, fields] : cases) {
            const SplitFields split = DelimitedText::PSplit(line);
            QVERIFY2(split.state == SplitFields::State::Fields, qPrintable(line));
            QCOMPARE(split.fields, fields);
        }
        QCOMPARE(DelimitedText::PSplit(QString()).state, SplitFields::State::Unset);
        // Nothing consumed yet, and after fields were taken: both fail instead of looping.
        QCOMPARE(DelimitedText::PSplit(u"\"open,b"_s).state, SplitFields::State::Failed);
        QCOMPARE(DelimitedText::PSplit(u"a,b,\"open,c"_s).state, SplitFields::State::Failed);
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
        QCOMPARE(lines(u"Ann,\"1 High St\r\nLeeds\",a@x.org\nBob"_s, TextKind::Comma),
                 (QStringList{u"Ann,\"1 High St\r\nLeeds\",a@x.org"_s, u"Bob"_s}));
        // A doubled quote inside the field does not close it before its line break.
        QCOMPARE(lines(u"Ann,\"the \"\"Quay\"\"\nLeeds\",a@x.org\nBob"_s, TextKind::Comma),
                 (QStringList{u"Ann,\"the \"\"Quay\"\"\nLeeds\",a@x.org"_s, u"Bob"_s}));
        // A tab list has no quoting; a quote that nothing closes does not swallow the lines after it.
        QCOMPARE(lines(u"\"a\nb\""_s, TextKind::Tab), (QStringList{u"\"a"_s, u"b\""_s}));
        QCOMPARE(lines(u"Ann,\"open\nBob,b@x.org\n"_s, TextKind::Comma),
                 (QStringList{u"Ann,\"open"_s, u"Bob,b@x.org"_s}));
    }

    void onlyPlainFilesAreRead_aFolderOrAPipeSaysWhy()
    {
        QCOMPARE(TextSource::open(m_dir.filePath(u"gone.csv"_s), TextKind::Comma).error().code,
                 int(ErrorCode::FileMissing));
        const Result<TextSource::OpenedList> folder = TextSource::open(m_dir.path(), TextKind::Comma);
        QCOMPARE(folder.error().code, int(ErrorCode::NotAFile));
        QVERIFY(folder.error().message.contains(u"folder"_s));
        // Nobody writes to the pipe: reading it would wait for ever.
        const QString pipe = m_dir.filePath(u"pipe.csv"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const Result<QString> special = DelimitedText::readText(pipe);
        QVERIFY(!special.ok() && special.error().message.contains(u"not a plain file"_s));
        const QString empty = write(u"empty.csv"_s, {});
        const Result<TextSource::OpenedList> none = TextSource::open(empty, TextKind::Comma);
        QCOMPARE(none.error().code, int(ErrorCode::NoContacts));
        QVERIFY(none.error().message.contains(empty));
    }

    // The wizard opens a list for its columns and reads its rows on a later Next: the rows are
    // those of the file as it is then, read in the program's text decoding.
    void lists_readAsUtf8ElseWindows1252_andAsTheyAreWhenTheRowsAreRead()
    {
        const QString path = write(u"list.csv"_s, "\xEF\xBB\xBFName,Email\nAnn,ann@x.org\n");
        const Result<TextSource::OpenedList> opened = TextSource::open(path, TextKind::Comma);
        QCOMPARE(opened->columns, (QStringList{u"Name"_s, u"Email"_s})); // the mark is no part of a name
        FieldMap map;
        map.setColumns(opened->columns);
        map.listIndex = nameEmailCompany();
        write(u"list.csv"_s, "Name,Email\r\nBj\xF6rn \xC9lo\xEFse,b@x.org\r\nCy,c@x.org\r\n"); // Windows-1252 now
        int lines = 0;
        const std::vector<Contact> rows =
            TextSource::readRows(path, TextKind::Comma, true, map, [&lines](int count) { lines = count; });
        QCOMPARE(lines, 3);
        QCOMPARE(rows.size(), size_t(2));
        QCOMPARE(rows.front().cells[0], u"b@x.org"_s);
        QCOMPARE(rows.front().cells[1], u"Bj\u00f6rn \u00c9lo\u00efse"_s);
        QVERIFY(TextSource::readRows(m_dir.filePath(u"gone.csv"_s), TextKind::Comma, true, map).empty());
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
        // LF line ends give the same rows.
        QString lineFeeds = text;
        lineFeeds.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
        const std::vector<Contact> fromLineFeeds = DelimitedText::importRows(lineFeeds, TextKind::Comma, true, columns);
        QCOMPARE(fromLineFeeds.size(), rows.size());
        QCOMPARE(fromLineFeeds[0].cells, rows[0].cells);
    }

    void rows_takeTheirMappedColumns_andTheHeaderSplitsOtherwise()
    {
        const auto row = [](const QString& line, TextKind kind = TextKind::Comma) {
            return DelimitedText::AddTextRow(line, kind, nameEmailCompany());
        };
        const auto comma = row(u"Ann ,\"ann@x.org\",\"Acme, Inc\""_s);
        QVERIFY(comma && comma->checked && comma->counted);
        QCOMPARE(comma->cells[0], u"ann@x.org"_s);
        QCOMPARE(comma->cells[1], u"Ann "_s);      // no quote: left as it stands, blanks included
        QCOMPARE(comma->cells[4], u"Acme, Inc"_s); // the last field keeps its quotes, stripped here
        QVERIFY(!row(u"Cy"_s));                    // the e-mail column missing: no row

        // The header deletes quotes and splits at every comma.
        QCOMPARE(DelimitedText::headerColumns(u"\"Name\",\"Town, State\",Email"_s, TextKind::Comma),
                 (QStringList{u"Name"_s, u"Town"_s, u" State"_s, u"Email"_s}));
    }
};

QTEST_GUILESS_MAIN(DelimitedTextTest)
#include "tst_delimited_text.moc"
