#include "WabFile.h"

#include "core/TextDecoding.h"

#include <QSet>
#include <QtEndian>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace WabFile {

namespace {

constexpr int TableCount = 6;
constexpr int TableDescriptorsAt = 24;
constexpr int IndexEntrySize = 8;

// Reads words and byte runs from a bounded stretch of the file; every read is checked, and a
// read past the end only sets the failure mark (positions are 64-bit, so no sum can wrap).
class Cursor
{
public:
    Cursor(const QByteArray& bytes, qint64 begin, qint64 end)
        : m_bytes(bytes)
        , m_position(begin)
        , m_end(end)
    {
    }

    qint64 position() const { return m_position; }
    qint64 remaining() const { return m_end - m_position; }

    bool word(quint32& value)
    {
        if (remaining() < 4) {
            return false;
        }
        value = qFromLittleEndian<quint32>(m_bytes.constData() + m_position);
        m_position += 4;
        return true;
    }

    bool run(qint64 length, QByteArray& value)
    {
        if (length < 0 || length > remaining()) {
            return false;
        }
        value = m_bytes.mid(m_position, length);
        m_position += length;
        return true;
    }

private:
    const QByteArray& m_bytes;
    qint64 m_position;
    qint64 m_end;
};

QString stringValue(quint16 type, QByteArray bytes)
{
    if (type == TypeUnicode) {
        if (bytes.size() % 2 != 0) {
            bytes.chop(1);
        }
        QString text = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData()), bytes.size() / 2);
        while (text.endsWith(QChar(u'\0'))) {
            text.chop(1);
        }
        return text;
    }
    while (bytes.endsWith('\0')) {
        bytes.chop(1);
    }
    return TextDecoding::decode(bytes);
}

bool isString(quint16 type)
{
    const quint16 single = type & ~MultiValued;
    return single == TypeString8 || single == TypeUnicode;
}

struct IndexEntry
{
    quint32 id;
    quint32 offset;
};

class Parser
{
public:
    Parser(const QByteArray& bytes, const QString& fileName)
        : m_bytes(bytes)
        , m_fileName(fileName)
    {
    }

    Result<std::vector<Record>> run()
    {
        if (m_bytes.size() < HeaderSize) {
            return damaged(u"it is too short to be an address book (%1 bytes)"_s.arg(m_bytes.size()));
        }
        if (!m_bytes.startsWith(signature())) {
            return Result<std::vector<Record>>::failure(
                1, u"%1 is not a Windows Address Book: its first bytes are not those of a .wab file"_s.arg(m_fileName));
        }
        std::vector<IndexEntry> index;
        if (!readIndex(index)) {
            return damaged(m_problem);
        }
        std::vector<Record> records;
        qint64 previousEnd = 0;
        qint64 previousOffset = -1;
        QSet<quint32> ids;
        for (const IndexEntry& entry : index) {
            // An index that lists one record twice gives it once.
            if (entry.offset == previousOffset) {
                continue;
            }
            previousOffset = entry.offset;
            if (entry.offset < previousEnd) {
                return damaged(u"record %1 overlaps the record before it"_s.arg(entry.id));
            }
            Record record;
            bool live = false;
            if (!readRecord(entry, record, live, previousEnd)) {
                return damaged(m_problem);
            }
            // An index that lists one id twice names one contact twice: the first one counts.
            if (live && !ids.contains(record.id)) {
                ids.insert(record.id);
                records.push_back(std::move(record));
            }
        }
        return records;
    }

private:
    Result<std::vector<Record>> damaged(const QString& problem) const
    {
        return Result<std::vector<Record>>::failure(ErrorCode::CannotRead,
                                                    u"The address book %1 is damaged: %2"_s.arg(m_fileName, problem));
    }

    bool fail(const QString& problem)
    {
        m_problem = problem;
        return false;
    }

