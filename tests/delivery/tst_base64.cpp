#include "TestSupport.h"
#include "delivery/Base64.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray sequence(int length)
{
    QByteArray bytes;
    for (int i = 0; i < length; ++i) {
        bytes.append(static_cast<char>(i * 7 + 1));
    }
    return bytes;
}

} // namespace

class Base64Test : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void text_matchesRfc4648Vectors_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("empty") << QString() << QByteArray();
        QTest::newRow("one letter, two pads") << u"f"_s << QByteArray("Zg==");
        QTest::newRow("two letters, one pad") << u"fo"_s << QByteArray("Zm8=");
        QTest::newRow("three letters, no pad") << u"foo"_s << QByteArray("Zm9v");
        QTest::newRow("four") << u"foob"_s << QByteArray("Zm9vYg==");
        QTest::newRow("five") << u"fooba"_s << QByteArray("Zm9vYmE=");
        QTest::newRow("six") << u"foobar"_s << QByteArray("Zm9vYmFy");
        QTest::newRow("login name") << u"user@example.com"_s << QByteArray("dXNlckBleGFtcGxlLmNvbQ==");
        QTest::newRow("non-ASCII goes as UTF-8") << u"pässword"_s << QByteArray("cMOkc3N3b3Jk");
        const QString longText(40000, u'a');
        QTest::newRow("longer than a 16-bit counter") << longText << longText.toLatin1().toBase64();
    }

    void text_matchesRfc4648Vectors()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, expected);
        QCOMPARE(Base64::EncodeBase64Text(text, 0), expected);
    }

    void text_breaksLinesAtTheGivenWidth()
    {
        QCOMPARE(Base64::EncodeBase64Text(u"foobar"_s, 4), QByteArray("Zm9v\r\nYmFy"));
        QCOMPARE(Base64::EncodeBase64Text(u"foobarfoobar"_s, 4), QByteArray("Zm9v\r\nYmFy\r\nZm9v\r\nYmFy"));
        QCOMPARE(Base64::EncodeBase64Text(u"foo"_s, 8), QByteArray("Zm9v"));
        QCOMPARE(Base64::EncodeBase64Text(u"foobar"_s, 3), QByteArray("Zm9\r\nvYm\r\nFy"));
        // A break is put in only while its position is short of the text's length, so a last
        // line of one character more than the width stays whole.
        QCOMPARE(Base64::EncodeBase64Text(u"foobar"_s, 7), QByteArray("Zm9vYmFy"));
        QCOMPARE(Base64::EncodeBase64Text(u"foobar"_s, 6), QByteArray("Zm9vYm\r\nFy"));
    }

    void file_linesAre68Characters_withLeadingAndClosingLineEnds_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<QList<int>>("lineLengths");
        QTest::newRow("empty file") << 0 << QList<int>{};
        QTest::newRow("48 bytes: one line of 64, flushed at the end") << 48 << QList<int>{64};
        QTest::newRow("51 bytes: one line of 68") << 51 << QList<int>{68};
        QTest::newRow("54 bytes: 68 and 4") << 54 << QList<int>{68, 4};
        QTest::newRow("tail joins the last line: 53 bytes") << 53 << QList<int>{72};
        QTest::newRow("several lines, tail on the last") << 200 << QList<int>{68, 68, 68, 64};
    }

    void file_linesAre68Characters_withLeadingAndClosingLineEnds()
    {
        QFETCH(int, length);
        QFETCH(QList<int>, lineLengths);
        const QByteArray encoded = Base64::encodeFileBytes(sequence(length));
        QVERIFY(encoded.startsWith("\r\n"));
        QVERIFY(encoded.endsWith("\r\n"));
        QList<QByteArray> lines = encoded.mid(2).split('\n');
        lines.removeLast(); // behind the closing line end
        QList<int> lengths;
        for (const QByteArray& line : lines) {
            QVERIFY(line.endsWith('\r'));
            lengths << static_cast<int>(line.size() - 1);
        }
        QCOMPARE(lengths, lineLengths);
        QCOMPARE(QByteArray::fromBase64(QByteArray(encoded).replace("\r\n", "")), sequence(length));
    }

    void file_tailReadsThePreviousTripleFromTheBuffer()
    {
        // 4 bytes: the tail's second character takes its low half from the file's second byte.
        const QByteArray four("\x10\xA5\x33\x42", 4);
        const QByteArray encodedFour = Base64::encodeFileBytes(four);
        const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        const auto byteAt = [&](const QByteArray& bytes, int i) {
            return static_cast<unsigned char>(bytes.at(i));
        };
        const char expectedSecond = alphabet[((byteAt(four, 3) & 3) << 4) | (byteAt(four, 1) >> 4)];
        QCOMPARE(encodedFour, QByteArray("\r\nEKUz") + QByteArray(1, alphabet[byteAt(four, 3) >> 2]) +
                                  QByteArray(1, expectedSecond) + QByteArray("==\r\n"));

        // 5 bytes: the tail's third character takes its low bits from the file's third byte.
        const QByteArray five("\x10\xA5\xF3\x42\x7E", 5);
        const QByteArray tail = Base64::encodeFileBytes(five).mid(6, 4);
        QCOMPARE(tail.at(2), alphabet[((byteAt(five, 4) & 15) << 2) | (byteAt(five, 2) >> 6)]);
        QCOMPARE(tail.at(3), '=');

        // Decoders ignore those bits: the bytes come back whole.
        for (int length = 1; length < 40; ++length) {
            QByteArray random(length, Qt::Uninitialized);
            for (char& c : random) {
                c = static_cast<char>(QRandomGenerator::global()->bounded(256));
            }
            QCOMPARE(QByteArray::fromBase64(QByteArray(Base64::encodeFileBytes(random)).replace("\r\n", "")), random);
        }
    }

    void file_missingButCreatable_givesOneLineEnd_unopenable_isAnError()
    {
        QTemporaryDir dir;
        const QString missing = dir.filePath(u"picture.gif"_s);
        const auto created = Base64::EncodeBase64File(missing);
        QVERIFY(created.ok());
        QCOMPARE(created.value(), QByteArray("\r\n"));
        QVERIFY(QFile::exists(missing));

        QVERIFY(!Base64::EncodeBase64File(dir.filePath(u"no/such/folder/picture.gif"_s)).ok());

        QFile file(dir.filePath(u"three.bin"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("Man");
        file.close();
        QCOMPARE(Base64::EncodeBase64File(file.fileName()).value(), QByteArray("\r\nTWFu\r\n"));
    }
};

QTEST_GUILESS_MAIN(Base64Test)
#include "tst_base64.moc"
