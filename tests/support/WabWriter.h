#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <vector>

// Writes small Windows Address Book files for the tests, in the layout the reader expects:
// the signature, six table descriptors (the record index of type 0xFA0 in the third), the index
// of (record id, offset) pairs, then the records, each eight header words, its property tags
// and its length-prefixed values.
class WabWriter
{
public:
    // One property: its tag (id in the high half, type in the low half) and its raw values; a
    // single-valued type takes exactly one.
    struct Property
    {
        quint32 tag;
        QList<QByteArray> values;
    };

    // Properties given as text: a type of 0x001F is written as UTF-16LE with a closing NUL,
    // 0x001E as the bytes of the text in Windows-1252 (Latin-1 here) with a closing NUL, and
    // 0x101F as a list of UTF-16LE values.
    static Property text(quint16 id, const QString& value, quint16 type = 0x001F);
    static Property list(quint16 id, const QStringList& values);

    void addRecord(const std::vector<Property>& properties, bool live = true);
    // A record whose id is given, to make an index that names one id twice.
    void addRecord(quint32 id, const std::vector<Property>& properties, bool live = true);

    QByteArray bytes() const;

    // Where the record index's descriptor lies (its count word is 12 bytes further), and the
    // offset of record k in bytes().
    static constexpr int IndexDescriptorAt = 24 + 2 * 16;
    qsizetype recordOffset(int k) const;

private:
    struct Record
    {
        quint32 id;
        bool live;
        std::vector<Property> properties;
    };
    QByteArray recordBytes(const Record& record) const;

    std::vector<Record> m_records;
};
