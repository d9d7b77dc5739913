#include "TestSupport.h"
#include "delivery/Base64.h"
#include "delivery/InlineImages.h"
#include "delivery/MessageLayout.h"
#include "delivery/QuotedPrintable.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {

const QDateTime When(QDate(2026, 3, 5), QTime(14, 7, 9), QTimeZone(3600));

OutgoingMessage plainMessage()
{
    OutgoingMessage message;
    message.fromName = u"Quillbay News"_s;
    message.fromEmail = u"news@example.org"_s;
    message.to = u"ann@example.com"_s;
    message.subject = u"Hello Ann"_s;
    message.body = u"<p>Hi</p>"_s;
    return message;
}

const QByteArray Head = "From: Quillbay News<news@example.org>\r\n"
                        "To: ann@example.com\r\n"
                        "Date: Thu, 05 Mar 2026 14:07:09 +0100\r\n"
                        "Subject: Hello Ann\r\n";
const QByteArray MultipartHead = Head + "Mime-Version: 1.0\r\n"
                                        "Content-Type: multipart/mixed; boundary=\"NextMimePart_000\"\r\n"
                                        "Content-Transfer-Encoding: 7bit\r\n\r\n"
                                        "This is a multi-part message in MIME format.\r\n\r\n"
                                        "--NextMimePart_000\r\n";
const QByteArray Related = "Content-Type: multipart/related; boundary=\"NextMimePart_001\";"
                           "type=\"multipart/alternative\"\r\n\r\n"
                           "--NextMimePart_001\r\n";
const QByteArray Alternative = "Content-Type: multipart/alternative; boundary=\"NextMimePart_002\"\r\n\r\n"
                               "--NextMimePart_002\r\n"
                               "Content-Type: text/html;\tcharset=us-ascii\r\n"
                               "Content-Transfer-Encoding: 7bit\r\n"
                               "\r\n<p>Hi</p>\r\n"
                               "\r\n--NextMimePart_002--\r\n";
const QByteArray ImageA = "\r\n--NextMimePart_001\r\nContent-Type: image/gif; name=\"a.gif\"\r\n"
                          "Content-Transfer-Encoding: base64\r\nContent-ID: <a.gif>\r\n\r\n"
                          "\r\nR0lGOD\r\n\r\n\r\n";
const QByteArray ImageB = "\r\n--NextMimePart_001\r\nContent-Type: image/png; name=\"b.PNG\"\r\n"
                          "Content-Transfer-Encoding: base64\r\nContent-ID: <b.PNG>\r\n\r\n"
                          "\r\niVBO\r\nRw0K\r\n\r\n\r\n";
const QByteArray Attachment = "\r\n--NextMimePart_000\r\nContent-Type: application/msword; name=\"letter.doc\"\r\n"
                              "Content-Transfer-Encoding: base64\r\n"
                              "Content-Disposition: attachment; filename=\"letter.doc\"\r\n\r\n"
                              "\r\n0M8R4KGx\r\n\r\n"
                              "\r\n--NextMimePart_000--\r\n";

// The message with two pictures and a document, or with either.
OutgoingMessage withParts(bool images, bool attachment, const QString& body = u"<p>Hi</p>"_s)
{
    OutgoingMessage message = plainMessage();
    message.body = body;
    if (images) {
        message.inlineImagePaths = {u"/pics/a.gif"_s, u"/pics/b.PNG"_s};
        message.inlineImageData = {QByteArray("\r\nR0lGOD\r\n"), QByteArray("\r\niVBO\r\nRw0K\r\n")};
    }
    if (attachment) {
        message.attachmentName = u"letter.doc"_s;
        message.attachmentData = "\r\n0M8R4KGx\r\n";
    }
    return message;
}

// A message for the mail parser, with the picture and document bytes its parts must give back.
struct ParsedCase
{
    QString name;
    OutgoingMessage message;
    QList<QByteArray> images;
    QByteArray document;
};

