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
    // The package is rebuilt in memory: unchanged entries are copied as they are compressed,
    // only the changed parts are compressed anew.
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source =
        zip_source_buffer_create(m_bytes.constData(), static_cast<zip_uint64_t>(m_bytes.size()), 0, &error);
    zip* archive = source != nullptr ? zip_open_from_source(source, 0, &error) : nullptr;
    if (archive == nullptr) {
        zip_source_free(source);
        zip_error_fini(&error);
        return Error{Unwritable, u"the document cannot be written"_s};
    }
    zip_error_fini(&error);
    zip_source_keep(source); // it holds the result once the archive is closed
    const auto fail = [&](const QString& text) {
        zip_discard(archive);
        zip_source_free(source);
        return Error{Unwritable, text};
    };
    for (auto changed = m_changed.constBegin(); changed != m_changed.constEnd(); ++changed) {
        zip_source_t* content = zip_source_buffer(archive, changed.value().constData(),
                                                  static_cast<zip_uint64_t>(changed.value().size()), 0);
        const QByteArray name = changed.key().toUtf8();
        const zip_int64_t index = zip_name_locate(archive, name.constData(), 0);
        const bool stored =
            content != nullptr && (index >= 0 ? zip_file_replace(archive, static_cast<zip_uint64_t>(index), content, 0)
                                              : zip_file_add(archive, name.constData(), content, 0)) >= 0;
        if (!stored) {
            zip_source_free(content);
            return fail(u"the part "_s + changed.key() + u" cannot be written"_s);
        }
    }
    if (zip_close(archive) != 0) {
        return fail(QString::fromUtf8(zip_strerror(archive)));
    }
    QByteArray result;
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_source_stat(source, &stat) == 0 && (stat.valid & ZIP_STAT_SIZE) && zip_source_open(source) == 0) {
        result.resize(static_cast<qsizetype>(stat.size));
        const zip_int64_t got = zip_source_read(source, result.data(), stat.size);
        zip_source_close(source);
        if (got != static_cast<zip_int64_t>(stat.size)) {
            result.clear();
        }
    }
    zip_source_free(source);
    if (result.isEmpty()) {
        return Error{Unwritable, u"the document cannot be written"_s};
    }
    return result;
}

Status OoxmlPackage::saveTo(const QString& path) const
{
    const Result<QByteArray> bytes = packed();
    if (!bytes.ok()) {
        return bytes.error();
    }
    // The finished file takes the place of the old one in one step.
    const QString temporary = path + u".quillbay-saving"_s;
    {
        QFile file(temporary);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes.value()) != bytes->size()) {
            QFile::remove(temporary);
            return Error{Unwritable, file.errorString()};
        }
    }
    std::error_code error;
    std::filesystem::rename(QFile::encodeName(temporary).toStdString(), QFile::encodeName(path).toStdString(), error);
    if (error) {
        QFile::remove(temporary);
        return Error{Unwritable, u"the document cannot be stored as "_s + path};
    }
    return {};
}

} // namespace wordlink
