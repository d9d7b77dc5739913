#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

// One message of a send run, as the SMTP run hands it over.
struct OutgoingMessage
{
    QString fromName;
    QString fromEmail;
    QString to;
    QString subject;
    QString body; // merged HTML, its images rewritten to cid: references
    QString replyEmail;
    QStringList inlineImagePaths;      // one per image part, in order
    QList<QByteArray> inlineImageData; // the Base64 text of each image, as from EncodeBase64File
    QByteArray attachmentData;         // Base64 text of the attachment, empty when there is none
    QString attachmentName;            // file name without folder, empty when there is none
};

// The bytes of a message between the server's 354 and the closing ".": a hand-made template
// with fixed boundaries ("NextMimePart_000" mixed, "_001" related, "_002" alternative). A message
// without parts is a bare text/html message. A message with inline images or an attachment is a
// well-formed multipart/mixed: it holds the HTML alone under multipart/alternative (inside a
// multipart/related with the images when there are any), then the attachment; every multipart
// is opened by its first delimiter and closed by its closing one. The HTML part is 7bit when it
// is ASCII, else quoted-printable; it is quoted-printable also when a line of it is longer than
// 998 characters or starts like a delimiter, so no merged value can open or close a part. The
// only transparency step turns a line of one dot into a dot and a zero character.
// A message that is all ASCII goes out exactly so. Non-ASCII text goes as UTF-8: the subject and
// the display name as encoded words, the body labelled charset=utf-8. A CR or LF inside a header
// value becomes a blank, so no merged value can add a header line.
namespace MessageLayout {

// The message as the chunks that are sent one after another.
QList<QByteArray> chunks(const OutgoingMessage& message, const QDateTime& date);

// The whole message: the chunks joined.
QByteArray bytes(const OutgoingMessage& message, const QDateTime& date);

// The RFC 5322 date of the moment in its own zone: "Wed, 25 Nov 2026 03:40:00 +0100", with
// English day and month names whatever the user's language.
QByteArray dateText(const QDateTime& date);

// The header value with every CR and LF turned into a blank.
QString headerSafe(const QString& value);

// The value as it goes into a header: as it stands when it is ASCII, else as RFC 2047 encoded
// words of UTF-8.
QByteArray encodedWords(const QString& value);

// The sender's name as it stands before "<address>": as it is when it is plain ASCII ("Quillbay
// News"), in double quotes when it holds a character that would split it (Smith, Ann → "Smith,
// Ann"), as encoded words and a blank when it holds other characters, since an encoded word must
// stand apart from the "<".
QByteArray displayName(const QString& name);

} // namespace MessageLayout
