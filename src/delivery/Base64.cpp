#include "Base64.h"

#include <QFile>

namespace Base64 {

namespace {

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void appendQuad(QByteArray& out, unsigned char b0, unsigned char b1, unsigned char b2)
{
    out.append(Alphabet[b0 >> 2]);
    out.append(Alphabet[((b0 & 3) << 4) | (b1 >> 4)]);
    out.append(Alphabet[((b1 & 15) << 2) | (b2 >> 6)]);
    out.append(Alphabet[b2 & 63]);
}

} // namespace

QByteArray EncodeBase64Text(const QString& text, int lineWidth)
{
    if (text.isEmpty()) {
        return {};
    }
    QByteArray result = text.toUtf8().toBase64();
    if (lineWidth >= 1) {
        // A break goes in before the 1-based position lineWidth + 1, then every lineWidth + 2
        // positions, while that position is less than the current length: a last line of
        // exactly lineWidth + 1 characters therefore stays whole ("Zm9vYmFy" at width 7).
        qsizetype position = lineWidth + 1;
        while (position < result.size()) {
            result.insert(position - 1, "\r\n");
            position += lineWidth + 2;
        }
    }
    return result;
}

QByteArray encodeFileBytes(const QByteArray& bytes)
{
    const qsizetype length = bytes.size();
    const qsizetype whole = length - length % 3;
    QByteArray result;
    result.reserve(length / 3 * 4 + length / 48 * 2 + 16);
    result.append("\r\n");

    unsigned char buffer[4] = {0, 0, 0, 0};
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.constData());
    qsizetype lineLength = 0;
    for (qsizetype i = 0; i < whole; i += 3) {
        if (lineLength > 64) {
            result.append("\r\n");
            lineLength = 0;
        }
        buffer[0] = data[i];
        buffer[1] = data[i + 1];
        buffer[2] = data[i + 2];
        appendQuad(result, buffer[0], buffer[1], buffer[2]);
        lineLength += 4;
    }
    const qsizetype rest = length % 3;
    if (rest > 0) {
        // The remaining bytes are read over the start of the buffer, which is not cleared.
        buffer[0] = data[whole];
        if (rest == 2) {
            buffer[1] = data[whole + 1];
        }
        QByteArray quad;
        appendQuad(quad, buffer[0], buffer[1], buffer[2]);
        result.append(quad.left(rest + 1));
        result.append(rest == 2 ? "=" : "==");
        lineLength += 4;
    }
    if (lineLength > 0) {
        result.append("\r\n");
    }
    return result;
}

Result<QByteArray> EncodeBase64File(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) && !file.open(QIODevice::ReadOnly)) {
        return Result<QByteArray>::failure(ErrorCode::CannotRead, file.errorString());
    }
    return encodeFileBytes(file.readAll());
}

} // namespace Base64
