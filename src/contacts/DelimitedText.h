#pragma once

#include "ContactTable.h"
#include "core/Result.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <optional>
#include <vector>

// The two text sources, told apart by a kind: fields split at every tab, or at commas with
// the quoted-field rules of PSplit.
enum class TextKind
{
    Tab,
    Comma
};

// The fields of one line as the splitter hands them over. An empty comma line gives no array
// at all ("Unset"), which the row builder trips over; an unterminated quote gives "Failed".
struct SplitFields
{
    enum class State
    {
        Fields,
        Unset,
        Failed
    };
    State state = State::Fields;
    QStringList fields;
};

namespace DelimitedText {

// The character that stands in for a doubled quote while a line is split: the superscript two.
inline constexpr QChar Placeholder{0x00B2};

// Splits a comma line. Rules, faults included: "" pairs become one placeholder first; a quote
// before the next comma opens a span closed only by the next quote, and the span loses its
// first and last character whatever they are; one character after a closing quote is dropped;
// only the last field turns a doubled quote back into one quote, earlier fields keep two; the
// last field keeps quotes around it. An unterminated quote fails the line.
SplitFields PSplit(QStringView line);

// Trims blanks, then drops one double quote at the start and one at the end.
QString StripQuotes(const QString& field);

// Reads a text's lines one by one: a line ends at CR LF, at a lone CR or at a lone LF, so lists
// written with either line end read alike. In a comma list a field that begins with a double
// quote (at the line's start or after a comma) runs to the quote that closes it, "" standing for
// one quote, and a line break inside it belongs to the field, as in RFC 4180:
//     Ann,"12 Main St<LF>Springfield",ann@x.org  #=> one line, the address on two lines
// Such a field spans a line break only when its closing quote is followed by a comma, a line end
// or the end of the text; otherwise its quote is a plain character, so a stray quote never joins
// one contact's line to the next. A tab list has no quoting. A text that ends with a line end
// has no empty line behind it.
class LineReader
{
public:
    LineReader(QStringView text, TextKind kind);
    bool atEnd() const { return m_position >= m_text.size(); }
    QStringView readLine();

private:
    qsizetype endOfLine(qsizetype start) const;
    bool closesField(qsizetype closingQuote) const;

    QStringView m_text;
    bool m_quoted; // a comma list
    qsizetype m_position = 0;
};

// The number of line ends in the file's bytes, at least 1 (it only scales the progress bar).
int CountFileLines(const QByteArray& bytes);

// The column names of the first line: tab kind splits at every tab, quotes left alone; comma
// kind deletes every double quote and splits at every comma (so a quoted header cell holding a
// comma gives two columns, where a data row gives one field).
QStringList headerColumns(QStringView firstLine, TextKind kind);

// Builds the row of one line from the column each map index reads (-1 for none); nothing when
// the line adds no row (the e-mail column is mapped but missing, or the line failed to split).
std::optional<Contact> AddTextRow(QStringView line, TextKind kind, const std::array<int, 16>& columnOfMapIndex);

// The rows of a whole file's text (after its first line when skipFirst), in file order; lines
// that add no row are passed over. afterLine is told the 1-based number of each line read, so
// that a caller can advance its progress and let the event loop run.
std::vector<Contact> importRows(QStringView text, TextKind kind, bool skipFirst,
                                const std::array<int, 16>& columnOfMapIndex,
                                const std::function<void(qsizetype lineNumber)>& afterLine = {});

// The column names of a text's first line; none for an empty text.
QStringList firstLineColumns(QStringView text, TextKind kind);

// Reads a whole regular file in the program's text decoding (UTF-8 when valid, else
// Windows-1252); a folder, pipe or device is refused with a reason.
Result<QString> readText(const QString& path, QByteArray* rawBytes = nullptr);

} // namespace DelimitedText
