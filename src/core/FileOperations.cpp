#include "FileOperations.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace FileOperations {

namespace {

QString nameOf(const QString& path)
{
    return QFileInfo(path).fileName();
}

Error missing(const QString& path)
{
    return Error{ErrorCode::FileMissing, u"\"%1\" no longer exists."_s.arg(nameOf(path))};
}

bool sameContents(const QString& a, const QString& b)
{
    QFile first(a);
    QFile second(b);
    if (!first.open(QIODevice::ReadOnly) || !second.open(QIODevice::ReadOnly) || first.size() != second.size()) {
        return false;
    }
    while (!first.atEnd()) {
        if (first.read(1 << 16) != second.read(1 << 16)) {
            return false;
        }
    }
    return true;
}

Status copyEntries(const QString& from, const QString& target)
{
    QDirIterator entries(from, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo entry = entries.nextFileInfo();
        const QString copy = target + entry.absoluteFilePath().mid(from.size());
        if (entry.isDir() && !entry.isSymLink()) {
            if (!QDir().mkpath(copy)) {
                return Error{ErrorCode::NotPossible, u"\"%1\" cannot be made."_s.arg(copy)};
            }
        } else if (const Status copied = copyFile(entry.absoluteFilePath(), copy); !copied.ok()) {
            return copied;
        }
    }
    return {};
}

} // namespace

Status moveToTrash(const QString& path)
{
    const QFileInfo info(path);
    if (!info.exists() && !info.isSymLink()) {
        return missing(path);
    }
    if (!QFile::moveToTrash(path)) {
        return Error{ErrorCode::NotPossible,
                     u"\"%1\" cannot be moved to the Trash: it is in use, or you may not change its folder."_s.arg(
                         info.fileName())};
    }
    return {};
}

Status copyFile(const QString& file, const QString& target)
{
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly)) {
        return source.exists() ? Error{ErrorCode::NotPossible, u"\"%1\" cannot be read."_s.arg(nameOf(file))}
                               : missing(file);
    }
    if (QFileInfo(file).canonicalFilePath() == QFileInfo(target).canonicalFilePath()) {
        return {}; // a file copied onto itself is already there
    }
    // The copy is written beside its target and takes the target's name only when it is whole.
    QSaveFile copy(target);
    if (!copy.open(QIODevice::WriteOnly)) {
        return Error{ErrorCode::NotPossible, u"\"%1\" cannot be written: %2"_s.arg(target, copy.errorString())};
    }
    while (!source.atEnd()) {
        const QByteArray block = source.read(1 << 20);
        if (block.isEmpty() && source.error() != QFileDevice::NoError) {
            copy.cancelWriting();
            return Error{ErrorCode::CopyFailed, u"\"%1\" could not be read to the end."_s.arg(nameOf(file))};
        }
        if (copy.write(block) != block.size()) {
            copy.cancelWriting();
            return Error{ErrorCode::CopyFailed,
                         u"\"%1\" could not be copied: %2"_s.arg(nameOf(file), copy.errorString())};
        }
    }
    if (!copy.commit()) {
        return Error{ErrorCode::CopyFailed, u"\"%1\" could not be copied: %2"_s.arg(nameOf(file), copy.errorString())};
    }
    QFile::setPermissions(target, source.permissions());
    return {};
}

Status moveFile(const QString& file, const QString& folder)
{
    if (!QFileInfo::exists(file)) {
        return missing(file);
    }
    const QString target = QDir(folder).filePath(nameOf(file));
    if (QFileInfo::exists(target)) {
        return Error{ErrorCode::NameTaken, u"\"%1\" already exists in \"%2\"."_s.arg(nameOf(file), folder)};
    }
    if (QFile::rename(file, target)) {
        return {};
    }
    // Another file system: copy, check the copy, and only then let the original go.
    if (const Status copied = copyFile(file, target); !copied.ok()) {
        return copied;
    }
    if (!sameContents(file, target) || !QFile::remove(file)) {
        QFile::remove(target);
        return Error{ErrorCode::NotPossible,
                     u"\"%1\" cannot be moved: it is in use, or you may not change its folder."_s.arg(nameOf(file))};
    }
    return {};
}

Status copyFolder(const QString& folder, const QString& destination)
{
    const QFileInfo source(folder);
    if (!source.isDir()) {
        return missing(folder);
    }
    const QString from = source.canonicalFilePath();
    const QString into = QFileInfo(destination).canonicalFilePath();
    if (into.isEmpty()) {
        return missing(destination);
    }
    if (into == from || into.startsWith(from + u'/')) {
        return Error{ErrorCode::IntoItself, u"\"%1\" cannot be copied into itself."_s.arg(source.fileName())};
    }
    const QString target = QDir(into).filePath(source.fileName());
    const bool existed = QFileInfo::exists(target);
    if (!QDir().mkpath(target)) {
        return Error{ErrorCode::NotPossible, u"\"%1\" cannot be made."_s.arg(target)};
    }
    const Status copied = copyEntries(from, target);
    // A new copy that could not be finished goes again; files it replaced were replaced whole.
    if (!copied.ok() && !existed) {
        QDir(target).removeRecursively();
    }
    return copied;
}

Status moveFolder(const QString& folder, const QString& destination)
{
    const QFileInfo source(folder);
    if (!source.isDir()) {
        return missing(folder);
    }
    const QString target = QDir(destination).filePath(source.fileName());
    if (QFileInfo::exists(target)) {
        return Error{ErrorCode::NameTaken, u"\"%1\" already exists in \"%2\"."_s.arg(source.fileName(), destination)};
    }
    if (QDir().rename(folder, target)) {
        return {};
    }
    if (const Status copied = copyFolder(folder, destination); !copied.ok()) {
        return copied;
    }
    // The whole folder stands at its new place, so the original may go.
    if (!QDir(folder).removeRecursively()) {
        return Error{ErrorCode::NotPossible,
                     u"\"%1\" was copied, but cannot be removed from its folder."_s.arg(source.fileName())};
    }
    return {};
}

} // namespace FileOperations
