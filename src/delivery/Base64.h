#pragma once

#include "core/Result.h"

#include <QByteArray>
#include <QString>

// The two Base64 encoders of the mail client (RFC 4648 alphabet, "=" padding).
namespace Base64 {

// A short text for the login exchange. The text goes in as UTF-8. With lineWidth 1 or more
// a CR LF is put in after every lineWidth characters, except before a last single character;
// with 0 the result is one line.
QByteArray EncodeBase64Text(const QString& text, int lineWidth);

// A whole file in lines for an inline image or an attachment. The result begins with a CR LF
// and ends with one; lines are 68 characters, the last up to 72. The character before the
// padding is computed over the previous triple's bytes that remain in the coder's buffer (its
// low bits are ignored by every decoder). Opening is for binary access: a missing file that
// can be created becomes an empty file and gives a single CR LF; a file that cannot be opened
// is an error.
Result<QByteArray> EncodeBase64File(const QString& path);

// The same coding over bytes already in memory.
QByteArray encodeFileBytes(const QByteArray& bytes);

} // namespace Base64
