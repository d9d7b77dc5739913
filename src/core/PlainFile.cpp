#include "PlainFile.h"

#include "TextDecoding.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace PlainFile {

Kind kindOf(const QString& path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists()) {
        return Kind::Missing;
    }
    if (info.isDir()) {
        return Kind::Folder;
    }
    return info.isFile() ? Kind::Regular : Kind::Special;
}

Result<QByteArray> read(const QString& path)
{
    switch (kindOf(path)) {
    case Kind::Missing:
        return Error{ErrorCode::FileMissing, u"%1 does not exist"_s.arg(path)};
    case Kind::Folder:
        return Error{ErrorCode::NotAFile, u"%1 is a folder, not a file"_s.arg(path)};
    case Kind::Special:
        return Error{ErrorCode::NotAFile, u"%1 is not a plain file (a pipe, a socket or a device)"_s.arg(path)};
    case Kind::Regular:
        break;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{ErrorCode::CannotRead, u"%1 cannot be read: %2"_s.arg(path, file.errorString())};
    }
    return file.readAll();
}

Result<QString> readText(const QString& path)
{
    Result<QByteArray> bytes = read(path);
    if (!bytes.ok()) {
        return bytes.error();
    }
    return TextDecoding::decode(bytes.value());
}

} // namespace PlainFile
