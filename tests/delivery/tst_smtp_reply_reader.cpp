#include "delivery/SmtpReplyReader.h"

#include <QTest>

namespace {

struct ReadOut
{
    QList<QByteArray> codes;
    QList<QByteArray> texts;
    bool garbled = false;
};

// Feeds the bytes in pieces cut at the given places and collects what the reader makes of them.
ReadOut readInPieces(const QByteArray& bytes, const QList<qsizetype>& cuts)
{
    SmtpReplyReader reader;
    ReadOut out;
    qsizetype from = 0;
    for (qsizetype cut : cuts) {
        reader.feed(bytes.mid(from, cut - from));
        from = cut;
    }
    reader.feed(bytes.mid(from));
    while (reader.hasReply()) {
        const SmtpReply reply = reader.takeReply();
        out.codes << reply.code;
        out.texts << reply.text();
    }
    out.garbled = reader.garbled();
    return out;
}

} // namespace

class SmtpReplyReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void repliesAreReadWhole_byTheirLastLine_withOrWithoutCarriageReturns()
    {
        const QByteArray replies = "220 ready\r\n250-one\n250-two\r\n250 three\n421\r\n";
        const ReadOut out = readInPieces(replies, {});
        QCOMPARE(out.codes, (QList<QByteArray>{"220", "250", "421"}));
        QCOMPARE(out.texts.at(1), QByteArray("250-one 250-two 250 three"));
        QVERIFY(!out.garbled);
        // Cut into small pieces, one of them between a CR and its LF, it reads the same (the fuzz
        // target fuzz_smtp_replies bends and cuts such conversations at random).
        const ReadOut cut = readInPieces(replies, {1, 3, 8, 10, 14, 18, 19, 23});
        QCOMPARE(cut.codes, out.codes);
        QCOMPARE(cut.texts, out.texts);
        // A reply whose last line has not ended yet is not a reply yet.
        QVERIFY(readInPieces("250-one\r\n250 two", {}).codes.isEmpty());
    }

    void linesThatAreNoReplies_andRepliesWithoutEnd_garbleTheStream()
    {
        QVERIFY(readInPieces("hello there\r\n", {}).garbled);
        QVERIFY(readInPieces("25\r\n", {}).garbled);
        QVERIFY(readInPieces("250x\r\n", {}).garbled);
        QVERIFY(readInPieces(QByteArray(SmtpReplyReader::MaxReplySize + 1, '2'), {1, 7, 40000}).garbled);
        QByteArray longReply;
        while (longReply.size() <= SmtpReplyReader::MaxReplySize) {
            longReply += "250-a line of a reply that never ends\r\n";
        }
        QVERIFY(readInPieces(longReply, {}).garbled);
        // What came before the garbage is still read.
        const ReadOut out = readInPieces("220 ready\r\nnonsense\r\n250 OK\r\n", {});
        QCOMPARE(out.codes, QList<QByteArray>{"220"});
        QVERIFY(out.garbled);
    }
};

QTEST_GUILESS_MAIN(SmtpReplyReaderTest)
#include "tst_smtp_reply_reader.moc"
