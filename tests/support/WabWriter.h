#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <vector>

// Writes small Windows Address Book files in the layout the reader expects: the signature, six
// table descriptors (the record index, type 0xFA0, the third), the index of (record id, offset)
// pairs, then the records, each eight header words, its property tags and its values.
class WabWriter
{
public:
    // A property's tag (id high, type low) and its length-prefixed values.
    struct Property
    {
        quint32 tag;
        QList<QByteArray> values;
    };

    // Type 0x001F is UTF-16LE, 0x001E Windows-1252 (Latin-1 here), each with a closing NUL;
    // a list (0x101F) holds UTF-16LE values.
    static Property text(quint16 id, const QString& value, quint16 type = 0x001F);
    static Property list(quint16 id, const QStringList& values);

    // Id 0 takes the record's number; a given one may name an id twice.
    void addRecord(const std::vector<Property>& properties, bool live = true, quint32 id = 0);
    QByteArray bytes() const;

    // The record index's descriptor (its count word 12 bytes on), and record k's offset in bytes().
    static constexpr int IndexDescriptorAt = 24 + 2 * 16;
    qsizetype recordOffset(int k) const;

private:
    std::vector<std::pair<quint32, QByteArray>> m_records; // id, bytes
};
