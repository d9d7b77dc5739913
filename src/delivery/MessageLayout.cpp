#include "MessageLayout.h"

#include "InlineImages.h"
#include "MimeTypes.h"
#include "QuotedPrintable.h"

#include <QLocale>

#include <algorithm>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace MessageLayout {

namespace {

constexpr char CRLF[] = "\r\n";

// The fixed boundaries of every message: multipart/mixed, multipart/related, multipart/alternative.
const QByteArray Mixed("NextMimePart_000");
const QByteArray Related("NextMimePart_001");
const QByteArray Alternative("NextMimePart_002");

bool isAscii(const QString& text)
{
    for (const QChar c : text) {
        if (c.unicode() > 0x7F) {
            return false;
        }
    }
    return true;
}

// Every line end of the body becomes CR LF, as mail wants it; CR LF pairs stay as they are.
// The text between line ends is copied in one piece.
QByteArray crlfLines(const QByteArray& text)
{
    QByteArray result;
    result.reserve(text.size() + text.size() / 40);
    qsizetype copied = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c != '\r' && c != '\n') {
            continue;
        }
        result.append(text.constData() + copied, i - copied);
        result.append(CRLF);
        if (c == '\r' && i + 1 < text.size() && text.at(i + 1) == '\n') {
            ++i;
        }
        copied = i + 1;
    }
    result.append(text.constData() + copied, text.size() - copied);
    return result;
}

// The Base64 text split at its line ends, each piece sent with a line end behind it: since the
// coder's text begins and ends with a line end, that is the text itself and one more line end.
// An empty text gives no line at all. The text is shared, not copied: an image's text serves
// every message of a run.
void appendLines(QList<QByteArray>& out, const QByteArray& base64)
{
    if (!base64.isEmpty()) {
        out << base64 << QByteArray::fromRawData(CRLF, 2);
    }
}

// The one transparency step: a line of one dot gets a zero character behind the dot, so it
// cannot end the data. Two such lines in a row share their line end; a single pass would leave
// the second one standing and end the data early, so the step is repeated until none is left.
// "a\r\n.\r\n.\r\nb" becomes "a\r\n.\0\r\n.\0\r\nb"; a line ".x" stays as it is.
void guardLoneDots(QByteArray& text)
{
    static const QByteArray loneDot("\r\n.\r\n");
    static const QByteArray guarded("\r\n.\0\r\n", 6);
    while (text.contains(loneDot)) {
        text.replace(loneDot, guarded);
    }
}

// True when the text cannot go as 7bit: a line is longer than the 998 characters mail allows, or
// begins with "--" and one of the boundaries, so that a reader could take it for a delimiter
// (also "--NextMimePart_0001", which lenient readers do).
bool needsQuoting(const QByteArray& crlfText)
{
    constexpr qsizetype MaxLine = 998;
    static const QByteArray delimiters[] = {"--" + Mixed, "--" + Related, "--" + Alternative};
    qsizetype lineStart = 0;
    while (lineStart <= crlfText.size()) {
        qsizetype lineEnd = crlfText.indexOf("\r\n", lineStart);
        if (lineEnd < 0) {
            lineEnd = crlfText.size();
        }
        const QByteArrayView line(crlfText.constData() + lineStart, lineEnd - lineStart);
        if (line.size() > MaxLine ||
            std::any_of(std::begin(delimiters), std::end(delimiters),
                        [line](const QByteArray& delimiter) { return line.startsWith(delimiter); })) {
            return true;
        }
        lineStart = lineEnd + 2;
    }
    return false;
}

// The HTML part's body and the transfer encoding it really has: ASCII text goes as it stands,
// as 7bit. UTF-8 text, and text with a line too long or a line a merged value made a delimiter,
// go quoted-printable, where no line can start with "--": such a value shows as text and cannot
// open or close a part.
struct BodyCoding
{
    QByteArray encoding;
    QByteArray text;
};

BodyCoding htmlPartBody(const QByteArray& crlfText, bool ascii)
{
    if (ascii && !needsQuoting(crlfText)) {
        return {"7bit", crlfText};
    }
    return {"quoted-printable", QuotedPrintable::encode(crlfText)};
}

} // namespace

QByteArray dateText(const QDateTime& date)
{
    const int offsetMinutes = date.offsetFromUtc() / 60;
    const int absolute = std::abs(offsetMinutes);
    const QByteArray zone = (offsetMinutes < 0 ? "-" : "+") +
                            QByteArray::number(absolute / 60 * 100 + absolute % 60).rightJustified(4, '0');
    return QLocale::c().toString(date, u"ddd, dd MMM yyyy hh:mm:ss"_s).toLatin1() + ' ' + zone;
}

QString headerSafe(const QString& value)
{
    QString safe = value;
    safe.replace(u'\r', u' ');
    safe.replace(u'\n', u' ');
    return safe;
}

