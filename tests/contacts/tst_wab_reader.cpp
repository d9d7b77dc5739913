#include "Mutations.h"
#include "TestSupport.h"
#include "WabWriter.h"
#include "contacts/VCard.h"
#include "contacts/WabFile.h"
#include "contacts/WabReader.h"

#include <QRandomGenerator>
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

// A full business contact, as an address book program writes it.
std::vector<Writer::Property> annLee()
{
    return texts({0x3001, 0x3003, 0x3A06, 0x3A11, 0x3A44, 0x3A17, 0x3A16, 0x3A29, 0x3A27, 0x3A28, 0x3A2A, 0x3A26,
                  0x3A08, 0x3A24, 0x3A51},
                 {u"Ann B. Lee"_s, u"ann@home.example"_s, u"Ann"_s, u"Lee"_s, u"B."_s, u"Buyer"_s, u"Acme Ltd"_s,
                  u"1 Quay Road"_s, u"Cork"_s, u"Munster"_s, u"T12"_s, u"Ireland"_s, u"+353 21 555"_s, u"+353 21 556"_s,
                  u"https://acme.example"_s});
}

void setWord(QByteArray& bytes, qsizetype at, quint32 value)
{
    qToLittleEndian(value, bytes.data() + at);
}

QStringList cellsOf(const WabReader& reader)
{
    const auto cells = AddressBook::rowCells(reader);
    return QStringList(cells.begin(), cells.end());
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
        if (!TestSupport::writeFile(path, bytes)) {
            qFatal("cannot write %s", qPrintable(path));
        }
        return path;
    }

    // The cells of every card of a vCard text.
    QList<QStringList> vcardRows(const QByteArray& text)
    {
        WabReader reader;
        const Status opened = reader.open(write(u"cards.vcf"_s, text));
        if (!opened.ok()) {
            qWarning("%s", qPrintable(opened.error().message));
            return {};
        }
        QList<QStringList> rows;
        for (int k = 0; k < reader.count(); ++k) {
            reader.select(k);
            rows << cellsOf(reader);
        }
        return rows;
    }

