#include "TestSupport.h"
#include "delivery/InlineImages.h"
#include "delivery/MessageLayout.h"
#include "delivery/MimeTypes.h"

#include <QFile>
#include <QLocale>
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

// A six-byte picture file in the folder; its Base64 text is "R0lGODlh".
QString writeGif(const QTemporaryDir& dir, const QString& name)
{
    QFile picture(dir.filePath(name));
    if (picture.open(QIODevice::WriteOnly)) {
        picture.write("GIF89a");
    }
    return picture.fileName();
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

        // Lone dots on consecutive lines, the first at the very start of the body: none of them
        // may end the data early.
        message.body = u".\n.\n.\n<p>c</p>"_s;
        message.inlineImagePaths = {u"/pics/a.gif"_s};
        message.inlineImageData = {QByteArray("\r\nR0lGOD\r\n")};
        const QByteArray withPart = MessageLayout::bytes(message, When);
        QVERIFY(withPart.contains(literal("quoted -printable\r\n\r\n.\0\r\n.\0\r\n.\0\r\n<p>c</p>\r\n")));
        QVERIFY(!withPart.contains("\r\n.\r\n"));
    }

    void dateLine_usesTheLocalesShortNames_andNoZone()
    {
        const QDateTime late(QDate(2026, 12, 31), QTime(23, 59, 58));
        QCOMPARE(MessageLayout::dateText(late), QByteArray("Thu, 31 Dec 2026 23:59:58"));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QByteArray german = MessageLayout::dateText(When);
        QLocale::setDefault(QLocale::c());
        const QLocale de(QLocale::German, QLocale::Germany);
        QCOMPARE(german, (de.dayName(4, QLocale::ShortFormat) + u", 05 "_s + de.monthName(3, QLocale::ShortFormat) +
                          u" 2026 14:07:09"_s)
                             .toUtf8());
        QVERIFY(!german.startsWith("Thu"));
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

    void nonAsciiImageName_isEncodedInItsNameOnly()
    {
        OutgoingMessage message = plainMessage();
        message.inlineImagePaths = {u"/pics/été.png"_s};
        message.inlineImageData = {QByteArray("\r\niVBO\r\n")};
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.contains("Content-Type: image/png; name=\"=?UTF-8?B?" + u"été.png"_s.toUtf8().toBase64() +
                               "?=\"\r\n"));
        // The Content-ID is what the HTML's cid: reference names.
        QVERIFY(bytes.contains("Content-ID: <" + u"été.png"_s.toUtf8() + ">\r\n"));
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
        const QString picture = writeGif(dir, u"a.gif"_s);
        const auto images = InlineImages::LoadInlineImages(picture + u"||"_s + picture);
        QVERIFY(images.ok());
        QCOMPARE(images.value().size(), 3);
        QCOMPARE(images.value().at(0), QByteArray("\r\nR0lGODlh\r\n"));
        QCOMPARE(images.value().at(1), images.value().at(0));
        QCOMPARE(images.value().at(2), QByteArray()); // the empty entry left its element at the end
        QVERIFY(!InlineImages::LoadInlineImages(dir.filePath(u"gone/b.gif"_s)).ok());
    }

    void mimeTypes_byTheirTable_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("type");
        const char* table[][2] = {
            {"bmp", "image/bmp"},           {"dib", "image/bmp"},          {"fpx", "image/x-xbitmap"},
            {"gif", "image/gif"},           {"ico", "image/x-icon"},       {"jfif", "image/pjpeg"},
            {"jpe", "image/jpeg"},          {"jpeg", "image/jpeg"},        {"jpg", "image/jpeg"},
            {"mix", "image/x-xbitmap"},     {"pct", "image/pict"},         {"pic", "image/pict"},
            {"pict", "image/pict"},         {"png", "image/png"},          {"pntg", "image/x-macpaint"},
            {"qti", "image/x-quicktime"},   {"qtif", "image/x-quicktime"}, {"rf", "image/vnd.rn-realflash"},
            {"rp", "image/vnd.rn-realpix"}, {"sgi", "image/x-sgi"},        {"svg", "image/svg+xml"},
            {"svgz", "image/svg+xml"},      {"tga", "image/x-targa"},      {"tif", "image/tiff"},
            {"tiff", "image/tiff"},         {"xbm", "image/x-xbitmap"},
        };
        for (const auto& [extension, type] : table) {
            QTest::newRow(extension) << u"picture."_s + QString::fromLatin1(extension) << QByteArray(type);
        }
        QTest::newRow("capitals") << u"logo.PNG"_s << QByteArray("image/png");
        QTest::newRow("last dot counts") << u"archive.png.tar"_s << QByteArray("application/octet-stream");
        QTest::newRow("unknown") << u"archive.tar.gz"_s << QByteArray("application/octet-stream");
        QTest::newRow("no dot, compared whole") << u"png"_s << QByteArray("application/octet-stream");
        QTest::newRow("only an extension") << u".gif"_s << QByteArray("image/gif");
        QTest::newRow("a prefix of an entry") << u"a.jp"_s << QByteArray("application/octet-stream");
        QTest::newRow("an entry plus more") << u"a.gifs"_s << QByteArray("application/octet-stream");
        QTest::newRow("no name") << QString() << QByteArray("application/octet-stream");
    }

    void mimeTypes_byTheirTable()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, type);
        QCOMPARE(MimeTypes::MimeTypeForFile(name), type);
    }

    void anEmptySrc_shiftsTheImagesAgainstTheirNames()
    {
        // Each non-empty path fills the next data element, while the parts take their names by
        // position in the list: an empty reference lends its name to the next image's data.
        QTemporaryDir dir;
        const QString picture = writeGif(dir, u"x.gif"_s);
        const EmbeddedHtml embedded = InlineImages::Embed(u"<img src=\"\"><img src=\"file://"_s + picture + u"\">"_s);
        QCOMPARE(embedded.html, u"<img src=cid:><img src=cid:x.gif>"_s);
        QCOMPARE(embedded.InlineImageList, u"|"_s + picture);
        OutgoingMessage message = plainMessage();
        message.inlineImagePaths = InlineImages::paths(embedded.InlineImageList);
        message.inlineImageData = InlineImages::LoadInlineImages(embedded.InlineImageList).value();
        const QByteArray bytes = MessageLayout::bytes(message, When);
        QVERIFY(bytes.contains("Content-Type: application/octet-stream; name=\"\"\r\n"
                               "Content-Transfer-Encoding: base64\r\nContent-ID: <>\r\n\r\n\r\nR0lGODlh\r\n\r\n\r\n"));
        QVERIFY(bytes.contains("Content-ID: <x.gif>\r\n\r\n\r\n\r\n--NextMimePart_001--\r\n"));
    }
};

QTEST_GUILESS_MAIN(MessageLayoutTest)
#include "tst_message_layout.moc"
