#include "QuotedPrintable.h"

namespace QuotedPrintable {

namespace {

constexpr qsizetype MaxLine = 76;

bool atLineEnd(const QByteArray& text, qsizetype i)
{
    return i + 1 == text.size() || (text.at(i + 1) == '\r' && i + 2 < text.size() && text.at(i + 2) == '\n');
}

bool needsEscape(char c, bool startsLine, bool endsLine)
{
    const auto byte = static_cast<unsigned char>(c);
    if (c == ' ' || c == '\t') {
        return endsLine;
    }
    if (startsLine && (c == '.' || c == '-')) {
        return true;
    }
    return byte < 33 || byte > 126 || c == '=';
}

} // namespace

QByteArray encode(const QByteArray& text)
{
    static const char hex[] = "0123456789ABCDEF";
    QByteArray result;
    result.reserve(text.size() + text.size() / 8);
    qsizetype column = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c == '\r' && i + 1 < text.size() && text.at(i + 1) == '\n') {
            result.append("\r\n");
            column = 0;
            ++i;
            continue;
        }
        const bool endsLine = atLineEnd(text, i);
        // A piece keeps room for the soft break's "=" unless it is the line's last character.
        const qsizetype room = endsLine ? MaxLine : MaxLine - 1;
        if (column + (needsEscape(c, column == 0, endsLine) ? 3 : 1) > room) {
            result.append("=\r\n");
            column = 0;
        }
        if (needsEscape(c, column == 0, endsLine)) {
            const auto byte = static_cast<unsigned char>(c);
            result.append('=').append(hex[byte >> 4]).append(hex[byte & 0x0F]);
            column += 3;
        } else {
            result.append(c);
            ++column;
        }
    }
    return result;
}

} // namespace QuotedPrintable
