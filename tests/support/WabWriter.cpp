#include "WabWriter.h"

#include <QtEndian>

namespace {

constexpr quint32 HeaderSize = 24 + 6 * 16;

void putWords(QByteArray& bytes, std::initializer_list<quint32> words)
{
    for (const quint32 value : words) {
        char word[4];
        qToLittleEndian(value, word);
        bytes.append(word, 4);
    }
}

QByteArray utf16(const QString& value)
{
    return QByteArray(reinterpret_cast<const char*>(value.utf16()), value.size() * 2).append(2, '\0');
}

} // namespace

WabWriter::Property WabWriter::text(quint16 id, const QString& value, quint16 type)
{
    return {quint32(id) << 16 | type, {type == 0x001E ? value.toLatin1().append('\0') : utf16(value)}};
}

WabWriter::Property WabWriter::list(quint16 id, const QStringList& values)
{
    Property property{quint32(id) << 16 | 0x101F, {}};
    for (const QString& value : values) {
        property.values << utf16(value);
    }
    return property;
}

void WabWriter::addRecord(const std::vector<Property>& properties, bool live, quint32 id)
{
    QByteArray tags;
    QByteArray data;
    for (const Property& property : properties) {
        putWords(tags, {property.tag});
        if ((property.tag & 0x1000) != 0) {
            putWords(data, {static_cast<quint32>(property.values.size())});
        }
        for (const QByteArray& value : property.values) {
            putWords(data, {static_cast<quint32>(value.size())});
            data += value;
        }
    }
    id = id != 0 ? id : static_cast<quint32>(m_records.size() + 1);
    const auto count = static_cast<quint32>(properties.size());
    QByteArray record;
    putWords(record, {live ? 1u : 0u, id, 0u, 0u, 0u, count, count * 4, static_cast<quint32>(data.size())});
    m_records.push_back({id, record + tags + data});
}

qsizetype WabWriter::recordOffset(int k) const
{
    return qFromLittleEndian<quint32>(bytes().constData() + HeaderSize + k * 8 + 4);
}

QByteArray WabWriter::bytes() const
{
    QByteArray file = QByteArray::fromHex("9CCBCB8D1375D211915800C04F7956A4");
    const auto count = static_cast<quint32>(m_records.size());
    putWords(file, {count, 0});
    // Two text indexes before the record index, three empty tables after it.
    for (quint32 table = 0; table < 6; ++table) {
        const bool index = table == 2;
        putWords(file, {index ? 0xFA0 : 0x10 + table, index ? count : 0, index ? HeaderSize : 0u, index ? count : 0});
    }
    QByteArray records;
    for (const auto& [id, record] : m_records) {
        putWords(file, {id, HeaderSize + count * 8 + static_cast<quint32>(records.size())});
        records += record;
    }
    return file + records;
}