private slots:
    void wab_givesEachLiveRecordItsOwnValues_byNameWithoutRegardToCase()
    {
        Writer writer;
        writer.addRecord(annLee());
        writer.addRecord({Writer::text(0x3001, u"Gone Away"_s), Writer::text(0x3003, u"gone@example.com"_s)}, false);
        // An 8-bit name in Windows-1252 and the e-mail only in the list of addresses.
        writer.addRecord({Writer::text(0x3001, u"Zo\u00eb Brun"_s, 0x001E), Writer::text(0x3A11, u"Brun"_s, 0x001E),
                          Writer::list(0x3A56, {u"zoe@list.example"_s, u"zb@second.example"_s})});
        WabReader reader;
        QVERIFY(reader.open(write(u"book.wab"_s, writer.bytes())).ok());
        QCOMPARE(reader.count(), 2);
        reader.select(0);
        QCOMPARE(cellsOf(reader),
                 (QStringList{u"ann@home.example"_s, u"Ann"_s, u"Lee"_s, u"Buyer"_s, u"Acme Ltd"_s, u"1 Quay Road"_s,
                              u"Cork"_s, u"Munster"_s, u"T12"_s, u"Ireland"_s, u"+353 21 555"_s, u"+353 21 556"_s,
                              u"https://acme.example"_s, QString(), QString(), QString()}));
        QCOMPARE(reader.GetValue(u"SurName"_s), reader.GetValue(u"Surname"_s));
        reader.select(1);
        QCOMPARE(reader.GetValue(u"HomeEmail"_s), u"zoe@list.example"_s);
        QCOMPARE(AddressBook::WabFirstName(reader), u"Zo\u00eb"_s);
        QCOMPARE(reader.GetValue(u"Title"_s), QString());
    }

    // Without a display name the name is made of its parts; the first name is the display name
    // less the surname, then the middle name, even inside the given name.
    void firstName_deletesSurnameThenMiddleName_evenInsideTheGivenName()
    {
        Writer writer;
        writer.addRecord(texts({0x3A06, 0x3A44, 0x3A11}, {u"Ann"_s, u"B."_s, u"Lee"_s}));
        writer.addRecord(texts({0x3001, 0x3A11}, {u"  Leeanne Lee  "_s, u"Lee"_s}));
        writer.addRecord(texts({0x3001, 0x3A11, 0x3A44}, {u"Ann Marie Lee"_s, u"lee"_s, u"Marie"_s}));
        writer.addRecord(texts({0x3001}, {u"Prince"_s}));
        WabReader reader;
        QVERIFY(reader.open(write(u"names.wab"_s, writer.bytes())).ok());
        reader.select(0);
        QCOMPARE(reader.GetValue(u"Name"_s), u"Ann B. Lee"_s);
        const QStringList expected = {u"Ann"_s, u"anne"_s, u"Ann  Lee"_s, u"Prince"_s};
        for (int k = 0; k < expected.size(); ++k) {
            reader.select(k);
            QCOMPARE(AddressBook::WabFirstName(reader), expected.at(k));
        }
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
        writer.addRecord(annLee());
        writer.addRecord({Writer::text(0x3001, u"Bo"_s), Writer::list(0x3A56, {u"bo@example.com"_s})});
        const QByteArray good = writer.bytes();
        const qsizetype second = writer.recordOffset(1);
        const auto changed = [&good](qsizetype at, quint32 value) {
            QByteArray bytes = good;
            setWord(bytes, at, value);
            return bytes;
        };
        const struct
        {
            QByteArray bytes;
            QString message;
        } cases[] = {
            {QByteArray(), u"too short to be an address book"_s},
            {QByteArray(200, 'x'), u"is not a Windows Address Book"_s},
            {good.left(good.size() - 5), u"runs past the end"_s},
            {good.left(second + 10), u"lies past the end of the file"_s},
            {changed(Writer::IndexDescriptorAt + 12, 1'000'000'000), u"record index of 1000000000 entries"_s},
            {changed(Writer::IndexDescriptorAt + 8, 0x7FFFFFF0), u"runs past the end of the file"_s},
            {changed(120 + 8 + 4, 0xFFFFFFF0), u"lies past the end of the file"_s},
            {changed(second + 20, 1'000'000'000), u"lists 1000000000 properties"_s},
            {changed(second + 28, 0xFFFFFFFF), u"record 2 runs past the end of the file"_s},
            // Bo's list: the count word follows his two tags and his name (length word, 6 bytes).
            {changed(second + 32 + 8 + 4 + 6, 1'000'000'000), u"value of record 2 runs past the end"_s},
            {changed(120 + 8 + 4, static_cast<quint32>(writer.recordOffset(0) + 4)),
             u"overlaps the record before it"_s},
            {changed(Writer::IndexDescriptorAt, 0x11), u"has no record index"_s},
        };
        for (const auto& damaged : cases) {
            WabReader reader;
            const QString path = write(u"damaged.wab"_s, damaged.bytes);
            const Status opened = reader.open(path);
            QVERIFY2(!opened.ok(), qPrintable(damaged.message));
            const QString message = opened.error().message;
            QVERIFY2(message.contains(damaged.message) && message.contains(path), qPrintable(message));
            QCOMPARE(reader.count(), 0);
        }
    }

    void wab_indexNamingOneIdOrRecordTwice_givesThatContactOnce()
    {
        Writer writer;
        writer.addRecord(7, {Writer::text(0x3003, u"first@example.com"_s)});
        writer.addRecord(7, {Writer::text(0x3003, u"second@example.com"_s)});
        writer.addRecord(8, {Writer::text(0x3003, u"third@example.com"_s)});
        QByteArray bytes = writer.bytes();
        const Result<std::vector<WabFile::Record>> records = WabFile::parse(bytes, u"twice.wab"_s);
        QVERIFY(records.ok());
        QCOMPARE(records->size(), size_t(2));
        QCOMPARE(records->at(0).first(0x3003), u"first@example.com"_s);
        QCOMPARE(records->at(1).first(0x3003), u"third@example.com"_s);
        // The third index entry points at the first record again: that record is read once.
        setWord(bytes, 120 + 2 * 8 + 4, static_cast<quint32>(writer.recordOffset(0)));
        const Result<std::vector<WabFile::Record>> again = WabFile::parse(bytes, u"twice.wab"_s);
        QVERIFY2(again.ok(), qPrintable(again.error().message));
        QCOMPARE(again->size(), size_t(1));
    }

    // Thousands of damaged variants of a good book: each read ends, with records or a reason,
    // and a record only ever holds values written for that record.
    void mutatedWab_alwaysEnds_andKeepsEachContactsValues()
    {
        Writer writer;
        QStringList marks;
        for (int k = 0; k < 6; ++k) {
            // Twelve letters of its own per contact: no four edits turn one contact's mark into another's.
            const QString mark(12, QChar(u'a' + k));
            marks << mark;
            writer.addRecord({Writer::text(0x3003, mark + u"@example.com"_s), Writer::text(0x3A11, u"S-"_s + mark),
                              Writer::list(0x3A56, {mark + u"@list.example"_s})});
        }
        const QByteArray good = writer.bytes();
        QRandomGenerator random(20261125);
        int failed = 0;
        for (int round = 0; round < 4000; ++round) {
            const QByteArray bytes = mutated(good, random);
            const Result<std::vector<WabFile::Record>> records = WabFile::parse(bytes, u"m.wab"_s);
            if (!records.ok()) {
                ++failed;
                QVERIFY(records.error().message.startsWith(u"The address book m.wab is damaged: "_s) ||
                        records.error().message.contains(u"not a Windows Address Book"_s));
                continue;
            }
            QVERIFY(records->size() <= size_t(bytes.size() / WabFile::RecordHeaderSize));
            for (const WabFile::Record& record : records.value()) {
                const QString email = record.first(0x3003);
                const QString surname = record.first(0x3A11);
                // Two intact values of one record always carry the same contact's mark.
                if (marks.contains(email.left(12)) && marks.contains(surname.mid(2))) {
                    QCOMPARE(email.left(12), surname.mid(2));
                }
            }
        }
        QVERIFY(failed > 100); // the mutations really damage files
    }

    void vcard21_quotedPrintableCharsetsAndBareTypes()
    {
        const QByteArray text = "BEGIN:VCARD\r\n"
                                "VERSION:2.1\r\n"
                                "N;CHARSET=ISO-8859-1:M\xfcller;J\xfcrgen;Karl\r\n"
                                "FN;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:J=FCrgen Karl M=FC=\r\n"
                                "ller\r\n"
                                "TITLE:Chief\r\n"
                                "ORG:Nord GmbH;Sales\r\n"
                                "EMAIL;INTERNET:work@nord.example\r\n"
                                "EMAIL;HOME;INTERNET:home@nord.example\r\n"
                                "TEL;WORK;VOICE:+49 40 1\r\n"
                                "TEL;HOME;FAX:+49 40 9\r\n"
                                "TEL;WORK;FAX:+49 40 2\r\n"
                                "ADR;HOME:;;Heimweg 1;Kiel;;24103;Germany\r\n"
                                "ADR;WORK;QUOTED-PRINTABLE:;;Hafenstra=C3=9Fe 5;Hamburg;HH;20095;Germany\r\n"
                                "URL:http://nord.example\r\n"
                                "END:VCARD\r\n";
        QCOMPARE(vcardRows(text),
                 (QList<QStringList>{{u"home@nord.example"_s, u"J\u00fcrgen"_s, u"M\u00fcller"_s, u"Chief"_s,
                                      u"Nord GmbH"_s, u"Hafenstra\u00dfe 5"_s, u"Hamburg"_s, u"HH"_s, u"20095"_s,
                                      u"Germany"_s, u"+49 40 1"_s, u"+49 40 2"_s, u"http://nord.example"_s, QString(),
                                      QString(), QString()}}));
    }

    void vcard3and4_foldedLinesEscapesGroupsAndManyCards()
    {
        const QByteArray text = "BEGIN:VCARD\n"
                                "VERSION:3.0\n"
                                "FN:Ann Lee\n"
                                "N:Lee;Ann;;;\n"
                                "item1.EMAIL;TYPE=INTERNET,HOME:ann@\n"
                                " home.example\n"
                                "NOTE:line one\\nline two\n"
                                "ORG:Lee\\, Lee & Co\n"
                                "ADR;TYPE=WORK:;;1 Main St\\, Suite 2;Springfield;;;\n"
                                "END:VCARD\n"
                                "BEGIN:VCARD\n"
                                "VERSION:4.0\n"
                                "FN:Bo Berg\n"
                                "N:Berg;Bo;;;\n"
                                "EMAIL;PREF=1:bo@example.com\n"
                                "TEL;TYPE=\"work,voice\";VALUE=uri:tel:+46-8-1\n"
                                "TEL;TYPE=\"work,fax\":tel:+46-8-2\n"
                                "URL;TYPE=home:https://bo.example\n"
                                "URL;TYPE=work:https://berg.example\n"
                                "AGENT:BEGIN:VCARD\n"
                                "END:VCARD\n";
        const QList<QStringList> rows = vcardRows(text);
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows.at(0).mid(0, 7), (QStringList{u"ann@home.example"_s, u"Ann"_s, u"Lee"_s, QString(),
                                                    u"Lee, Lee & Co"_s, u"1 Main St, Suite 2"_s, u"Springfield"_s}));
        QCOMPARE(rows.at(1).mid(0, 3), (QStringList{u"bo@example.com"_s, u"Bo"_s, u"Berg"_s}));
        QCOMPARE(rows.at(1).mid(10, 3), (QStringList{u"tel:+46-8-1"_s, u"tel:+46-8-2"_s, u"https://berg.example"_s}));
    }

    void vcard_nestedCardBelongsToNoOne_andUtf16FilesRead()
    {
        const QString text = u"BEGIN:VCARD\r\nFN:Outer One\r\nAGENT:\r\nBEGIN:VCARD\r\nFN:Inner Agent\r\n"
                             u"EMAIL:agent@example.com\r\nEND:VCARD\r\nEMAIL:outer@example.com\r\nEND:VCARD\r\n"_s;
        QByteArray utf16("\xFF\xFE");
        utf16 += QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
        const QList<QStringList> rows = vcardRows(utf16);
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.at(0).mid(0, 2), (QStringList{u"outer@example.com"_s, u"Outer One"_s}));
    }

    void damagedVcard_endsWithAMessage()
    {
        const std::pair<QByteArray, QString> cases[] = {
            {QByteArray(), u"holds no vCard"_s},
            {QByteArray("Name,Email\r\nAnn,ann@example.com\r\n"), u"holds no vCard"_s},
            {QByteArray("BEGIN:VCARD\nFN:A\nEND:VCARD\n\nBEGIN:VCARD\nFN:B\nEMAIL:b@"),
             u"the vCard that begins on line 5 has no END:VCARD"_s},
        };
        for (const auto& [bytes, message] : cases) {
            WabReader reader;
            const Status opened = reader.open(write(u"bad.vcf"_s, bytes));
            QVERIFY2(!opened.ok() && opened.error().message.contains(message), qPrintable(message));
        }
    }

    void extensions_wabOrVcfInAnyCase()
    {
        QVERIFY(AddressBook::hasAddressBookExtension(u"/a/Book.WAB"_s));
        QVERIFY(AddressBook::hasAddressBookExtension(u"/a/cards.vcf"_s));
        QVERIFY(AddressBook::hasAddressBookExtension(u"/a/notawab"_s)); // only the last three characters count
        QVERIFY(!AddressBook::hasAddressBookExtension(u"/a/book.csv"_s));
        QVERIFY(!AddressBook::hasAddressBookExtension(u"/a/book.vcard"_s));
    }
};

QTEST_GUILESS_MAIN(WabReaderTest)
#include "tst_wab_reader.moc"
