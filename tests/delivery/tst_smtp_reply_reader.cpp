#include "delivery/SmtpReplyReader.h"

#include <QRandomGenerator>
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

// A conversation as servers write it, then bent at random: bytes changed, dropped, doubled.
QByteArray mutated(QRandomGenerator& random)
{
    static const QList<QByteArray> pieces{"220 ready\r\n", "250-one\r\n250-SIZE 10\r\n250 HELP\r\n",
                                          "354 go\n",      "550 no\r\n",
                                          "250 OK",        "\r\n",
                                          "221-a\r\n",     "221 bye\r\n",
                                          "-\r\n"};
    QByteArray bytes;
    const int count = random.bounded(1, 8);
    for (int i = 0; i < count; ++i) {
        bytes += pieces.at(random.bounded(pieces.size()));
    }
    const int changes = random.bounded(4);
    for (int i = 0; i < changes && !bytes.isEmpty(); ++i) {
        const qsizetype at = random.bounded(bytes.size());
        switch (random.bounded(3)) {
        case 0:
            bytes[at] = static_cast<char>(random.bounded(256));
            break;
        case 1:
            bytes.remove(at, 1);
            break;
        default:
            bytes.insert(at, bytes.mid(at, random.bounded(1, 12)));
            break;
        }
    }
    return bytes;
}

} // namespace

class SmtpReplyReaderTest : public QObject
{
    Q_OBJECT

private slots:
    void repliesAreReadWhole_byTheirLastLine_withOrWithoutCarriageReturns()
    {
        const ReadOut out = readInPieces("220 ready\r\n250-one\n250-two\r\n250 three\n421\r\n", {});
        QCOMPARE(out.codes, (QList<QByteArray>{"220", "250", "421"}));
        QCOMPARE(out.texts.at(1), QByteArray("250-one 250-two 250 three"));
        QVERIFY(!out.garbled);
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

    void mutatedConversations_readTheSame_howeverTheyAreCut()
    {
        QRandomGenerator random(20261125);
        for (int round = 0; round < 4000; ++round) {
            const QByteArray bytes = mutated(random);
            const ReadOut whole = readInPieces(bytes, {});
            QList<qsizetype> cuts;
            for (qsizetype at = 0; at < bytes.size(); at += random.bounded(1, 6)) {
                cuts << at;
            }
            const ReadOut cut = readInPieces(bytes, cuts);
            QCOMPARE(cut.codes, whole.codes);
            QCOMPARE(cut.texts, whole.texts);
            QCOMPARE(cut.garbled, whole.garbled);
            for (const QByteArray& code : whole.codes) {
                QVERIFY(code.size() == 3 && code.at(0) >= '0' && code.at(0) <= '9');
            }
        }
    }
};

QTEST_GUILESS_MAIN(SmtpReplyReaderTest)
#include "tst_smtp_reply_reader.moc"
