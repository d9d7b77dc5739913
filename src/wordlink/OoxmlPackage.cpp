#include "OoxmlPackage.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <pugixml.hpp>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

enum PackageError
{
    Unreadable = 1,
    NotAPackage,
    MissingPart,
    TooLarge,
    Unwritable,
    ReadOnly
};

const QString UnfinishedSuffix = u".quillbay-saving"_s;

QString zipErrorText(zip_error_t* error)
{
    return QString::fromUtf8(zip_error_strerror(error));
}

} // namespace

void OoxmlPackage::ZipCloser::operator()(zip* archive) const
{
    zip_discard(archive);
}

OoxmlPackage::OoxmlPackage() = default;
OoxmlPackage::OoxmlPackage(OoxmlPackage&&) noexcept = default;
OoxmlPackage& OoxmlPackage::operator=(OoxmlPackage&&) noexcept = default;
OoxmlPackage::~OoxmlPackage() = default;

Result<OoxmlPackage> OoxmlPackage::open(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{Unreadable, file.errorString()};
    }
    if (file.size() > MaxFileSize) {
        return Error{TooLarge, u"the file is larger than a document can be"_s};
    }
    return fromBytes(file.readAll());
}

Result<OoxmlPackage> OoxmlPackage::fromBytes(const QByteArray& bytes)
{
    OoxmlPackage package;
    package.m_bytes = bytes;
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(package.m_bytes.constData(),
                                                    static_cast<zip_uint64_t>(package.m_bytes.size()), 0, &error);
    if (source == nullptr) {
        const QString text = zipErrorText(&error);
        zip_error_fini(&error);
        return Error{NotAPackage, text};
    }
    zip* archive = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (archive == nullptr) {
        zip_source_free(source);
        const QString text = zipErrorText(&error);
        zip_error_fini(&error);
        return Error{NotAPackage, u"not a Word 2007 document: "_s + text};
    }
    zip_error_fini(&error);
    package.m_archive.reset(archive);
    return package;
}

QString OoxmlPackage::mainPartName() const
{
    const Result<QByteArray> relations = part(u"_rels/.rels"_s);
    if (relations.ok()) {
        pugi::xml_document xml;
        if (xml.load_buffer(relations->constData(), static_cast<size_t>(relations->size()))) {
            for (pugi::xml_node relation : xml.child("Relationships").children("Relationship")) {
                const QString type = QString::fromUtf8(relation.attribute("Type").value());
                if (type.endsWith(u"/officeDocument"_s)) {
                    QString target = QString::fromUtf8(relation.attribute("Target").value());
                    return target.startsWith(u'/') ? target.mid(1) : target;
                }
            }
        }
    }
    return u"word/document.xml"_s;
}

bool OoxmlPackage::hasPart(const QString& name) const
{
    return m_changed.contains(name) || zip_name_locate(m_archive.get(), name.toUtf8().constData(), 0) >= 0;
}

