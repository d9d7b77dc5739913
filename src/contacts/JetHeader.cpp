#include "JetHeader.h"

#include "core/TextDecoding.h"

#include <array>
#include <cstring>

using namespace Qt::StringLiterals;

namespace JetHeader {

namespace {

constexpr qsizetype SignatureOffset = 4;
constexpr qsizetype VersionOffset = 0x14;
constexpr qsizetype Jet3ScrambledLength = 126;
constexpr qsizetype Jet4ScrambledLength = 128;
constexpr qsizetype Jet3PasswordLength = 20;
constexpr qsizetype Jet4PasswordLength = 40;

// The RC4 key stream of the header key 0x6b39dac7, whose bytes are taken low byte first.
QByteArray keyStream(qsizetype length)
{
    constexpr std::array<unsigned char, 4> Key = {0xc7, 0xda, 0x39, 0x6b};
    std::array<unsigned char, 256> state{};
    for (size_t i = 0; i < state.size(); ++i) {
        state[i] = static_cast<unsigned char>(i);
    }
    size_t j = 0;
    for (size_t i = 0; i < state.size(); ++i) {
        j = (j + state[i] + Key[i % Key.size()]) % 256;
        std::swap(state[i], state[j]);
    }
    QByteArray stream(length, '\0');
    size_t x = 0;
    size_t y = 0;
    for (qsizetype k = 0; k < length; ++k) {
        x = (x + 1) % 256;
        y = (y + state[x]) % 256;
        std::swap(state[x], state[y]);
        stream[k] = static_cast<char>(state[(state[x] + state[y]) % 256]);
    }
    return stream;
}

qsizetype scrambledLength(Engine engine)
{
    return engine == Engine::Jet3 ? Jet3ScrambledLength : Jet4ScrambledLength;
}

// The whole part of the creation date as four bytes, low byte first.
std::array<unsigned char, 4> dateMask(const QByteArray& plainPage)
{
    double date = 0;
    std::memcpy(&date, plainPage.constData() + CreationDateOffset, sizeof date);
    // A day number far outside any real date is masked as the engine's 32-bit conversion
    // would wrap it; casting such a double straight to an integer would be undefined.
    const auto whole = static_cast<quint32>(static_cast<qint64>(date > -2e9 && date < 2e9 ? date : 0.0));
    return {static_cast<unsigned char>(whole), static_cast<unsigned char>(whole >> 8),
            static_cast<unsigned char>(whole >> 16), static_cast<unsigned char>(whole >> 24)};
}

} // namespace

std::optional<Engine> engineOf(const QByteArray& firstPage)
{
    if (firstPage.size() < ScrambledOffset + Jet4ScrambledLength) {
        return std::nullopt;
    }
    const QByteArrayView signature = QByteArrayView(firstPage).sliced(SignatureOffset, 15);
    if (signature != "Standard Jet DB" && signature != "Standard ACE DB") {
        return std::nullopt;
    }
    return firstPage.at(VersionOffset) == 0 ? Engine::Jet3 : Engine::Jet4;
}

QByteArray unscramble(const QByteArray& firstPage, Engine engine)
{
    QByteArray page = firstPage;
    const qsizetype length = scrambledLength(engine);
    if (page.size() < ScrambledOffset + length) {
        return page;
    }
    const QByteArray stream = keyStream(length);
    for (qsizetype k = 0; k < length; ++k) {
        page[ScrambledOffset + k] = static_cast<char>(page.at(ScrambledOffset + k) ^ stream.at(k));
    }
    return page;
}

std::optional<QString> storedPassword(const QByteArray& firstPage)
{
    const std::optional<Engine> engine = engineOf(firstPage);
    if (!engine) {
        return std::nullopt;
    }
    const QByteArray plain = unscramble(firstPage, *engine);
    if (*engine == Engine::Jet3) {
        QByteArray bytes = plain.mid(PasswordOffset, Jet3PasswordLength);
        bytes.truncate(bytes.indexOf('\0') < 0 ? bytes.size() : bytes.indexOf('\0'));
        return TextDecoding::fromWindows1252(bytes);
    }
    QByteArray bytes = plain.mid(PasswordOffset, Jet4PasswordLength);
    const std::array<unsigned char, 4> mask = dateMask(plain);
    for (qsizetype k = 0; k < bytes.size(); ++k) {
        bytes[k] = static_cast<char>(static_cast<unsigned char>(bytes.at(k)) ^ mask[static_cast<size_t>(k % 4)]);
    }
    QString password = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData()), bytes.size() / 2);
    const qsizetype end = password.indexOf(QChar(u'\0'));
    return end < 0 ? password : password.left(end);
}

} // namespace JetHeader
