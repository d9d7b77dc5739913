#include "TestSupport.h"
#include "delivery/InlineImages.h"
#include "delivery/MessageLayout.h"
#include "delivery/MimeTypes.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QDateTime When(QDate(2026, 3, 5), QTime(14, 7, 9));

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
                        "Date: Thu, 05 Mar 2026 14:07:09\r\n"
                        "Subject: Hello Ann\r\n";
const QByteArray MultipartHead = Head + "Mime-Version: 1.0\r\n"
                                        "Content-Type: multipart/mixed; boundary=\"NextMimePart_000\"\r\n"
                                        "Content-Transfer-Encoding: 7bit\r\n"
                                        "This is a multi-part message in MIME format.\r\n\r\n";
const QByteArray Related = "--NextMimePart_000\r\n"
                           "Content-Type: multipart/related; boundary=\"NextMimePart_001\";"
                           "type=\"multipart/alternative\"\r\n\r\n";
const QByteArray Alternative = "--NextMimePart_001\r\n"
                               "Content-Type: multipart/alternative; boundary=\"NextMimePart_002\"\r\n\r\n"
                               "--NextMimePart_002\r\n"
                               "Content-Type: text/html;\tcharset=us-ascii\r\n"
                               "Content -Transfer - Encoding: quoted -printable\r\n"
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

void addImages(OutgoingMessage& message)
{
    message.inlineImagePaths = {u"/pics/a.gif"_s, u"/pics/b.PNG"_s};
    message.inlineImageData = {QByteArray("\r\nR0lGOD\r\n"), QByteArray("\r\niVBO\r\nRw0K\r\n")};
}

// Bytes of a literal that holds zero characters.
template <size_t N> QByteArray literal(const char (&text)[N])
{
    return QByteArray(text, N - 1);
}

void addAttachment(OutgoingMessage& message)
{
    message.attachmentName = u"letter.doc"_s;
    message.attachmentData = "\r\n0M8R4KGx\r\n";
}

} // namespace

class MessageLayoutTest : public QObject
{
    Q_OBJECT

private slots:
    void fourLayouts_goOutByteForByte_data()
    {
        QTest::addColumn<bool>("images");
        QTest::addColumn<bool>("attachment");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("no parts") << false << false
                                  << Head + "Content-Type: text/html;\tcharset=us-ascii\r\n\r\n<p>Hi</p>\r\n";
        QTest::newRow("inline images") << true << false
                                       << MultipartHead + Related + Alternative + ImageA + ImageB +
                                              "\r\n--NextMimePart_001--\r\n";
        // With only an attachment the related part is never declared, yet its delimiter stands.
        QTest::newRow("attachment") << false << true << MultipartHead + Alternative + Attachment;
        QTest::newRow("both") << true << true
                              << MultipartHead + Related + Alternative + ImageA + ImageB +
                                     "\r\n--NextMimePart_001--\r\n" + Attachment;
    }

    void fourLayouts_goOutByteForByte()
    {
        QFETCH(bool, images);
        QFETCH(bool, attachment);
        QFETCH(QByteArray, expected);
        OutgoingMessage message = plainMessage();
        if (images) {
            addImages(message);
        }
        if (attachment) {
            addAttachment(message);
        }
        QCOMPARE(MessageLayout::bytes(message, When), expected);
    }

