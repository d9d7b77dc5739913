#include "VCard.h"

#include "core/TextDecoding.h"

#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace {

// Splits at each separator that stands outside double quotes.
QList<QByteArray> splitOutsideQuotes(const QByteArray& text, char separator)
{
    QList<QByteArray> parts;
    bool quoted = false;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) == '"') {
            quoted = !quoted;
        } else if (text.at(i) == separator && !quoted) {
            parts << text.mid(start, i - start);
            start = i + 1;
        }
    }
    parts << text.mid(start);
    return parts;
}

qsizetype colonOutsideQuotes(const QByteArray& line)
{
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line.at(i) == '"') {
            quoted = !quoted;
        } else if (line.at(i) == ':' && !quoted) {
            return i;
        }
    }
    return -1;
}

bool isQuotedPrintable(const QByteArray& head)
{
    return head.toUpper().contains("QUOTED-PRINTABLE");
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

// "=C3=A9" gives the byte pair of "é"; an "=" not followed by two hex digits stays as it is.
QByteArray decodeQuotedPrintable(const QByteArray& value)
{
    QByteArray bytes;
    bytes.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value.at(i) == '=' && i + 2 < value.size() && hexDigit(value.at(i + 1)) >= 0 &&
            hexDigit(value.at(i + 2)) >= 0) {
            bytes += static_cast<char>(hexDigit(value.at(i + 1)) * 16 + hexDigit(value.at(i + 2)));
            i += 2;
        } else {
            bytes += value.at(i);
        }
    }
    return bytes;
}

QString decodeText(const QByteArray& bytes, const QByteArray& charset)
{
    if (!charset.isEmpty()) {
        QStringDecoder decoder(charset.constData());
        if (decoder.isValid()) {
            return decoder.decode(bytes);
        }
    }
    return TextDecoding::decode(bytes);
}

QByteArray unquoted(QByteArray value)
{
    if (value.size() >= 2 && value.startsWith('"') && value.endsWith('"')) {
        return value.mid(1, value.size() - 2);
    }
    return value;
}

// Physical lines joined into logical ones, each with the number of its first physical line.
struct LogicalLine
{
    QByteArray text;
    int lineNumber;
};

std::vector<LogicalLine> unfold(const QByteArray& bytes)
{
    std::vector<QByteArray> physical;
    qsizetype start = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes.at(i) == '\r' || bytes.at(i) == '\n') {
            physical.push_back(bytes.mid(start, i - start));
            if (bytes.at(i) == '\r' && i + 1 < bytes.size() && bytes.at(i + 1) == '\n') {
                ++i;
            }
            start = i + 1;
        }
    }
    if (start < bytes.size()) {
        physical.push_back(bytes.mid(start));
    }
    std::vector<LogicalLine> lines;
    for (size_t k = 0; k < physical.size(); ++k) {
        const QByteArray& line = physical[k];
        const bool continuation = !line.isEmpty() && (line.at(0) == ' ' || line.at(0) == '\t');
        if (continuation && !lines.empty()) {
            lines.back().text += line.mid(1);
            continue;
        }
        lines.push_back({line, static_cast<int>(k + 1)});
        // A quoted-printable value that ends in "=" goes on in the next line, whatever it starts with.
        while (k + 1 < physical.size()) {
            QByteArray& text = lines.back().text;
            const qsizetype colon = colonOutsideQuotes(text);
            if (colon < 0 || !text.endsWith('=') || !isQuotedPrintable(text.left(colon))) {
                break;
            }
            text.chop(1);
            text += physical[++k];
        }
    }
    return lines;
}

VCardProperty parseProperty(const QByteArray& line, qsizetype colon)
{
    const QList<QByteArray> head = splitOutsideQuotes(line.left(colon), ';');
    VCardProperty property;
    QByteArray name = head.constFirst().trimmed();
    name = name.mid(name.lastIndexOf('.') + 1);
    property.name = QString::fromLatin1(name).toUpper();
    bool quotedPrintable = false;
    bool binary = false;
    QByteArray charset;
    for (qsizetype k = 1; k < head.size(); ++k) {
        const QByteArray& parameter = head.at(k);
        const qsizetype equals = parameter.indexOf('=');
        const QByteArray key = (equals < 0 ? parameter : parameter.left(equals)).trimmed().toUpper();
        const QByteArray value = equals < 0 ? QByteArray() : unquoted(parameter.mid(equals + 1).trimmed());
        if (equals < 0) {
            // vCard 2.1 writes bare parameters: ;WORK;FAX or ;QUOTED-PRINTABLE.
            if (key == "QUOTED-PRINTABLE") {
                quotedPrintable = true;
            } else if (key == "BASE64") {
                binary = true;
            } else if (key == "PREF") {
                property.pref = u"1"_s;
            } else {
                property.types << QString::fromLatin1(key);
            }
        } else if (key == "TYPE") {
            for (const QByteArray& type : value.split(',')) {
                const QString upper = QString::fromLatin1(type.trimmed()).toUpper();
                if (upper == u"PREF"_s) {
                    property.pref = u"1"_s;
                } else if (!upper.isEmpty()) {
                    property.types << upper;
                }
            }
        } else if (key == "ENCODING") {
            const QByteArray encoding = value.toUpper();
            quotedPrintable = encoding == "QUOTED-PRINTABLE";
            binary = encoding == "BASE64" || encoding == "B";
        } else if (key == "CHARSET") {
            charset = value;
        } else if (key == "PREF") {
            property.pref = QString::fromLatin1(value);
        }
    }
    if (!binary) {
        const QByteArray raw = line.mid(colon + 1);
        property.value = decodeText(quotedPrintable ? decodeQuotedPrintable(raw) : raw, charset);
    }
    return property;
}

