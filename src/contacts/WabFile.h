#pragma once

#include "core/Result.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <vector>

// A reader of Windows Address Book files (.wab). All numbers are 32-bit little-endian.
//
//   0     16 bytes   the signature 9C CB CB 8D 13 75 D2 11 91 58 00 C0 4F 79 56 A4
//   16    2 words    not used here
//   24    6 × 16     table descriptors: type, capacity, offset, entry count
//
// The table of type 0xFA0 is the record index: entry count × (record id, record offset).
// The other tables (indexes of names and addresses) are not needed. A record starts with eight
// words: live flag (0 for a deleted record), record id, three words not used here, property
// count, a word not used here, data length. Then come the property tags, one word each (the
// property id in the high half, its type in the low half), then the data: the values in the
// order of the tags, each a length word and that many bytes; a multi-valued type (bit 0x1000)
// holds a count word and that many length-prefixed values instead.
//
// The file is untrusted: every offset and length is checked against the file before it is used,
// a count never exceeds what the bytes that remain could hold, and the records of the index may
// not overlap, so reading costs no more than one pass over the file however the index is made.
namespace WabFile {

inline constexpr quint32 IndexTableType = 0xFA0;
inline constexpr int HeaderSize = 24 + 6 * 16;
inline constexpr int RecordHeaderSize = 8 * 4;
QByteArray signature();

// Property types of the values read as text.
inline constexpr quint16 TypeString8 = 0x001E;
inline constexpr quint16 TypeUnicode = 0x001F;
inline constexpr quint16 MultiValued = 0x1000;

// One live record: its id and the text values of its string properties, by property id
// (0x3001 display name, 0x3A11 surname, …). A multi-valued string property has all its values.
struct Record
{
    quint32 id = 0;
    QHash<quint16, QStringList> strings;

    QString first(quint16 propertyId) const;
};

// The live records in file order (by offset). An error value says what is damaged, in words
// that name the file: "The address book /x/a.wab is damaged: record 7 runs past the end of the file".
Result<std::vector<Record>> parse(const QByteArray& bytes, const QString& fileName);

} // namespace WabFile
