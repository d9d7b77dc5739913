#include "TestSupport.h"
#include "WabWriter.h"
#include "contacts/WabFile.h"
#include "contacts/WabReader.h"

#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace {

using Writer = WabWriter;

// Text properties, given as parallel lists of property ids and values.
std::vector<Writer::Property> texts(const std::vector<quint16>& ids, const QStringList& values)
{
    std::vector<Writer::Property> properties;
    for (size_t k = 0; k < ids.size(); ++k) {
        properties.push_back(Writer::text(ids[k], values.at(static_cast<qsizetype>(k))));
    }
    return properties;
}

QByteArray withWord(QByteArray bytes, qsizetype at, quint32 value)
{
    qToLittleEndian(value, bytes.data() + at);
    return bytes;
}

} // namespace

class WabReaderTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    QString write(const QString& name, const QByteArray& bytes)
    {
        const QString path = m_dir.filePath(name);
        return TestSupport::writeFile(path, bytes) ? path : QString();
    }

    // The cells of every record of a file, or the reader's message.
    QList<QStringList> rowsOf(const QString& name, const QByteArray& bytes)
    {
        WabReader reader;
        const Status opened = reader.open(write(name, bytes));
        if (!opened.ok()) {
            return {{opened.error().message}};
        }
        QList<QStringList> rows;
        for (int k = 0; k < reader.count(); ++k) {
            reader.select(k);
            const auto cells = AddressBook::rowCells(reader);
            rows << QStringList(cells.begin(), cells.end());
        }
        return rows;
    }

