#include "DelimitedText.h"

#include "MergeFieldTable.h"
#include "core/TextDecoding.h"
#include "core/TextUtil.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace DelimitedText {

namespace {

constexpr QChar Quote{u'"'};

QStringList splitTabs(const QString& line)
{
    if (line.isEmpty()) {
        return {};
    }
    return line.split(u'\t');
}

} // namespace

SplitFields PSplit(const QString& line)
{
    QString s = line;
    s.replace(u"\"\""_s, QString(Placeholder));
    if (s.isEmpty()) {
        return {SplitFields::State::Unset, {}};
    }
    const QString doubled = u"\"\""_s;
    SplitFields result;
    while (true) {
        const qsizetype comma = s.indexOf(u',');
        if (comma < 0) {
            break;
        }
        const qsizetype quote = s.indexOf(Quote);
        QString field;
        if (quote < 0 || quote > comma) {
            field = s.left(comma);
            s = s.mid(comma + 1);
        } else {
            const qsizetype closing = s.indexOf(Quote, quote + 1);
            if (closing < 0) {
                // An unterminated quote: the line cannot be split and adds no row.
                return {SplitFields::State::Failed, {}};
            }
            if (closing == s.size() - 1) {
                // The closing quote ends the line: it and the first character go.
                s = s.mid(1, s.size() - 2);
                break;
            }
            field = s.left(closing + 1);
            s = s.mid(closing + 2);
            field = field.mid(1, field.size() - 2);
        }
        result.fields << field.replace(Placeholder, doubled);
    }
    result.fields << s.replace(Placeholder, Quote);
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

QStringList splitLines(const QString& text)
{
    QStringList lines;
    qsizetype start = 0;
    const qsizetype length = text.size();
    for (qsizetype i = 0; i < length; ++i) {
        if (text.at(i) == u'\r') {
            lines << text.mid(start, i - start);
            if (i + 1 < length && text.at(i + 1) == u'\n') {
                ++i;
            }
            start = i + 1;
        }
    }
    if (start < length) {
        lines << text.mid(start);
    }
    return lines;
}

int CountFileLines(const QByteArray& bytes)
{
    const auto pairs = static_cast<int>(bytes.count("\r\n"));
    return pairs == 0 ? 1 : pairs;
}

QStringList headerColumns(const QString& firstLine, TextKind kind)
{
    if (kind == TextKind::Tab) {
        return splitTabs(firstLine);
    }
    QString line = firstLine;
    line.remove(Quote);
    return line.isEmpty() ? QStringList() : line.split(u',');
}

std::optional<Contact> AddTextRow(const QString& line, TextKind kind, const std::array<int, 16>& columnOfMapIndex)
{
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

std::vector<Contact> importRows(const QStringList& lines, TextKind kind, bool skipFirst,
                                const std::array<int, 16>& columnOfMapIndex,
                                const std::function<void(qsizetype lineNumber)>& afterLine)
{
    std::vector<Contact> rows;
    rows.reserve(static_cast<size_t>(lines.size()));
    for (qsizetype i = skipFirst ? 1 : 0; i < lines.size(); ++i) {
        if (auto row = AddTextRow(lines.at(i), kind, columnOfMapIndex)) {
            rows.push_back(std::move(*row));
        }
        if (afterLine) {
            afterLine(i + 1);
        }
    }
    return rows;
}

std::optional<QStringList> readLines(const QString& path, QByteArray* rawBytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (rawBytes != nullptr) {
        *rawBytes = bytes;
    }
    return splitLines(TextDecoding::decode(bytes));
}

} // namespace DelimitedText
