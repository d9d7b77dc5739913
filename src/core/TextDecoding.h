#pragma once

#include <QByteArray>
#include <QString>

// Text inside the program is Unicode. Files are read as UTF-8 when they carry a byte-order
// mark or are valid UTF-8, as UTF-16 when they carry its mark, and otherwise as Windows-1252,
// the code page of the contact lists and logs that older programs write.
namespace TextDecoding {

QString decode(const QByteArray& bytes);

// Windows-1252 only; every byte gives one character.
QString fromWindows1252(const QByteArray& bytes);

bool isValidUtf8(const QByteArray& bytes);

} // namespace TextDecoding
