#include "ExcelCellText.h"

#include <QDate>

#include <charconv>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;

namespace ExcelCellText {

namespace {

// The last day a worksheet shows as a date: 31 December 9999 in the 1900 system.
constexpr double LastSerial = 2958465.0;

const char* const MonthNames[12] = {"January", "February", "March",     "April",   "May",      "June",
                                    "July",    "August",   "September", "October", "November", "December"};
const char* const DayNames[7] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

// One piece of a date format code.
struct Piece
{
    enum Kind
    {
        Literal,
        Year,
        Month, // or minutes, decided once all pieces are known
        Minute,
        Day,
        Hour,
        Second,
        Fraction,
        ElapsedHours,
        ElapsedMinutes,
        ElapsedSeconds,
        AmPm
    };
    Kind kind;
    int count = 0;
    QString text; // a literal's text, or how AM/PM is written ("AM/PM", "a/p", …)
};

bool isTimePiece(Piece::Kind kind)
{
    return kind != Piece::Literal && kind != Piece::AmPm && kind != Piece::Fraction;
}

qsizetype runLength(QStringView code, qsizetype at, QChar letter)
{
    qsizetype end = at;
    while (end < code.size() && code.at(end).toLower() == letter) {
        ++end;
    }
    return end - at;
}

// The first section of a format code: up to the first ";" that is not quoted, escaped or bracketed.
QStringView firstSection(QStringView code)
{
    bool quoted = false;
    bool bracketed = false;
    for (qsizetype i = 0; i < code.size(); ++i) {
        const QChar c = code.at(i);
        if (quoted) {
            quoted = c != u'"';
        } else if (bracketed) {
            bracketed = c != u']';
        } else if (c == u'"') {
            quoted = true;
        } else if (c == u'[') {
            bracketed = true;
        } else if (c == u'\\' || c == u'_' || c == u'*') {
            ++i;
        } else if (c == u';') {
            return code.first(i);
        }
    }
    return code;
}

std::vector<Piece> parsePieces(QStringView code)
{
    std::vector<Piece> pieces;
    const auto literal = [&pieces](const QString& text) {
        if (!pieces.empty() && pieces.back().kind == Piece::Literal) {
            pieces.back().text += text;
        } else {
            pieces.push_back({Piece::Literal, 0, text});
        }
    };
    qsizetype i = 0;
    while (i < code.size()) {
        const QChar c = code.at(i);
        const QChar lower = c.toLower();
        if (c == u'"') {
            const qsizetype close = code.indexOf(u'"', i + 1);
            const qsizetype end = close < 0 ? code.size() : close;
            literal(code.sliced(i + 1, end - i - 1).toString());
            i = end + 1;
        } else if (c == u'\\') {
            if (i + 1 < code.size()) {
                literal(code.at(i + 1));
            }
            i += 2;
        } else if (c == u'_') {
            literal(u" "_s);
            i += 2;
        } else if (c == u'*') {
            i += 2;
        } else if (c == u'[') {
            const qsizetype close = code.indexOf(u']', i + 1);
            const qsizetype end = close < 0 ? code.size() : close;
            const QString inside = code.sliced(i + 1, end - i - 1).toString().toLower();
            if (!inside.isEmpty() && inside.count(inside.at(0)) == inside.size()) {
                if (inside.at(0) == u'h') {
                    pieces.push_back({Piece::ElapsedHours, int(inside.size()), {}});
                } else if (inside.at(0) == u'm') {
                    pieces.push_back({Piece::ElapsedMinutes, int(inside.size()), {}});
                } else if (inside.at(0) == u's') {
                    pieces.push_back({Piece::ElapsedSeconds, int(inside.size()), {}});
                }
            }
            i = end + 1;
        } else if (lower == u'y' || lower == u'm' || lower == u'd' || lower == u'h' || lower == u's') {
            const qsizetype n = runLength(code, i, lower);
            const Piece::Kind kind = lower == u'y'   ? Piece::Year
                                     : lower == u'm' ? Piece::Month
                                     : lower == u'd' ? Piece::Day
                                     : lower == u'h' ? Piece::Hour
                                                     : Piece::Second;
            pieces.push_back({kind, int(n), {}});
            i += n;
        } else if (lower == u'a' && code.sliced(i).startsWith(u"am/pm", Qt::CaseInsensitive)) {
            pieces.push_back({Piece::AmPm, 0, code.sliced(i, 5).toString()});
            i += 5;
        } else if (lower == u'a' && code.sliced(i).startsWith(u"a/p", Qt::CaseInsensitive)) {
            pieces.push_back({Piece::AmPm, 0, code.sliced(i, 3).toString()});
            i += 3;
        } else if (c == u'.' && !pieces.empty() &&
                   (pieces.back().kind == Piece::Second || pieces.back().kind == Piece::ElapsedSeconds) &&
                   i + 1 < code.size() && code.at(i + 1) == u'0') {
            const qsizetype n = runLength(code, i + 1, u'0');
            pieces.push_back({Piece::Fraction, int(qMin<qsizetype>(n, 3)), {}});
            i += 1 + n;
        } else {
            literal(c);
            ++i;
        }
    }
    // An m or mm right after hours or right before seconds means minutes.
    for (size_t k = 0; k < pieces.size(); ++k) {
        if (pieces[k].kind != Piece::Month || pieces[k].count > 2) {
            continue;
        }
        Piece::Kind before = Piece::Literal;
        for (size_t b = k; b-- > 0;) {
            if (isTimePiece(pieces[b].kind)) {
                before = pieces[b].kind;
                break;
            }
        }
        Piece::Kind after = Piece::Literal;
        for (size_t a = k + 1; a < pieces.size(); ++a) {
            if (isTimePiece(pieces[a].kind)) {
                after = pieces[a].kind;
                break;
            }
        }
        if (before == Piece::Hour || before == Piece::ElapsedHours || after == Piece::Second ||
            after == Piece::ElapsedSeconds) {
            pieces[k].kind = Piece::Minute;
        }
    }
    return pieces;
}

QString padded(qint64 number, int width)
{
    return QString::number(number).rightJustified(width, u'0');
}

} // namespace

QString generalNumber(double value)
{
    if (value == 0.0 || !std::isfinite(value)) {
        return value == 0.0 ? u"0"_s : QString();
    }
    char buffer[32];
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
    if (error != std::errc()) {
        return QString();
    }
    QString text = QString::fromLatin1(buffer, end - buffer);
    text.replace(u'e', u'E');
    return text;
}

QString builtInDateFormat(int numFmtId)
{
    switch (numFmtId) {
    case 14:
        return u"m/d/yyyy"_s;
    case 15:
        return u"d-mmm-yy"_s;
    case 16:
        return u"d-mmm"_s;
    case 17:
        return u"mmm-yy"_s;
    case 18:
        return u"h:mm AM/PM"_s;
    case 19:
        return u"h:mm:ss AM/PM"_s;
    case 20:
        return u"h:mm"_s;
    case 21:
        return u"h:mm:ss"_s;
    case 22:
        return u"m/d/yyyy h:mm"_s;
    case 45:
        return u"mm:ss"_s;
    case 46:
        return u"[h]:mm:ss"_s;
    case 47:
        return u"mmss.0"_s;
    default:
        return QString();
    }
}

bool isDateFormat(QStringView formatCode)
{
    const std::vector<Piece> pieces = parsePieces(firstSection(formatCode));
    for (const Piece& piece : pieces) {
        if (piece.kind != Piece::Literal && piece.kind != Piece::Fraction) {
            return true;
        }
    }
    return false;
}

QString formatDate(double serial, QStringView formatCode, bool date1904)
{
    if (!std::isfinite(serial) || serial < 0.0 || serial > LastSerial) {
        return generalNumber(serial);
    }
    const std::vector<Piece> pieces = parsePieces(firstSection(formatCode));
    int fractionDigits = 0;
    bool twelveHours = false;
    for (const Piece& piece : pieces) {
        if (piece.kind == Piece::Fraction) {
            fractionDigits = qMax(fractionDigits, piece.count);
        }
        twelveHours = twelveHours || piece.kind == Piece::AmPm;
    }
    // The time is rounded to the finest unit the code shows, which may carry into the next day.
    const qint64 unitsPerSecond = fractionDigits == 0 ? 1 : fractionDigits == 1 ? 10 : fractionDigits == 2 ? 100 : 1000;
    const qint64 units = std::llround(serial * 86400.0 * double(unitsPerSecond));
    const qint64 days = units / (86400 * unitsPerSecond);
    const qint64 totalSeconds = units / unitsPerSecond;
    const qint64 fraction = units % unitsPerSecond;
    const qint64 secondOfDay = totalSeconds % 86400;

    int year = 0;
    int month = 0;
    int day = 0;
    int weekday = 0; // 0 Sunday
    if (!date1904 && days == 60) {
        // The day the 1900 system counts although it never was: 29 February 1900, a Wednesday.
        year = 1900;
        month = 2;
        day = 29;
        weekday = 3;
    } else {
        const QDate date = date1904    ? QDate(1904, 1, 1).addDays(days)
                           : days < 60 ? QDate(1899, 12, 31).addDays(days)
                                       : QDate(1899, 12, 30).addDays(days);
        year = date.year();
        month = date.month();
        day = date.day();
        // The 1900 system takes 1 January 1900 for a Sunday, and so every day before the phantom.
        weekday = date1904 ? date.dayOfWeek() % 7 : int((days + 6) % 7);
    }
    const int hour = int(secondOfDay / 3600);
    const int minute = int(secondOfDay / 60 % 60);
    const int second = int(secondOfDay % 60);

    QString text;
    for (const Piece& piece : pieces) {
        switch (piece.kind) {
        case Piece::Literal:
            text += piece.text;
            break;
        case Piece::Year:
            text += piece.count <= 2 ? padded(year % 100, 2) : padded(year, 4);
            break;
        case Piece::Month: {
            const QString name = QString::fromLatin1(MonthNames[month - 1]);
            text += piece.count == 1   ? QString::number(month)
                    : piece.count == 2 ? padded(month, 2)
                    : piece.count == 3 ? name.left(3)
                    : piece.count == 4 ? name
                                       : name.left(1);
            break;
        }
        case Piece::Minute:
            text += piece.count == 1 ? QString::number(minute) : padded(minute, 2);
            break;
        case Piece::Day: {
            const QString name = QString::fromLatin1(DayNames[weekday]);
            text += piece.count == 1   ? QString::number(day)
                    : piece.count == 2 ? padded(day, 2)
                    : piece.count == 3 ? name.left(3)
                                       : name;
            break;
        }
        case Piece::Hour: {
            const int shown = twelveHours ? (hour % 12 == 0 ? 12 : hour % 12) : hour;
            text += piece.count == 1 ? QString::number(shown) : padded(shown, 2);
            break;
        }
        case Piece::Second:
            text += piece.count == 1 ? QString::number(second) : padded(second, 2);
            break;
        case Piece::Fraction:
            text += u'.' + padded(fraction, fractionDigits).left(piece.count);
            break;
        case Piece::ElapsedHours:
            text += padded(totalSeconds / 3600, piece.count);
            break;
        case Piece::ElapsedMinutes:
            text += padded(totalSeconds / 60, piece.count);
            break;
        case Piece::ElapsedSeconds:
            text += padded(totalSeconds, piece.count);
            break;
        case Piece::AmPm: {
            const bool pm = hour >= 12;
            if (piece.text.size() == 3) {
                const QChar letter = piece.text.at(pm ? 2 : 0);
                text += letter;
            } else {
                text += pm ? u"PM"_s : u"AM"_s;
            }
            break;
        }
        }
    }
    return text;
}

bool serialOfIsoText(QStringView text, bool date1904, double& serial)
{
    const QString trimmed = text.trimmed().toString();
    QDate date;
    QStringView timePart;
    if (trimmed.size() >= 10 && trimmed.at(4) == u'-') {
        date = QDate::fromString(trimmed.left(10), u"yyyy-MM-dd"_s);
        if (!date.isValid()) {
            return false;
        }
        if (trimmed.size() > 10) {
            if (trimmed.at(10) != u'T' && trimmed.at(10) != u' ') {
                return false;
            }
            timePart = QStringView(trimmed).sliced(11);
        }
    } else {
        timePart = trimmed;
    }
    double dayFraction = 0.0;
    if (!timePart.isEmpty()) {
        const QList<QStringView> parts = timePart.split(u':');
        if (parts.size() < 2 || parts.size() > 3) {
            return false;
        }
        bool okHour = false;
        bool okMinute = false;
        bool okSecond = true;
        const int hour = parts.at(0).toInt(&okHour);
        const int minute = parts.at(1).toInt(&okMinute);
        const double second = parts.size() == 3 ? parts.at(2).toDouble(&okSecond) : 0.0;
        if (!okHour || !okMinute || !okSecond || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0.0 ||
            second >= 61.0) {
            return false;
        }
        dayFraction = (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
    }
    double days = 0.0;
    if (date.isValid()) {
        if (date1904) {
            days = double(QDate(1904, 1, 1).daysTo(date));
        } else {
            // Days from 1 March 1900 on count the phantom 29 February.
            days = double(QDate(1899, 12, 30).daysTo(date)) - (date < QDate(1900, 3, 1) ? 1.0 : 0.0);
        }
    }
    serial = days + dayFraction;
    return true;
}

} // namespace ExcelCellText