Result<QByteArray> OoxmlPackage::part(const QString& name) const
{
    if (const auto changed = m_changed.constFind(name); changed != m_changed.constEnd()) {
        return changed.value();
    }
    const QByteArray entry = name.toUtf8();
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat(m_archive.get(), entry.constData(), 0, &stat) != 0) {
        return Error{MissingPart, u"the document has no part "_s + name};
    }
    if ((stat.valid & ZIP_STAT_SIZE) && stat.size > static_cast<zip_uint64_t>(MaxPartSize)) {
        return Error{TooLarge, u"the part "_s + name + u" is too large"_s};
    }
    zip_file_t* file = zip_fopen(m_archive.get(), entry.constData(), 0);
    if (file == nullptr) {
        return Error{Unreadable, QString::fromUtf8(zip_strerror(m_archive.get()))};
    }
    // The declared size is not trusted: reading stops at the ceiling whatever the entry says.
    // Room is made for the declared size at once, and beyond it in doubling steps that end at
    // the ceiling, so that an entry lying about its size costs at most one and a half ceilings.
    constexpr qsizetype Step = 65536;
    const qsizetype declared = (stat.valid & ZIP_STAT_SIZE) ? static_cast<qsizetype>(stat.size) : 0;
    QByteArray content(declared + Step, Qt::Uninitialized);
    qsizetype filled = 0;
    while (true) {
        if (content.size() - filled < Step) {
            content.resize(qMin(qMax(2 * content.size(), filled + Step), MaxPartSize + Step));
        }
        const zip_int64_t got =
            zip_fread(file, content.data() + filled, static_cast<zip_uint64_t>(content.size() - filled));
        if (got < 0) {
            zip_fclose(file);
            return Error{Unreadable, u"the part "_s + name + u" cannot be read"_s};
        }
        if (got == 0) {
            break;
        }
        filled += static_cast<qsizetype>(got);
        if (filled > MaxPartSize) {
            zip_fclose(file);
            return Error{TooLarge, u"the part "_s + name + u" is too large"_s};
        }
    }
    zip_fclose(file);
    content.truncate(filled);
    return content;
}

void OoxmlPackage::setPart(const QString& name, const QByteArray& content)
{
    m_changed.insert(name, content);
}

Result<QByteArray> OoxmlPackage::packed() const
{
    if (m_changed.isEmpty()) {
        return m_bytes;
    }
    // The new package is built in a buffer of its own, entry by entry in the old order: unchanged
    // entries are copied as they are compressed, only the changed parts are compressed anew. The
    // old package is only ever read, so libzip never takes hold of the bytes it came from.
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* target = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip* archive = target != nullptr ? zip_open_from_source(target, ZIP_CREATE | ZIP_TRUNCATE, &error) : nullptr;
    zip_error_fini(&error);
    if (archive == nullptr) {
        zip_source_free(target);
        return Error{Unwritable, u"the document cannot be written"_s};
    }
    zip_source_keep(target); // it holds the result once the archive is closed
    const auto fail = [&](const QString& text) {
        zip_discard(archive);
        zip_source_free(target);
        return Error{Unwritable, text};
    };
    const auto add = [&](const char* name, zip_source_t* content) {
        const zip_int64_t index = content != nullptr ? zip_file_add(archive, name, content, ZIP_FL_ENC_GUESS) : -1;
        if (index < 0) {
            zip_source_free(content);
        }
        return index;
    };
    // A changed part is compressed at zlib's fastest level: a letter's main part then costs about
    // a third less time than at libzip's default (the best compression), for a part some ten per
    // cent larger.
    const auto addChanged = [&](const char* name, const QByteArray& bytes) {
        const zip_int64_t index =
            add(name, zip_source_buffer(archive, bytes.constData(), static_cast<zip_uint64_t>(bytes.size()), 0));
        return index >= 0 &&
               zip_set_file_compression(archive, static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, 1) == 0;
    };
    QMap<QString, QByteArray> unplaced = m_changed;
    zip* original = m_archive.get();
    const zip_int64_t count = zip_get_num_entries(original, 0);
    for (zip_uint64_t i = 0; i < static_cast<zip_uint64_t>(count); ++i) {
        const char* rawName = zip_get_name(original, i, ZIP_FL_ENC_RAW);
        zip_stat_t stat;
        zip_stat_init(&stat);
        if (rawName == nullptr || zip_stat_index(original, i, 0, &stat) != 0) {
            return fail(u"the document cannot be written"_s);
        }
        const QString name = QString::fromUtf8(zip_get_name(original, i, 0));
        if (const auto changed = unplaced.constFind(name); changed != unplaced.constEnd()) {
            if (!addChanged(rawName, changed.value())) {
                return fail(u"the part "_s + name + u" cannot be written"_s);
            }
            unplaced.remove(name);
            continue;
        }
        const zip_int64_t index = add(rawName, zip_source_zip(archive, original, i, ZIP_FL_COMPRESSED, 0, -1));
        // The copy keeps its compression, so that libzip moves its compressed bytes unchanged.
        if (index < 0 || ((stat.valid & ZIP_STAT_COMP_METHOD) &&
                          zip_set_file_compression(archive, static_cast<zip_uint64_t>(index),
                                                   static_cast<zip_int32_t>(stat.comp_method), 0) != 0)) {
            return fail(u"the part "_s + name + u" cannot be copied"_s);
        }
    }
    for (auto added = unplaced.constBegin(); added != unplaced.constEnd(); ++added) {
        if (!addChanged(added.key().toUtf8().constData(), added.value())) {
            return fail(u"the part "_s + added.key() + u" cannot be written"_s);
        }
    }
    if (zip_close(archive) != 0) {
        return fail(QString::fromUtf8(zip_strerror(archive)));
    }
    QByteArray result;
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_source_stat(target, &stat) == 0 && (stat.valid & ZIP_STAT_SIZE) && zip_source_open(target) == 0) {
        result.resize(static_cast<qsizetype>(stat.size));
        const zip_int64_t got = zip_source_read(target, result.data(), stat.size);
        zip_source_close(target);
        if (got != static_cast<zip_int64_t>(stat.size)) {
            result.clear();
        }
    }
    zip_source_free(target);
    if (result.isEmpty()) {
        return Error{Unwritable, u"the document cannot be written"_s};
    }
    return result;
}