    // The entries of the record index, sorted by offset.
    bool readIndex(std::vector<IndexEntry>& index)
    {
        const qint64 size = m_bytes.size();
        Cursor header(m_bytes, TableDescriptorsAt, HeaderSize);
        bool found = false;
        quint32 offset = 0;
        quint32 count = 0;
        for (int table = 0; table < TableCount; ++table) {
            quint32 type = 0;
            quint32 capacity = 0;
            quint32 tableOffset = 0;
            quint32 tableCount = 0;
            header.word(type);
            header.word(capacity);
            header.word(tableOffset);
            header.word(tableCount);
            if (type == IndexTableType && !found) {
                found = true;
                offset = tableOffset;
                count = tableCount;
            }
        }
        if (!found) {
            return fail(u"it has no record index"_s);
        }
        if (offset > size || qint64(count) * IndexEntrySize > size - offset) {
            return fail(u"its record index of %1 entries at offset %2 runs past the end of the file (%3 bytes)"_s.arg(
                QString::number(count), QString::number(offset), QString::number(size)));
        }
        index.reserve(count);
        Cursor entries(m_bytes, offset, offset + qint64(count) * IndexEntrySize);
        for (quint32 k = 0; k < count; ++k) {
            IndexEntry entry{};
            entries.word(entry.id);
            entries.word(entry.offset);
            index.push_back(entry);
        }
        std::stable_sort(index.begin(), index.end(),
                         [](const IndexEntry& a, const IndexEntry& b) { return a.offset < b.offset; });
        return true;
    }

    bool readRecord(const IndexEntry& entry, Record& record, bool& live, qint64& end)
    {
        const qint64 size = m_bytes.size();
        if (qint64(entry.offset) + RecordHeaderSize > size) {
            return fail(u"record %1 at offset %2 lies past the end of the file"_s.arg(entry.id).arg(entry.offset));
        }
        Cursor cursor(m_bytes, entry.offset, size);
        std::array<quint32, 8> words{};
        for (quint32& word : words) {
            cursor.word(word);
        }
        live = words[0] != 0;
        record.id = words[1];
        const quint32 propertyCount = words[5];
        const quint32 dataLength = words[7];
        if (qint64(propertyCount) * 4 > cursor.remaining()) {
            return fail(u"record %1 lists %2 properties, more than the file holds"_s.arg(entry.id).arg(propertyCount));
        }
        std::vector<quint32> tags(propertyCount);
        for (quint32& tag : tags) {
            cursor.word(tag);
        }
        if (qint64(dataLength) > cursor.remaining()) {
            return fail(u"record %1 runs past the end of the file"_s.arg(entry.id));
        }
        end = cursor.position() + dataLength;
        Cursor data(m_bytes, cursor.position(), end);
        for (const quint32 tag : tags) {
            if (!readValue(tag, data, record)) {
                return fail(u"a value of record %1 runs past the end of the record"_s.arg(entry.id));
            }
        }
        return true;
    }

    bool readValue(quint32 tag, Cursor& data, Record& record)
    {
        const auto type = static_cast<quint16>(tag & 0xFFFF);
        const auto id = static_cast<quint16>(tag >> 16);
        quint32 count = 1;
        if ((type & MultiValued) != 0) {
            // Each value needs at least its length word.
            if (!data.word(count) || qint64(count) * 4 > data.remaining()) {
                return false;
            }
        }
        for (quint32 k = 0; k < count; ++k) {
            quint32 length = 0;
            QByteArray bytes;
            if (!data.word(length) || !data.run(length, bytes)) {
                return false;
            }
            if (isString(type)) {
                record.strings[id] << stringValue(type & ~MultiValued, std::move(bytes));
            }
        }
        return true;
    }

    const QByteArray& m_bytes;
    QString m_fileName;
    QString m_problem;
};

} // namespace

QByteArray signature()
{
    return QByteArray::fromHex("9CCBCB8D1375D211915800C04F7956A4");
}

QString Record::first(quint16 propertyId) const
{
    const auto found = strings.constFind(propertyId);
    return found == strings.constEnd() || found->isEmpty() ? QString() : found->constFirst();
}

Result<std::vector<Record>> parse(const QByteArray& bytes, const QString& fileName)
{
    return Parser(bytes, fileName).run();
}

} // namespace WabFile
