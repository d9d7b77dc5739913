#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The first page of an Access database file, as far as the password check needs it.
//
// The engine keeps the database password in the file's header, at 0x42, inside a region that
// starts at 0x18 and is scrambled with a fixed RC4 key stream (key 0x6b39dac7): 126 bytes long
// in a Jet 3 file (Access 97 and before), 128 bytes in a Jet 4 or later file. In a Jet 3 file the
// password is 20 one-byte characters; in a Jet 4 file it is 40 bytes of UTF-16LE, each byte
// further XORed with the four little-endian bytes of the creation date's whole part (the
// double at 0x72, itself inside the scrambled region). Unused characters are zero, so a
// database without a password reads back as the empty text.
namespace JetHeader {

enum class Engine
{
    Jet3,
    Jet4, // Access 2000 to 2003, and the Access 2007 and later formats, which keep the same header
};

inline constexpr qsizetype PasswordOffset = 0x42;
inline constexpr qsizetype CreationDateOffset = 0x72;
inline constexpr qsizetype ScrambledOffset = 0x18;

// The engine of a file by its signature ("Standard Jet DB" or "Standard ACE DB" at byte 4) and
// its version byte at 0x14; nothing for a file that is no Access database.
std::optional<Engine> engineOf(const QByteArray& firstPage);

// The page with its scrambled region turned back into plain bytes (or plain bytes scrambled:
// the key stream is XORed, so the same call does both ways). Needs at least 0x98 bytes.
QByteArray unscramble(const QByteArray& firstPage, Engine engine);

// The password stored in the header; nothing when the bytes are no Access database header.
std::optional<QString> storedPassword(const QByteArray& firstPage);

} // namespace JetHeader