// Every layout (no parts, pictures, attachment, both), in ASCII and in UTF-8, and merged bodies
// that try to open, close or add parts.
QList<ParsedCase> parserCases()
{
    const QList<QByteArray> pictures{QByteArray("GIF89a\x01\x00\x01\x00\x80\x00\x00", 13),
                                     QByteArray("\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR", 16)};
    const QByteArray document("Dear Ann, this copy is yours alone. \xD0\xCF\x11\xE0", 40);
    const QString ascii = u"<p>Dear Ann,</p>\n<p><img src=cid:a.gif> and <img src=cid:b.PNG></p>\n.x\n-- \nBob"_s;
    const QString utf8 = u"<p>Liebe Björk, ça va? ✓</p>\n<img src=cid:a.gif><img src=cid:b.PNG>\n"_s +
                         QString(90, u'é') + u"--NextMimePart_001\nend"_s;
    const QString injected = u"<p>Hi</p><img src=cid:a.gif><img src=cid:b.PNG>\n--NextMimePart_002--\n"
                             "--NextMimePart_001\nContent-Type: image/gif\nContent-ID: <a.gif>\n\nR0lG\n"
                             "--NextMimePart_000\nContent-Disposition: attachment; filename=evil.txt\n\nevil\n"
                             "--NextMimePart_000--\n<p>"_s +
                             QString(1200, u'x') + u"</p>"_s;
    QList<ParsedCase> cases;
    for (const auto& [label, body] : {std::pair{u"ascii"_s, ascii}, {u"utf8"_s, utf8}, {u"injected"_s, injected}}) {
        for (int layout = 0; layout < 4; ++layout) {
            ParsedCase one{label + QString::number(layout), withParts(false, false, body), {}, {}};
            if (label == u"utf8"_s) {
                one.message.subject = u"Grüße aus Malmö, Björk"_s;
                one.message.fromName = u"Zoë Quillbay"_s;
            } else if (label == u"injected"_s) {
                one.message.fromName = u"Quillbay \"News\", Inc. \\ Co"_s; // quoted, with escapes
            }
            if ((layout & 1) != 0) {
                one.message.inlineImagePaths = {u"/pics/a.gif"_s, u"/pics/b.PNG"_s};
                one.message.inlineImageData = {Base64::encodeFileBytes(pictures.at(0)),
                                               Base64::encodeFileBytes(pictures.at(1))};
                one.images = pictures;
            }
            if ((layout & 2) != 0) {
                one.message.attachmentName = u"letter.doc"_s;
                one.message.attachmentData = Base64::encodeFileBytes(document);
                one.document = document;
            }
            cases << one;
        }
    }
    return cases;
}

} // namespace

class MessageLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void layouts_goOutByteForByte()
    {
        const struct
        {
            const char* name;
            bool images;
            bool attachment;
            QByteArray expected;
        } cases[] = {
            {"no parts", false, false, Head + "Content-Type: text/html;\tcharset=us-ascii\r\n\r\n<p>Hi</p>\r\n"},
            // With only an attachment there is no related part: the alternative part is the mixed one's first.
            {"attachment", false, true, MultipartHead + Alternative + Attachment},
            {"both", true, true,
             MultipartHead + Related + Alternative + ImageA + ImageB + "\r\n--NextMimePart_001--\r\n" + Attachment},
        };
        for (const auto& one : cases) {
            QVERIFY2(MessageLayout::bytes(withParts(one.images, one.attachment), When) == one.expected, one.name);
        }
    }

    void mergedHeaderValues_cannotAddHeaderLines()
    {
        OutgoingMessage message = plainMessage();
        message.subject = u"Hi\r\nBcc: all@example.com"_s;
        message.to = u"ann@example.com\nCc: eve@example.com"_s;
        message.replyEmail = u"reply@example.org"_s;
        message.fromName.clear();
        const QByteArray bytes = MessageLayout::bytes(message, When);
        // A reply address comes first; an empty sender name leaves the bare address.
        QVERIFY(bytes.startsWith("Reply-To: reply@example.org\r\nFrom: <news@example.org>\r\nTo: "));
        QVERIFY(bytes.contains("Subject: Hi  Bcc: all@example.com\r\n"));
        QVERIFY(bytes.contains("To: ann@example.com Cc: eve@example.com\r\n"));
        QVERIFY(!bytes.contains("\r\nBcc:"));
        QVERIFY(!bytes.contains("\nCc:"));
    }

    void onlyALoneDotLineIsMadeSafe_andBodyLinesEndInCrLf()
    {
        OutgoingMessage message = plainMessage();
        message.body = u"<p>a</p>\r\n.\r\n.x\n<p>b</p>\n."_s;
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.endsWith(QByteArrayLiteral("<p>a</p>\r\n.\0\r\n.x\r\n<p>b</p>\r\n.\0\r\n")));

        // Lone dots on consecutive lines, the first at the very start of the body: none of them
        // may end the data early.
        message = withParts(true, false, u".\n.\n.\n<p>c</p>"_s);
        const QByteArray withPart = MessageLayout::bytes(message, When);
        QVERIFY(withPart.contains(QByteArrayLiteral("7bit\r\n\r\n.\0\r\n.\0\r\n.\0\r\n<p>c</p>\r\n")));
        QVERIFY(!withPart.contains("\r\n.\r\n"));
    }

    void dateLine_hasEnglishNames_andTheZoneOffset()
    {
        const std::pair<QDateTime, QByteArray> cases[] = {
            {QDateTime(QDate(2026, 11, 25), QTime(3, 40), QTimeZone(3600)), "Wed, 25 Nov 2026 03:40:00 +0100"},
            {QDateTime(QDate(2026, 12, 31), QTime(23, 59, 58), QTimeZone(-12600)), "Thu, 31 Dec 2026 23:59:58 -0330"},
        };
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        for (const auto& [moment, expected] : cases) {
            QCOMPARE(MessageLayout::dateText(moment), expected);
        }
        QLocale::setDefault(QLocale::c());
    }

    void nonAsciiText_goesAsUtf8_withEncodedWords()
    {
        // The parser reads these back (see below); here what a reader cannot tell apart.
        OutgoingMessage message = plainMessage();
        message.body = u"<p>Björn</p>"_s;
        message.subject = QString(40, QChar(0x00E9));
        message.fromName = u"Zoë"_s;
        const QByteArray bytes = MessageLayout::bytes(message, When);
        // An encoded name needs a blank before the address.
        QVERIFY(
            bytes.contains("From: =?UTF-8?B?" + message.fromName.toUtf8().toBase64() + "?= <news@example.org>\r\n"));
        QVERIFY(bytes.contains("Content-Type: text/html;\tcharset=utf-8\r\n\r\n" + message.body.toUtf8()));
        // A long subject is cut into several encoded words, none longer than 75 characters.
        const QList<QByteArray> words = bytes.split('\n').at(3).mid(9).trimmed().split(' ');
        QVERIFY(words.size() > 1);
        for (const QByteArray& word : words) {
            QVERIFY2(word.size() <= 75 && word.startsWith("=?UTF-8?B?"), word.constData());
        }
        // In a message with parts the UTF-8 body is really quoted-printable, as its part says.
        message.attachmentName = u"letter.doc"_s;
        QVERIFY(MessageLayout::bytes(message, When)
                    .contains("charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
                              "<p>Bj=C3=B6rn</p>\r\n"));
    }

    void quotedPrintable_encodesLinesSoTheyCannotEndDataOrOpenParts()
    {
        const QByteArray a74(74, 'a');
        const struct
        {
            const char* name;
            QByteArray text;
            QByteArray expected;
        } cases[] = {
            {"equals sign and UTF-8", u"a=b é"_s.toUtf8(), "a=3Db =C3=A9"},
            {"blank and tab ending a line", "a \r\nb\t", "a=20\r\nb=09"},
            {"bare line feed", "a\nb", "a=0Ab"},
            {"dash and dot starting lines", "--NextMimePart_000\r\n.\r\n.x-.", "=2D-NextMimePart_000\r\n=2E\r\n=2Ex-."},
            {"76 characters fit a line", QByteArray(76, 'a'), QByteArray(76, 'a')},
            {"a longer line gets soft breaks", QByteArray(152, 'a'),
             QByteArray(75, 'a') + "=\r\n" + QByteArray(75, 'a') + "=\r\naa"},
            {"an escape is never cut", a74 + u"é"_s.toUtf8(), a74 + "=\r\n=C3=A9"},
            {"a dash behind a soft break", a74 + "a--NextMimePart_000", a74 + "a=\r\n=2D-NextMimePart_000"},
        };
        for (const auto& one : cases) {
            QVERIFY2(QuotedPrintable::encode(one.text) == one.expected, one.name);
        }
    }

    void htmlPart_isQuoted_whenALineCouldBeADelimiterOrIsTooLong()
    {
        const std::pair<QString, bool> cases[] = {
            {u"<p>Hi</p>\n--NextMimePart_000\nContent-Disposition: attachment; filename=evil.txt\n\nevil"_s, true},
            {u"<p>Hi</p>\r\n--NextMimePart_001"_s, true},
            {u"<p>Hi</p>\n--NextMimePart_0001"_s, true},
            {u"<p>Hi</p>\n-- \nAnn"_s, false},
            {u"<p>Hi</p> --NextMimePart_000"_s, false},
            // 7bit text has lines of at most 998 characters.
            {u"<p>"_s + QString(991, u'a') + u"</p>\n"_s, false},
            {u"<p>"_s + QString(992, u'a') + u"</p>\n"_s, true},
        };
        for (const auto& [body, quoted] : cases) {
            const QByteArray bytes = MessageLayout::bytes(withParts(true, true, body), When);
            // Only the layout's own delimiter lines: two of the mixed part, three of the related one.
            const QList<QByteArray> lines = bytes.split('\n');
            QCOMPARE(lines.count("--NextMimePart_000\r") + lines.count("--NextMimePart_001\r"), 5);
            QVERIFY2(!bytes.contains("\n--NextMimePart_0001"), qPrintable(body.left(40)));
            QCOMPARE(bytes.contains("Content-Transfer-Encoding: quoted-printable\r\n"), quoted);
            // A body that needs no quoting goes as it stands.
            const QString crlf = QString(body).replace(u"\r\n"_s, u"\n"_s).replace(u'\n', u"\r\n"_s);
            QCOMPARE(bytes.contains(crlf.toUtf8()), !quoted);
        }
    }

    void inlinePicture_withANameOutsideAscii_hasItEncodedInTheTypeLineOnly()
    {
        // The Content-ID is what cid: names, so it keeps the name as it is.
        OutgoingMessage message = plainMessage();
        message.inlineImagePaths = {u"/pics/été.png"_s};
        message.inlineImageData = {"\r\nR0lGODlh\r\n"};
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.contains("Content-Type: image/png; name=\"=?UTF-8?B?" + u"été.png"_s.toUtf8().toBase64() +
                               "?=\"\r\n"));
        QVERIFY(bytes.contains("Content-ID: <" + u"été.png"_s.toUtf8() + ">\r\n\r\n\r\nR0lGODlh\r\n"));
    }

    void everyLayout_readsCleanlyInAStandardMailParser()
    {
        if (!QFileInfo::exists(QString::fromLatin1(TestSupport::DebianPython))) {
            QSKIP("Debian's Python is not installed here");
        }
        const QList<ParsedCase> cases = parserCases();
        QTemporaryDir dir;
        QStringList arguments{TestSupport::sourceDir() + u"/tests/delivery/read_mime.py"_s};
        for (const ParsedCase& one : cases) {
            arguments << dir.filePath(one.name + u".eml"_s);
            QVERIFY(TestSupport::writeFile(arguments.last(), MessageLayout::bytes(one.message, When)));
        }
        QProcess python;
        python.start(QString::fromLatin1(TestSupport::DebianPython), arguments);
        QVERIFY(python.waitForFinished(60000));
        QVERIFY2(python.exitCode() == 0, python.readAllStandardError().constData());
        const QJsonObject parsed = QJsonDocument::fromJson(python.readAllStandardOutput()).object();

        for (qsizetype i = 0; i < cases.size(); ++i) {
            const ParsedCase& one = cases.at(i);
            const QJsonObject found = parsed.value(arguments.at(i + 1)).toObject();
            const QByteArray name = one.name.toUtf8();
            QVERIFY2(found.value(u"defects"_s).toArray().isEmpty(),
                     name + ": " + QJsonDocument(found.value(u"defects"_s).toArray()).toJson());
            QCOMPARE(found.value(u"subject"_s).toString(), one.message.subject);
            QCOMPARE(found.value(u"fromName"_s).toString(), one.message.fromName);
            QCOMPARE(found.value(u"date"_s).toString(), When.toString(Qt::ISODate));
            // The HTML part decodes to the merged body, every line end as one line feed.
            const QString html = found.value(u"html"_s).toString().remove(u'\r');
            QCOMPARE(html, QString(one.message.body).remove(u'\r') + u'\n');

            // Each cid: of the body names the inline part that holds its picture.
            const QJsonObject inline_ = found.value(u"inline"_s).toObject();
            QCOMPARE(inline_.size(), one.images.size());
            for (qsizetype image = 0; image < one.images.size(); ++image) {
                const QString cid = InlineImages::fileNameOf(one.message.inlineImagePaths.at(image));
                QVERIFY2(html.contains(u"src=cid:"_s + cid), name);
                QCOMPARE(inline_.value(cid).toString().toLatin1(), one.images.at(image).toBase64());
            }
            const QJsonArray attachments = found.value(u"attachments"_s).toArray();
            QCOMPARE(attachments.size(), one.document.isEmpty() ? 0 : 1);
            if (!one.document.isEmpty()) {
                QCOMPARE(attachments.at(0)[u"name"_s].toString(), one.message.attachmentName);
                QCOMPARE(attachments.at(0)[u"data"_s].toString().toLatin1(), one.document.toBase64());
            }
            QCOMPARE(found.value(u"leaves"_s).toInt(), 1 + one.images.size() + attachments.size());
        }
    }
};

QTEST_GUILESS_MAIN(MessageLayoutTest)
#include "tst_message_layout.moc"
