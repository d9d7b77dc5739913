#include "DelimitedText.h"

#include "MergeFieldTable.h"
#include "core/PlainFile.h"
#include "core/TextDecoding.h"
#include "core/TextUtil.h"

using namespace Qt::StringLiterals;

namespace DelimitedText {

namespace {

constexpr QChar Quote{u'"'};
constexpr QChar Tab{u'\t'};

// Split at every tab, quotes left alone; an empty line has no fields at all.
QStringList splitTabs(QStringView line)
{
    QStringList fields;
    if (line.isEmpty()) {
        return fields;
    }
    qsizetype start = 0;
    for (qsizetype tab = line.indexOf(Tab); tab >= 0; tab = line.indexOf(Tab, start)) {
        fields << line.sliced(start, tab - start).toString();
        start = tab + 1;
    }
    fields << line.sliced(start).toString();
    return fields;
}

// Turns the placeholder back into `quotes` (two quotes in every field but the last, one there).
QString restoreQuotes(QStringView field, const QString& quotes)
{
    QString text = field.toString();
    if (text.contains(Placeholder)) {
        text.replace(Placeholder, quotes);
    }
    return text;
}

// Collects the rows of the lines handed to it, one line at a time.
class RowCollector
{
public:
    RowCollector(TextKind kind, const std::array<int, 16>& columnOfMapIndex,
                 const std::function<void(qsizetype lineNumber)>& afterLine, qsizetype expectedLines)
        : m_kind(kind)
        , m_columns(columnOfMapIndex)
        , m_afterLine(afterLine)
    {
        m_rows.reserve(static_cast<size_t>(expectedLines));
    }

    void take(QStringView line, qsizetype lineNumber)
    {
        if (auto row = AddTextRow(line, m_kind, m_columns)) {
            m_rows.push_back(std::move(*row));
        }
        if (m_afterLine) {
            m_afterLine(lineNumber);
        }
    }

