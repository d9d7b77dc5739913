#include "WabWriter.h"

#include <QtEndian>

namespace {

constexpr int HeaderSize = 24 + 6 * 16;

void putWord(QByteArray& bytes, quint32 value)
{
    char word[4];
    qToLittleEndian(value, word);
    bytes.append(word, 4);
}

QByteArray utf16(const QString& value)
{
    QByteArray bytes(reinterpret_cast<const char*>(value.utf16()), value.size() * 2);
    return bytes.append(2, '\0');
}

} // namespace

WabWriter::Property WabWriter::text(quint16 id, const QString& value, quint16 type)
{
    const QByteArray bytes = type == 0x001E ? value.toLatin1().append('\0') : utf16(value);
    return {quint32(id) << 16 | type, {bytes}};
}

WabWriter::Property WabWriter::list(quint16 id, const QStringList& values)
{
    Property property{quint32(id) << 16 | 0x101F, {}};
    for (const QString& value : values) {
        property.values << utf16(value);
    }
    return property;
}

void WabWriter::addRecord(const std::vector<Property>& properties, bool live)
{
    addRecord(static_cast<quint32>(m_records.size() + 1), properties, live);
}

void WabWriter::addRecord(quint32 id, const std::vector<Property>& properties, bool live)
{
    m_records.push_back({id, live, properties});
}

QByteArray WabWriter::recordBytes(const Record& record) const
{
    QByteArray data;
    for (const Property& property : record.properties) {
        if ((property.tag & 0x1000) != 0) {
            putWord(data, static_cast<quint32>(property.values.size()));
        }
        for (const QByteArray& value : property.values) {
            putWord(data, static_cast<quint32>(value.size()));
            data += value;
        }
    }
    QByteArray bytes;
    const auto count = static_cast<quint32>(record.properties.size());
    for (const quint32 word :
         {record.live ? 1u : 0u, record.id, 0u, 0u, 0u, count, count * 4, static_cast<quint32>(data.size())}) {
        putWord(bytes, word);
    }
    for (const Property& property : record.properties) {
        putWord(bytes, property.tag);
    }
    return bytes + data;
}

qsizetype WabWriter::recordOffset(int k) const
{
    qsizetype offset = HeaderSize + qsizetype(m_records.size()) * 8;
    for (int i = 0; i < k; ++i) {
        offset += recordBytes(m_records[static_cast<size_t>(i)]).size();
    }
    return offset;
}

QByteArray WabWriter::bytes() const
{
    QByteArray file = QByteArray::fromHex("9CCBCB8D1375D211915800C04F7956A4");
    putWord(file, static_cast<quint32>(m_records.size()));
    putWord(file, 0);
    const auto count = static_cast<quint32>(m_records.size());
    // Two text indexes before the record index, three empty tables after it.
    for (int table = 0; table < 6; ++table) {
        const bool index = table == 2;
        putWord(file, index ? 0xFA0 : 0x10 + static_cast<quint32>(table));
        putWord(file, index ? count : 0);
        putWord(file, index ? HeaderSize : 0);
        putWord(file, index ? count : 0);
    }
    QByteArray records;
    for (const Record& record : m_records) {
        putWord(file, record.id);
        putWord(file, static_cast<quint32>(HeaderSize + m_records.size() * 8 + size_t(records.size())));
        records += recordBytes(record);
    }
    return file + records;
}
