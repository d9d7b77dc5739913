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
// with fixed boundaries ("NextMimePart_000" mixed, "_001" related, "_002" alternative) and its
// irregularities kept as they go on the wire: the alternative part is opened even when only an
// attachment comes with the mail, so its outer delimiter is never written; the transfer
// encoding line of the HTML part is malformed on purpose and the body is not encoded for it;
// the only transparency step turns a line of one dot into a dot and a zero character.
// A message that is all ASCII goes out exactly so. Non-ASCII text goes as UTF-8: the subject and
// the display name as encoded words, the body labelled charset=utf-8. A CR or LF inside a header
// value becomes a blank, so no merged value can add a header line.
namespace MessageLayout {

// The message as the chunks that are sent one after another.
QList<QByteArray> chunks(const OutgoingMessage& message, const QDateTime& date);

// The whole message: the chunks joined.
QByteArray bytes(const OutgoingMessage& message, const QDateTime& date);

// "ddd, DD MMM YYYY hh:mm:ss" with the day and month names of the user's locale, with no zone.
QByteArray dateText(const QDateTime& date);

// The header value with every CR and LF turned into a blank.
QString headerSafe(const QString& value);

// The value as it goes into a header: as it stands when it is ASCII, else as RFC 2047 encoded
// words of UTF-8.
QByteArray encodedWords(const QString& value);

} // namespace MessageLayout