QString unescape(QStringView value)
{
    QString text;
    text.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c != u'\\' || i + 1 == value.size()) {
            text += c;
            continue;
        }
        const QChar next = value.at(++i);
        if (next == u'n' || next == u'N') {
            text += u'\n';
        } else if (next == u',' || next == u';' || next == u'\\' || next == u':') {
            text += next;
        } else {
            // An unknown escape, such as the "\t" of a 2.1 path "C:\temp", is kept as written.
            text += c;
            text += next;
        }
    }
    return text;
}

} // namespace

QString VCardProperty::text() const
{
    return unescape(value);
}

QStringList VCardProperty::components() const
{
    QStringList parts;
    qsizetype start = 0;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value.at(i) == u'\\') {
            ++i;
        } else if (value.at(i) == u';') {
            parts << unescape(QStringView(value).sliced(start, i - start));
            start = i + 1;
        }
    }
    parts << unescape(QStringView(value).sliced(start));
    return parts;
}

const VCardProperty* VCard::first(const QString& name) const
{
    for (const VCardProperty& property : properties) {
        if (property.name == name) {
            return &property;
        }
    }
    return nullptr;
}

const VCardProperty* VCard::firstOfType(const QString& name, const QString& type) const
{
    for (const VCardProperty& property : properties) {
        if (property.name == name && property.hasType(type)) {
            return &property;
        }
    }
    return nullptr;
}

QString VCard::text(const QString& name) const
{
    const VCardProperty* property = first(name);
    return property == nullptr ? QString() : property->text();
}

QString VCard::component(const QString& name, int k) const
{
    const VCardProperty* property = first(name);
    return property == nullptr ? QString() : property->components().value(k);
}

namespace {

// The first property of the name with the type, else the first without any type at all.
const VCardProperty* typedOrPlain(const VCard& card, const QString& name, const QString& type)
{
    if (const VCardProperty* typed = card.firstOfType(name, type)) {
        return typed;
    }
    for (const VCardProperty& property : card.properties) {
        if (property.name == name && property.types.isEmpty()) {
            return &property;
        }
    }
    return nullptr;
}

QString textOf(const VCardProperty* property)
{
    return property == nullptr ? QString() : property->text();
}

} // namespace

VCardBusinessFields::VCardBusinessFields(const VCard& card)
{
    const VCardProperty* n = card.first(u"N"_s);
    const QStringList names = n == nullptr ? QStringList() : n->components();
    family = names.value(0);
    given = names.value(1);
    middle = names.value(2);
    formatted = card.text(u"FN"_s);
    title = card.text(u"TITLE"_s);
    company = card.component(u"ORG"_s, 0);
    if (const VCardProperty* address = typedOrPlain(card, u"ADR"_s, u"WORK"_s)) {
        const QStringList parts = address->components();
        street = parts.value(2);
        city = parts.value(3);
        region = parts.value(4);
        postalCode = parts.value(5);
        country = parts.value(6);
    }
    const VCardProperty* workPhone = nullptr;
    const VCardProperty* workFax = nullptr;
    const VCardProperty* anyFax = nullptr;
    for (const VCardProperty& tel : card.properties) {
        if (tel.name != u"TEL"_s) {
            continue;
        }
        const bool work = tel.hasType(u"WORK"_s);
        if (!tel.hasType(u"FAX"_s)) {
            workPhone = workPhone == nullptr && work ? &tel : workPhone;
            continue;
        }
        workFax = workFax == nullptr && work ? &tel : workFax;
        anyFax = anyFax == nullptr ? &tel : anyFax;
    }
    phone = textOf(workPhone);
    fax = textOf(workFax != nullptr ? workFax : anyFax);
    const VCardProperty* workUrl = card.firstOfType(u"URL"_s, u"WORK"_s);
    url = textOf(workUrl != nullptr ? workUrl : card.first(u"URL"_s));
}

namespace VCardFile {

Result<std::vector<VCard>> parse(const QByteArray& bytes, const QString& fileName)
{
    using Failure = Result<std::vector<VCard>>;
    // A file written as UTF-16 is read as its text in UTF-8; the rules below work on bytes.
    const QByteArray text = bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF")
                                ? TextDecoding::decode(bytes).toUtf8()
                                : (bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3) : bytes);
    std::vector<VCard> cards;
    int depth = 0;
    int openedOnLine = 0;
    for (const LogicalLine& line : unfold(text)) {
        const qsizetype colon = colonOutsideQuotes(line.text);
        if (colon < 0) {
            continue;
        }
        const QByteArray name = line.text.left(colon).trimmed().toUpper();
        const QByteArray value = line.text.mid(colon + 1).trimmed().toUpper();
        if (name == "BEGIN" && value == "VCARD") {
            if (depth++ == 0) {
                cards.emplace_back();
                openedOnLine = line.lineNumber;
            }
        } else if (name == "END" && value == "VCARD") {
            depth = std::max(depth - 1, 0);
        } else if (depth == 1) {
            cards.back().properties.push_back(parseProperty(line.text, colon));
        }
    }
    if (cards.empty()) {
        return Failure::failure(ErrorCode::CannotRead,
                                u"%1 holds no vCard: it has no line BEGIN:VCARD"_s.arg(fileName));
    }
    if (depth > 0) {
        return Failure::failure(ErrorCode::CannotRead,
                                u"%1 is cut short: the vCard that begins on line %2 has no END:VCARD"_s.arg(
                                    fileName, QString::number(openedOnLine)));
    }
    return cards;
}

} // namespace VCardFile
