#include "TextDecoding.h"

#include <QStringDecoder>

namespace TextDecoding {

namespace {

// Characters of bytes 0x80..0x9F; the five bytes that Windows-1252 leaves undefined keep
// their C1 control code, as Windows itself maps them.
constexpr char16_t HighControls[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                       0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                       0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                       0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

} // namespace

QString fromWindows1252(const QByteArray& bytes)
{
    QString text(bytes.size(), Qt::Uninitialized);
    QChar* out = text.data();
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        *out++ = (byte >= 0x80 && byte <= 0x9F) ? QChar(HighControls[byte - 0x80]) : QChar(static_cast<char16_t>(byte));
    }
    return text;
}

bool isValidUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString ignored = decoder.decode(bytes);
    return !decoder.hasError();
}

QString decode(const QByteArray& bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF")) {
        return QString::fromUtf8(bytes.constData() + 3, bytes.size() - 3);
    }
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF")) {
        QStringDecoder decoder(QStringDecoder::Utf16);
        return decoder.decode(bytes);
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (!decoder.hasError()) {
        return text;
    }
    return fromWindows1252(bytes);
}

} // namespace TextDecoding