    std::vector<Contact> rows() { return std::move(m_rows); }

private:
    TextKind m_kind;
    const std::array<int, 16>& m_columns;
    const std::function<void(qsizetype lineNumber)>& m_afterLine;
    std::vector<Contact> m_rows;
};

} // namespace

SplitFields PSplit(QStringView line)
{
    if (line.isEmpty()) {
        return {SplitFields::State::Unset, {}};
    }
    // Every doubled quote becomes the placeholder first; that is all the handling they get.
    QString replaced;
    QStringView s = line;
    if (line.contains(u"\"\""_s)) {
        replaced = line.toString();
        replaced.replace(u"\"\""_s, QString(Placeholder));
        s = replaced;
    }
    const QString twoQuotes = u"\"\""_s;
    // The part of the line still to split starts at `rest`: each field is taken off its front.
    SplitFields result;
    result.fields.reserve(16);
    qsizetype rest = 0;
    QStringView last;
    while (true) {
        const qsizetype comma = s.indexOf(u',', rest);
        if (comma < 0) {
            last = s.sliced(rest);
            break;
        }
        if (!s.sliced(rest, comma - rest).contains(Quote)) {
            // No quote before the comma (none at all, or one behind it).
            result.fields << restoreQuotes(s.sliced(rest, comma - rest), twoQuotes);
            rest = comma + 1;
            continue;
        }
        const qsizetype opening = s.indexOf(Quote, rest);
        const qsizetype closing = s.indexOf(Quote, opening + 1);
        if (closing < 0) {
            // An unterminated quote: the line cannot be split and adds no row.
            return {SplitFields::State::Failed, {}};
        }
        if (closing == s.size() - 1) {
            // The closing quote ends the line: the rest loses its first and last character.
            last = s.sliced(rest + 1, closing - rest - 1);
            break;
        }
        // Up to the closing quote, less the rest's first character (taken for the opening quote,
        // whatever it is) and the quote; the character behind the quote goes as if it were the comma.
        result.fields << restoreQuotes(s.sliced(rest + 1, closing - rest - 1), twoQuotes);
        rest = closing + 2;
    }
    result.fields << restoreQuotes(last, QString(Quote));
    return result;
}

QString StripQuotes(const QString& field)
{
    QString text = TextUtil::trimSpaces(field);
    if (text.startsWith(Quote)) {
        text.remove(0, 1);
    }
    if (text.endsWith(Quote)) {
        text.chop(1);
    }
    return text;
}

LineReader::LineReader(QStringView text, TextKind kind)
    : m_text(text)
    , m_quoted(kind == TextKind::Comma)
{
}

QStringView LineReader::readLine()
{
    const qsizetype start = m_position;
    const qsizetype end = endOfLine(start);
    m_position = end + 1;
    if (end + 1 < m_text.size() && m_text.at(end) == u'\r' && m_text.at(end + 1) == u'\n') {
        ++m_position;
    }
    return m_text.sliced(start, end - start);
}

qsizetype LineReader::endOfLine(qsizetype start) const
{
    bool fieldStart = true;
    for (qsizetype i = start; i < m_text.size(); ++i) {
        const QChar c = m_text.at(i);
        if (c == u'\r' || c == u'\n') {
            return i;
        }
        if (m_quoted && c == Quote && fieldStart) {
            // A quoted field: its closing quote is the first one that is not half of a "" pair.
            qsizetype closing = m_text.indexOf(Quote, i + 1);
            while (closing >= 0 && closing + 1 < m_text.size() && m_text.at(closing + 1) == Quote) {
                closing = m_text.indexOf(Quote, closing + 2);
            }
            const QStringView inside = closing < 0 ? QStringView() : m_text.sliced(i, closing - i);
            const bool holdsLineBreak = inside.contains(u'\r') || inside.contains(u'\n');
            if (closing >= 0 && (!holdsLineBreak || closesField(closing))) {
                i = closing;
                fieldStart = false;
                continue;
            }
        }
        fieldStart = c == u',';
    }
    return m_text.size();
}

bool LineReader::closesField(qsizetype closingQuote) const
{
    const qsizetype next = closingQuote + 1;
    if (next >= m_text.size()) {
        return true;
    }
    const QChar c = m_text.at(next);
    return c == u',' || c == u'\r' || c == u'\n';
}

int CountFileLines(const QByteArray& bytes)
{
    const auto ends = static_cast<int>(bytes.count('\n') + bytes.count('\r') - bytes.count("\r\n"));
    return ends == 0 ? 1 : ends;
}

QStringList headerColumns(QStringView firstLine, TextKind kind)
{
    if (kind == TextKind::Tab) {
        return splitTabs(firstLine);
    }
    QString line = firstLine.toString();
    line.remove(Quote);
    return line.isEmpty() ? QStringList() : line.split(u',');
}

std::optional<Contact> AddTextRow(QStringView line, TextKind kind, const std::array<int, 16>& columnOfMapIndex)
{
    // A line break kept inside a quoted field is written as LF whatever the file's line ends,
    // so a list gives the same contacts with CR LF, CR or LF ends (the splitter drops the one
    // character after a closing quote, which would otherwise be half of a CR LF).
    QString unifiedBreaks;
    if (line.contains(u'\r')) {
        unifiedBreaks = line.toString().replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
        line = unifiedBreaks;
    }
    const SplitFields split =
        kind == TextKind::Tab ? SplitFields{SplitFields::State::Fields, splitTabs(line)} : PSplit(line);
    if (split.state == SplitFields::State::Failed) {
        return std::nullopt;
    }
    const QStringList& fields = split.fields;
    Contact row;
    const int emailColumn = columnOfMapIndex[MergeFieldTable::EmailMapIndex];
    if (emailColumn != -1) {
        if (split.state == SplitFields::State::Unset || emailColumn >= fields.size()) {
            return std::nullopt;
        }
        row.cells[0] = StripQuotes(fields.at(emailColumn));
    }
    if (split.state == SplitFields::State::Unset) {
        // The row stands with its empty address, unchecked and uncounted, and nothing else.
        row.checked = false;
        row.counted = false;
        return row;
    }
    for (int mapIndex = 0; mapIndex < MergeFieldTable::CellCount; ++mapIndex) {
        if (mapIndex == MergeFieldTable::EmailMapIndex) {
            continue;
        }
        const int column = columnOfMapIndex[mapIndex];
        if (column == -1 || column >= fields.size()) {
            continue;
        }
        const QString& field = fields.at(column);
        row.cells[MergeFieldTable::cellOfMapIndex(mapIndex)] = field.contains(Quote) ? StripQuotes(field) : field;
    }
    return row;
}

std::vector<Contact> importRows(QStringView text, TextKind kind, bool skipFirst,
                                const std::array<int, 16>& columnOfMapIndex,
                                const std::function<void(qsizetype lineNumber)>& afterLine)
{
    RowCollector collector(kind, columnOfMapIndex, afterLine, qMax(text.count(u'\n'), text.count(u'\r')) + 1);
    LineReader reader(text, kind);
    qsizetype lineNumber = 0;
    if (skipFirst && !reader.atEnd()) {
        reader.readLine();
        ++lineNumber;
    }
    while (!reader.atEnd()) {
        collector.take(reader.readLine(), ++lineNumber);
    }
    return collector.rows();
}

QStringList firstLineColumns(QStringView text, TextKind kind)
{
    LineReader reader(text, kind);
    return reader.atEnd() ? QStringList() : headerColumns(reader.readLine(), kind);
}

Result<QString> readText(const QString& path, QByteArray* rawBytes)
{
    Result<QByteArray> bytes = PlainFile::read(path);
    if (!bytes.ok()) {
        return bytes.error();
    }
    if (rawBytes != nullptr) {
        *rawBytes = bytes.value();
    }
    return TextDecoding::decode(bytes.value());
}

} // namespace DelimitedText