QByteArray encodedWords(const QString& value)
{
    if (isAscii(value)) {
        return value.toLatin1();
    }
    // Encoded words of at most 75 characters, each holding whole characters.
    QByteArray result;
    QByteArray pending;
    const auto flush = [&] {
        if (!pending.isEmpty()) {
            if (!result.isEmpty()) {
                result.append(' ');
            }
            result.append("=?UTF-8?B?" + pending.toBase64() + "?=");
            pending.clear();
        }
    };
    for (qsizetype i = 0; i < value.size(); ++i) {
        qsizetype length = value.at(i).isHighSurrogate() && i + 1 < value.size() ? 2 : 1;
        const QByteArray character = value.mid(i, length).toUtf8();
        if ((pending.size() + character.size() + 2) / 3 * 4 > 60) {
            flush();
        }
        pending.append(character);
        i += length - 1;
    }
    flush();
    return result;
}

QByteArray displayName(const QString& name)
{
    const QString safe = headerSafe(name);
    if (!isAscii(safe)) {
        return encodedWords(safe) + ' ';
    }
    static const QString specials = u"()<>[]:;@\\,.\""_s;
    if (std::none_of(safe.begin(), safe.end(), [](QChar c) { return specials.contains(c); })) {
        return safe.toLatin1();
    }
    QByteArray quoted = safe.toLatin1();
    quoted.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + quoted + '"';
}

QList<QByteArray> chunks(const OutgoingMessage& message, const QDateTime& date)
{
    const bool hasImages = !message.inlineImageData.isEmpty();
    const bool hasAttachment = !message.attachmentName.isEmpty();
    const bool ascii = isAscii(message.body);
    const QByteArray charset = ascii ? "us-ascii" : "utf-8";
    const QByteArray body = crlfLines(message.body.toUtf8());

    QByteArray head;
    if (!message.replyEmail.isEmpty()) {
        head += "Reply-To: " + headerSafe(message.replyEmail).toUtf8() + CRLF;
    }
    head += "From: " + displayName(message.fromName) + '<' + headerSafe(message.fromEmail).toUtf8() + '>' + CRLF;
    head += "To: " + headerSafe(message.to).toUtf8() + CRLF;
    head += "Date: " + dateText(date) + CRLF;
    head += "Subject: " + encodedWords(headerSafe(message.subject)) + CRLF;
    QByteArray first;
    if (!hasImages && !hasAttachment) {
        head += "Content-Type: text/html;\tcharset=" + charset + CRLF;
        first = head + CRLF + body + CRLF;
    } else {
        head += "Mime-Version: 1.0\r\n";
        head += "Content-Type: multipart/mixed; boundary=\"" + Mixed + "\"\r\n";
        head += "Content-Transfer-Encoding: 7bit\r\n\r\n";
        head += "This is a multi-part message in MIME format.\r\n\r\n";
        head += "--" + Mixed + CRLF;
        if (hasImages) {
            head +=
                "Content-Type: multipart/related; boundary=\"" + Related + "\";type=\"multipart/alternative\"\r\n\r\n";
            head += "--" + Related + CRLF;
        }
        head += "Content-Type: multipart/alternative; boundary=\"" + Alternative + "\"\r\n\r\n";
        head += "--" + Alternative + CRLF;
        head += "Content-Type: text/html;\tcharset=" + charset + CRLF;
        const BodyCoding coded = htmlPartBody(body, ascii);
        head += "Content-Transfer-Encoding: " + coded.encoding + CRLF;
        first = head + CRLF + coded.text + CRLF;
    }
    guardLoneDots(first);

    QList<QByteArray> out{first};
    if (hasImages || hasAttachment) {
        out << "\r\n--" + Alternative + "--\r\n";
    }
    if (hasImages) {
        for (qsizetype i = 0; i < message.inlineImageData.size(); ++i) {
            // The Content-ID stays the name as the HTML's cid: reference spells it.
            const QString name = InlineImages::fileNameOf(message.inlineImagePaths.value(i));
            out << "\r\n--" + Related + "\r\nContent-Type: " + MimeTypes::MimeTypeForFile(name) + "; name=\"" +
                       encodedWords(headerSafe(name)) + "\"\r\nContent-Transfer-Encoding: base64\r\nContent-ID: <" +
                       name.toUtf8() + ">\r\n\r\n";
            appendLines(out, message.inlineImageData.at(i));
            out << QByteArray(CRLF);
        }
        out << "\r\n--" + Related + "--\r\n";
    }
    if (hasAttachment) {
        const QByteArray name = encodedWords(headerSafe(message.attachmentName));
        out << "\r\n--" + Mixed + "\r\nContent-Type: application/msword; name=\"" + name +
                   "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment; filename=\"" + name +
                   "\"\r\n\r\n";
        appendLines(out, message.attachmentData);
    }
    if (hasImages || hasAttachment) {
        out << "\r\n--" + Mixed + "--\r\n";
    }
    return out;
}

QByteArray bytes(const OutgoingMessage& message, const QDateTime& date)
{
    QByteArray all;
    for (const QByteArray& chunk : chunks(message, date)) {
        all += chunk;
    }
    return all;
}

} // namespace MessageLayout