    void headerBlock_replyAndEmptyName()
    {
        OutgoingMessage message = plainMessage();
        message.replyEmail = u"reply@example.org"_s;
        message.fromName.clear();
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.startsWith("Reply-To: reply@example.org\r\nFrom: <news@example.org>\r\nTo: "));
    }

    void onlyALoneDotLineIsMadeSafe_andBodyLinesEndInCrLf()
    {
        OutgoingMessage message = plainMessage();
        message.body = u"<p>a</p>\r\n.\r\n.x\n<p>b</p>\n."_s;
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.endsWith(literal("<p>a</p>\r\n.\0\r\n.x\r\n<p>b</p>\r\n.\0\r\n")));
    }

    void nonAsciiText_goesAsUtf8_withEncodedWords()
    {
        OutgoingMessage message = plainMessage();
        message.subject = u"Grüße aus Malmö"_s;
        message.fromName = u"Zoë"_s;
        message.body = u"<p>Björn</p>"_s;
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.contains("Subject: =?UTF-8?B?" + u"Grüße aus Malmö"_s.toUtf8().toBase64() + "?=\r\n"));
        QVERIFY(bytes.contains("From: =?UTF-8?B?" + u"Zoë"_s.toUtf8().toBase64() + "?=<news@example.org>\r\n"));
        QVERIFY(bytes.contains("Content-Type: text/html;\tcharset=utf-8\r\n"));
        QVERIFY(bytes.contains(u"<p>Björn</p>"_s.toUtf8()));
        // A long subject is cut into several encoded words, none longer than 75 characters.
        message.subject = QString(40, QChar(0x00E9));
        const QByteArray subjectLine = MessageLayout::bytes(message, When).split('\n').at(3);
        for (const QByteArray& word : subjectLine.mid(9).trimmed().split(' ')) {
            QVERIFY(word.size() <= 75);
            QVERIFY(word.startsWith("=?UTF-8?B?"));
        }
    }

    void mergedHeaderValues_cannotAddHeaderLines()
    {
        OutgoingMessage message = plainMessage();
        message.subject = u"Hi\r\nBcc: all@example.com"_s;
        message.to = u"ann@example.com\nCc: eve@example.com"_s;
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.contains("Subject: Hi  Bcc: all@example.com\r\n"));
        QVERIFY(bytes.contains("To: ann@example.com Cc: eve@example.com\r\n"));
        QVERIFY(!bytes.contains("\r\nBcc:"));
        QVERIFY(!bytes.contains("\nCc:"));
    }

    void emptyImageData_givesAPartWithoutLines()
    {
        OutgoingMessage message = plainMessage();
        message.inlineImagePaths = {u"/pics/a.gif"_s};
        message.inlineImageData = {QByteArray()};
        QVERIFY(
            MessageLayout::bytes(message, When).contains("Content-ID: <a.gif>\r\n\r\n\r\n\r\n--NextMimePart_001--"));
    }

    void embed_rewritesEverySrc_andListsTheFiles()
    {
        EmbeddedHtml embedded = InlineImages::Embed(u"  <p>no pictures</p>  "_s);
        QCOMPARE(embedded.html, u"<p>no pictures</p>"_s);
        QCOMPARE(embedded.InlineImageList, QString());

        embedded =
            InlineImages::Embed(u"<img src=\"file://C:\\pics\\a.gif\"><img alt=x src=\"file:///home/u/my b.png\">"_s);
        QCOMPARE(embedded.html, u"<img src=cid:a.gif><img alt=x src=cid:my b.png>"_s);
        QCOMPARE(embedded.InlineImageList, u"C:\\pics\\a.gif|/home/u/my b.png"_s);

        // Any "src" counts, body text too; "SRC" does not; a src without a closing quote ends the walk.
        embedded = InlineImages::Embed(u"<p>the src of \"x.gif\" and</p><IMG SRC=\"y.gif\"><img src=\"z.gif>"_s);
        QCOMPARE(embedded.html, u"<p>the src cid:x.gif and</p><IMG SRC=\"y.gif\"><img src=\"z.gif>"_s);
        QCOMPARE(embedded.InlineImageList, u"x.gif"_s);
    }

    void loadInlineImages_encodesEachFile_orFails()
    {
        QTemporaryDir dir;
        QFile picture(dir.filePath(u"a.gif"_s));
        QVERIFY(picture.open(QIODevice::WriteOnly));
        picture.write("GIF89a");
        picture.close();
        const auto images = InlineImages::LoadInlineImages(picture.fileName() + u"||"_s + picture.fileName());
        QVERIFY(images.ok());
        QCOMPARE(images.value().size(), 3);
        QCOMPARE(images.value().at(0), QByteArray("\r\nR0lGODlh\r\n"));
        QCOMPARE(images.value().at(1), images.value().at(0));
        QCOMPARE(images.value().at(2), QByteArray()); // the empty entry left its element at the end
        QVERIFY(!InlineImages::LoadInlineImages(dir.filePath(u"gone/b.gif"_s)).ok());
    }

    void mimeTypes_byTheirTable()
    {
        QCOMPARE(MimeTypes::MimeTypeForFile(u"logo.PNG"_s), QByteArray("image/png"));
        QCOMPARE(MimeTypes::MimeTypeForFile(u"photo.jfif"_s), QByteArray("image/pjpeg"));
        QCOMPARE(MimeTypes::MimeTypeForFile(u"scan.fpx"_s), QByteArray("image/x-xbitmap"));
        QCOMPARE(MimeTypes::MimeTypeForFile(u"shape.svgz"_s), QByteArray("image/svg+xml"));
        QCOMPARE(MimeTypes::MimeTypeForFile(u"archive.tar.gz"_s), QByteArray("application/octet-stream"));
        QCOMPARE(MimeTypes::MimeTypeForFile(u"README"_s), QByteArray("application/octet-stream"));
        QCOMPARE(MimeTypes::MimeTypeForFile(u".gif"_s), QByteArray("image/gif"));
    }
};

QTEST_GUILESS_MAIN(MessageLayoutTest)
#include "tst_message_layout.moc"
