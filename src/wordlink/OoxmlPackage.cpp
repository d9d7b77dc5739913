#include "OoxmlPackage.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
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
    Unwritable
};

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
    OoxmlPackage package;
    package.m_bytes = file.readAll();
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
    QByteArray content;
    char buffer[65536];
    while (true) {
        const zip_int64_t got = zip_fread(file, buffer, sizeof buffer);
        if (got < 0) {
            zip_fclose(file);
            return Error{Unreadable, u"the part "_s + name + u" cannot be read"_s};
        }
        if (got == 0) {
            break;
        }
        content.append(buffer, static_cast<qsizetype>(got));
        if (content.size() > MaxPartSize) {
            zip_fclose(file);
            return Error{TooLarge, u"the part "_s + name + u" is too large"_s};
        }
    }
    zip_fclose(file);
    return content;
}

void OoxmlPackage::setPart(const QString& name, const QByteArray& content)
{
    m_changed.insert(name, content);
}

Status OoxmlPackage::saveTo(const QString& path) const
{
    const QString temporary = path + u".quillbay-saving"_s;
    {
        QFile copy(temporary);
        if (!copy.open(QIODevice::WriteOnly | QIODevice::Truncate) || copy.write(m_bytes) != m_bytes.size()) {
            QFile::remove(temporary);
            return Error{Unwritable, copy.errorString()};
        }
    }
    int errorCode = 0;
    zip* archive = zip_open(QFile::encodeName(temporary).constData(), 0, &errorCode);
    if (archive == nullptr) {
        QFile::remove(temporary);
        return Error{Unwritable, u"the document cannot be written"_s};
    }
    for (auto changed = m_changed.constBegin(); changed != m_changed.constEnd(); ++changed) {
        zip_source_t* source = zip_source_buffer(archive, changed.value().constData(),
                                                 static_cast<zip_uint64_t>(changed.value().size()), 0);
        const QByteArray name = changed.key().toUtf8();
        const zip_int64_t index = zip_name_locate(archive, name.constData(), 0);
        const bool stored =
            source != nullptr && (index >= 0 ? zip_file_replace(archive, static_cast<zip_uint64_t>(index), source, 0)
                                             : zip_file_add(archive, name.constData(), source, 0)) >= 0;
        if (!stored) {
            zip_source_free(source);
            zip_discard(archive);
            QFile::remove(temporary);
            return Error{Unwritable, u"the part "_s + changed.key() + u" cannot be written"_s};
        }
    }
    if (zip_close(archive) != 0) {
        const QString text = QString::fromUtf8(zip_strerror(archive));
        zip_discard(archive);
        QFile::remove(temporary);
        return Error{Unwritable, text};
    }
    // The finished file takes the place of the old one in one step.
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(temporary).toStdString(), QFile::encodeName(path).toStdString(), error);
    if (error) {
        QFile::remove(temporary);
        return Error{Unwritable, u"the document cannot be stored as "_s + path};
    }
    return {};
}

} // namespace wordlink
