#pragma once

#include <QByteArray>

// The quoted-printable coder of mail bodies (RFC 2045).
namespace QuotedPrintable {

// The text, whose lines end in CR LF, as quoted-printable lines of at most 76 characters.
// Line ends stay hard line ends; a longer line is cut by soft breaks ("=" at the end of a piece).
// Besides what the coding demands ("=", bytes outside printable ASCII, a blank or tab at the end
// of a line), a "." or "-" that would start a line is written "=2E" / "=2D": no line of the
// result can then end the mail data or read as a part delimiter, while a reader decodes the text
// as it was. "--end\r\n. \r\n" becomes "=2D-end\r\n=2E=20\r\n".
QByteArray encode(const QByteArray& text);

} // namespace QuotedPrintable