void OoxmlPackage::removeUnfinishedSaves(const QString& folder)
{
    const QDir dir(folder);
    for (const QString& name : dir.entryList({u"*"_s + UnfinishedSuffix}, QDir::Files | QDir::Hidden)) {
        QFile::remove(dir.filePath(name));
    }
}

Status OoxmlPackage::saveTo(const QString& path) const
{
    const Result<Staged> staged = stage(path);
    return staged.ok() ? commit(staged.value()) : Status(staged.error());
}

Result<OoxmlPackage::Staged> OoxmlPackage::stage(const QString& path) const
{
    // A link is followed: the document it names is replaced and the link stays a link.
    const QFileInfo named(path);
    const QString target = named.isSymLink() && !named.canonicalFilePath().isEmpty() ? named.canonicalFilePath() : path;
    const QByteArray targetName = QFile::encodeName(target);
    struct stat existing = {};
    const bool replacing = ::stat(targetName.constData(), &existing) == 0;
    // A document nobody may write to is left alone, also for a user whom the system would let.
    if (replacing &&
        ((existing.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(targetName.constData(), W_OK) != 0)) {
        return Error{ReadOnly, u"the document is read-only"_s};
    }
    const Result<QByteArray> bytes = packed();
    if (!bytes.ok()) {
        return bytes.error();
    }
    // The finished file takes the place of the old one in one step, with the old one's mode and
    // owner. Its temporary name is fixed, so a save cut off by a killed run is cleared by the
    // next save of the same document.
    const QString temporary = target + UnfinishedSuffix;
    QFile file(temporary);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes.value()) != bytes->size()) {
        QFile::remove(temporary);
        return Error{Unwritable, file.errorString()};
    }
    if (replacing) {
        // The owner is kept where the user may give it (as the owner or root); the mode always.
        [[maybe_unused]] const int owned = ::fchown(file.handle(), existing.st_uid, existing.st_gid);
        ::fchmod(file.handle(), existing.st_mode & 07777);
    }
    return Staged{temporary, target};
}

Status OoxmlPackage::commit(const Staged& staged)
{
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(staged.temporary).toStdString(),
                            QFile::encodeName(staged.target).toStdString(), error);
    if (error) {
        discard(staged);
        return Error{Unwritable, u"the document cannot be stored as "_s + staged.target};
    }
    return {};
}

void OoxmlPackage::discard(const Staged& staged)
{
    QFile::remove(staged.temporary);
}

} // namespace wordlink