private slots:
    void wab_givesEachLiveRecordItsOwnValues_andTheFirstNameLessSurnameThenMiddleName()
    {
        Writer writer;
        writer.addRecord(texts({0x3001, 0x3003, 0x3A06, 0x3A11, 0x3A44, 0x3A17, 0x3A16, 0x3A29, 0x3A27, 0x3A28, 0x3A2A,
                                0x3A26, 0x3A08, 0x3A24, 0x3A51},
                               {u"Ann B. Lee"_s, u"ann@home.example"_s, u"Ann"_s, u"Lee"_s, u"B."_s, u"Buyer"_s,
                                u"Acme Ltd"_s, u"1 Quay Road"_s, u"Cork"_s, u"Munster"_s, u"T12"_s, u"Ireland"_s,
                                u"+353 21 555"_s, u"+353 21 556"_s, u"https://acme.example"_s}));
        writer.addRecord({Writer::text(0x3001, u"Gone Away"_s), Writer::text(0x3003, u"gone@example.com"_s)}, false);
        // An 8-bit name in Windows-1252 and the e-mail only in the list of addresses.
        writer.addRecord({Writer::text(0x3001, u"Zo\u00eb Brun"_s, 0x001E), Writer::text(0x3A11, u"Brun"_s, 0x001E),
                          Writer::list(0x3A56, {u"zoe@list.example"_s, u"zb@second.example"_s})});
        // No display name: made of its parts. Otherwise the surname goes, even inside the given name.
        writer.addRecord(texts({0x3A06, 0x3A44, 0x3A11}, {u"Bo"_s, u"C."_s, u"Berg"_s}));
        writer.addRecord(texts({0x3001, 0x3A11}, {u"  Leeanne Lee  "_s, u"Lee"_s}));
        const QList<QStringList> rows = rowsOf(u"book.wab"_s, writer.bytes());
        QCOMPARE(rows.size(), 4);
        QCOMPARE(rows.at(0),
                 (QStringList{u"ann@home.example"_s, u"Ann"_s, u"Lee"_s, u"Buyer"_s, u"Acme Ltd"_s, u"1 Quay Road"_s,
                              u"Cork"_s, u"Munster"_s, u"T12"_s, u"Ireland"_s, u"+353 21 555"_s, u"+353 21 556"_s,
                              u"https://acme.example"_s, QString(), QString(), QString()}));
        QCOMPARE(rows.at(1).mid(0, 4), (QStringList{u"zoe@list.example"_s, u"Zo\u00eb"_s, u"Brun"_s, QString()}));
        QStringList firstNames;
        for (const QStringList& row : rows.mid(2)) {
            firstNames << row.at(1);
        }
        QCOMPARE(firstNames, (QStringList{u"Bo"_s, u"anne"_s})); // "Bo C. Berg" made of the parts
    }

    void wab_holdsMoreThan32767Records()
    {
        Writer writer;
        for (int k = 0; k < 40000; ++k) {
            writer.addRecord({Writer::text(0x3003, u"c%1@example.com"_s.arg(k))});
        }
        WabReader reader;
        QVERIFY(reader.open(write(u"big.wab"_s, writer.bytes())).ok());
        QCOMPARE(reader.count(), 40000);
        reader.select(39999);
        QCOMPARE(reader.GetValue(u"HomeEmail"_s), u"c39999@example.com"_s);
    }

    void damagedWab_endsWithAMessageThatSaysWhat()
    {
        Writer writer;
        writer.addRecord(texts({0x3001, 0x3003}, {u"Ann"_s, u"ann@example.com"_s}));
        writer.addRecord({Writer::text(0x3001, u"Bo"_s), Writer::list(0x3A56, {u"bo@example.com"_s})});
        const QByteArray good = writer.bytes();
        const qsizetype second = writer.recordOffset(1);
        const qsizetype secondIndexEntry = 120 + 8 + 4;
        const std::pair<QByteArray, QString> cases[] = {
            {QByteArray(), u"too short to be an address book"_s},
            {QByteArray(200, 'x'), u"is not a Windows Address Book"_s},
            {good.left(good.size() - 5), u"runs past the end"_s},
            {withWord(good, Writer::IndexDescriptorAt + 12, 1'000'000'000), u"record index of 1000000000 entries"_s},
            {withWord(good, second + 20, 1'000'000'000), u"lists 1000000000 properties"_s},
            // Bo's list: the count word follows his two tags and his name (length word, 6 bytes).
            {withWord(good, second + 32 + 8 + 4 + 6, 1'000'000'000), u"value of record 2 runs past the end"_s},
            {withWord(good, secondIndexEntry, quint32(writer.recordOffset(0) + 4)), u"overlaps the record before it"_s},
            {"BEGIN:VCARD\nFN:A\nEND:VCARD\n\nBEGIN:VCARD\nFN:B\nEMAIL:b@",
             u"the vCard that begins on line 5 has no END:VCARD"_s},
            {"Name,Email\r\nAnn,ann@example.com\r\n", u"holds no vCard"_s},
        };
        for (const auto& [bytes, reason] : cases) {
            const QString name = bytes.startsWith("BEGIN") || bytes.startsWith("Name") ? u"bad.vcf"_s : u"bad.wab"_s;
            const QList<QStringList> rows = rowsOf(name, bytes);
            const QString message = rows.value(0).value(0);
            QVERIFY2(rows.size() == 1 && message.contains(reason) && message.contains(m_dir.filePath(name)),
                     qPrintable(reason + u" / "_s + message));
        }
    }

    void wab_indexNamingOneIdOrRecordTwice_givesThatContactOnce()
    {
        Writer writer;
        writer.addRecord({Writer::text(0x3003, u"first@example.com"_s)}, true, 7);
        writer.addRecord({Writer::text(0x3003, u"second@example.com"_s)}, true, 7);
        writer.addRecord({Writer::text(0x3003, u"third@example.com"_s)}, true, 8);
        const Result<std::vector<WabFile::Record>> records = WabFile::parse(writer.bytes(), u"twice.wab"_s);
        QVERIFY(records.ok());
        QCOMPARE(records->size(), size_t(2));
        QCOMPARE(records->at(0).first(0x3003), u"first@example.com"_s);
        QCOMPARE(records->at(1).first(0x3003), u"third@example.com"_s);
        // The third index entry points at the first record again: that record is read once.
        const QByteArray again = withWord(writer.bytes(), 120 + 2 * 8 + 4, quint32(writer.recordOffset(0)));
        QCOMPARE(WabFile::parse(again, u"twice.wab"_s)->size(), size_t(1));
    }

    // Each word of a good book overwritten with a count, an offset or a record's place: each read
    // ends, with records or a reason, and a record only ever holds values written for that record.
    void mutatedWab_alwaysEnds_andKeepsEachContactsValues()
    {
        Writer writer;
        QStringList marks;
        for (int k = 0; k < 6; ++k) {
            const QString mark(12, QChar(u'a' + k));
            marks << mark;
            writer.addRecord({Writer::text(0x3003, mark + u"@example.com"_s), Writer::text(0x3A11, u"S-"_s + mark),
                              Writer::list(0x3A56, {mark + u"@list.example"_s})});
        }
        const QByteArray good = writer.bytes();
        int failed = 0;
        for (qsizetype at = 0; at + 4 <= good.size(); at += 4) {
            for (const quint32 value :
                 {0u, 3u, 0x7FFFFFFFu, quint32(writer.recordOffset(0) + 8), quint32(writer.recordOffset(3) - 2)}) {
                const QByteArray bytes = withWord(good, at, value);
                const Result<std::vector<WabFile::Record>> records = WabFile::parse(bytes, u"m.wab"_s);
                if (!records.ok()) {
                    ++failed;
                    QVERIFY(!records.error().message.isEmpty());
                    continue;
                }
                for (const WabFile::Record& record : records.value()) {
                    const QString email = record.first(0x3003).left(12);
                    const QString surname = record.first(0x3A11).mid(2);
                    // Two intact values of one record always carry the same contact's mark.
                    QVERIFY(!marks.contains(email) || !marks.contains(surname) || email == surname);
                }
            }
        }
        QVERIFY(failed > 100); // the changes really damage the file
    }

    void vcard21_quotedPrintableCharsetsAndBareTypes()
    {
        const QByteArray text = "BEGIN:VCARD\r\nVERSION:2.1\r\n"
                                "N;CHARSET=ISO-8859-1:M\xfcller;J\xfcrgen;Karl\r\n"
                                "FN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:J=FCrgen Karl M=FC=\r\nller\r\n"
                                "TITLE:Chief\r\nORG:Nord GmbH;Sales\r\n"
                                "EMAIL;INTERNET:work@nord.example\r\nEMAIL;HOME;INTERNET:home@nord.example\r\n"
                                "TEL;WORK;VOICE:+49 40 1\r\nTEL;HOME;FAX:+49 40 9\r\nTEL;WORK;FAX:+49 40 2\r\n"
                                "ADR;HOME:;;Heimweg 1;Kiel;;24103;Germany\r\n"
                                "ADR;WORK;QUOTED-PRINTABLE:;;Hafenstra=C3=9Fe 5;Hamburg;HH;20095;Germany\r\n"
                                "URL:http://nord.example\r\nEND:VCARD\r\n";
        QCOMPARE(rowsOf(u"cards.vcf"_s, text),
                 (QList<QStringList>{{u"home@nord.example"_s, u"J\u00fcrgen"_s, u"M\u00fcller"_s, u"Chief"_s,
                                      u"Nord GmbH"_s, u"Hafenstra\u00dfe 5"_s, u"Hamburg"_s, u"HH"_s, u"20095"_s,
                                      u"Germany"_s, u"+49 40 1"_s, u"+49 40 2"_s, u"http://nord.example"_s, QString(),
                                      QString(), QString()}}));
    }

    void vcard3and4_foldedLinesEscapesGroupsAndManyCards()
    {
        const QByteArray text = "BEGIN:VCARD\nVERSION:3.0\nFN:Ann Lee\nN:Lee;Ann;;;\n"
                                "item1.EMAIL;TYPE=INTERNET,HOME:ann@\n home.example\n"
                                "NOTE:line one\\nline two\nORG:Lee\\, Lee & Co\n"
                                "ADR;TYPE=WORK:;;1 Main St\\, Suite 2;Springfield;;;\nEND:VCARD\n"
                                "BEGIN:VCARD\nVERSION:4.0\nFN:Bo Berg\nN:Berg;Bo;;;\nEMAIL;PREF=1:bo@example.com\n"
                                "TEL;TYPE=\"work,voice\";VALUE=uri:tel:+46-8-1\nTEL;TYPE=\"work,fax\":tel:+46-8-2\n"
                                "URL;TYPE=home:https://bo.example\nURL;TYPE=work:https://berg.example\n"
                                "AGENT:BEGIN:VCARD\nEND:VCARD\n"
                                // A card inside a card belongs to no one.
                                "BEGIN:VCARD\nFN:Outer One\nAGENT:\nBEGIN:VCARD\nFN:Inner Agent\n"
                                "EMAIL:agent@example.com\nEND:VCARD\nEMAIL:outer@example.com\nEND:VCARD\n";
        const QList<QStringList> rows = rowsOf(u"cards.vcf"_s, text);
        QCOMPARE(rows.size(), 3);
        QCOMPARE(rows.at(0).mid(0, 7), (QStringList{u"ann@home.example"_s, u"Ann"_s, u"Lee"_s, QString(),
                                                    u"Lee, Lee & Co"_s, u"1 Main St, Suite 2"_s, u"Springfield"_s}));
        QCOMPARE(rows.at(1).mid(0, 3), (QStringList{u"bo@example.com"_s, u"Bo"_s, u"Berg"_s}));
        QCOMPARE(rows.at(1).mid(10, 3), (QStringList{u"tel:+46-8-1"_s, u"tel:+46-8-2"_s, u"https://berg.example"_s}));

        QCOMPARE(rows.at(2).mid(0, 2), (QStringList{u"outer@example.com"_s, u"Outer One"_s}));
    }
};

QTEST_GUILESS_MAIN(WabReaderTest)
#include "tst_wab_reader.moc"
