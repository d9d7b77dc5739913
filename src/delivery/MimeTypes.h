#pragma once

#include <QByteArray>
#include <QString>

namespace MimeTypes {

// The content type of an inline image by its file name: the extension from the last dot, in
// lower case (a name without a dot is compared whole), looked up in a fixed table; anything
// else is "application/octet-stream".
QByteArray MimeTypeForFile(const QString& fileName);

} // namespace MimeTypes
