#include "delivery/Base64.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class Base64Test : public QObject
{
    Q_OBJECT

private slots:
    void text_matchesRfc4648Vectors()
    {
        const QString longText(40000, u'a'); // longer than a 16-bit counter
        const std::pair<QString, QByteArray> cases[] = {
            {QString(), ""},
            {u"f"_s, "Zg=="},
            {u"fo"_s, "Zm8="},
            {u"foobar"_s, "Zm9vYmFy"},
            {u"pässword"_s, "cMOkc3N3b3Jk"}, // non-ASCII goes as UTF-8
            {longText, longText.toLatin1().toBase64()},
        };
        for (const auto& [text, expected] : cases) {
            QCOMPARE(Base64::EncodeBase64Text(text, 0), expected);
        }
    }

    void file_linesAre68Characters_withLeadingAndClosingLineEnds()
    {
        // Bytes in, lengths of the lines out: a line of 64 is flushed at the end, a short tail
        // joins the last line.
        const std::pair<int, QList<int>> cases[] = {
            {0, {}}, {48, {64}}, {51, {68}}, {52, {72}}, {54, {68, 4}}, {53, {72}}, {200, {68, 68, 68, 64}},
        };
        QRandomGenerator random(64);
        for (const auto& [length, lineLengths] : cases) {
            QByteArray bytes(length, Qt::Uninitialized);
            for (char& c : bytes) {
                c = static_cast<char>(random.bounded(256));
            }
            const QByteArray encoded = Base64::encodeFileBytes(bytes);
            QVERIFY(encoded.startsWith("\r\n") && encoded.endsWith("\r\n"));
            QList<QByteArray> lines = encoded.mid(2).split('\n');
            lines.removeLast(); // behind the closing line end
            QList<int> lengths;
            for (const QByteArray& line : lines) {
                QVERIFY(line.endsWith('\r'));
                lengths << static_cast<int>(line.size() - 1);
            }
            QCOMPARE(lengths, lineLengths);
            QCOMPARE(QByteArray::fromBase64(QByteArray(encoded).replace("\r\n", "")), bytes);
        }
    }

    void file_isReadWhole_andOneThatCannotBeOpenedIsAnError()
    {
        QTemporaryDir dir;
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
