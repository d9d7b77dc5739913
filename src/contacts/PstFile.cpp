#include "PstStore.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtEndian>

#include <array>
#include <optional>
#include <utility>

// The functions on basic file handles are not used, and their header (libbfio) is no part of
// libpff's development package.
#include <libpff/features.h>

#undef LIBPFF_HAVE_BFIO

#include <libpff.h>

using namespace Qt::StringLiterals;

// An Outlook data file read with libpff: every call is checked, and a failing one ends the step
// with libpff's own words on what went wrong.
namespace {

// The error a libpff call leaves behind, freed when it goes.
class PffError
{
public:
    PffError() = default;
    PffError(const PffError&) = delete;
    PffError& operator=(const PffError&) = delete;
    ~PffError()
    {
        if (m_error != nullptr) {
            libpff_error_free(&m_error);
        }
    }

    libpff_error_t** out() { return &m_error; }

    // What first went wrong, as libpff tells it, without the name of its function:
    // "invalid file signature".
    QString text() const
    {
        std::array<char, 4096> buffer{};
        if (m_error == nullptr || libpff_error_backtrace_sprint(m_error, buffer.data(), buffer.size()) < 0) {
            return u"unknown error"_s;
        }
        QString cause = QString::fromUtf8(buffer.data()).section(u'\n', 0, 0).trimmed();
        static const QRegularExpression function(u"^[a-z0-9_]+: "_s);
        cause.remove(function);
        return cause.endsWith(u'.') ? cause.chopped(1) : cause;
    }

private:
    libpff_error_t* m_error = nullptr;
};

// An item of the file, freed when it goes.
class PffItem
{
public:
    PffItem() = default;
    PffItem(const PffItem&) = delete;
    PffItem& operator=(const PffItem&) = delete;
    PffItem(PffItem&& other) noexcept
        : m_item(std::exchange(other.m_item, nullptr))
    {
    }
    PffItem& operator=(PffItem&& other) noexcept
    {
        if (this != &other) {
            release();
            m_item = std::exchange(other.m_item, nullptr);
        }
        return *this;
    }
    ~PffItem() { release(); }

    libpff_item_t** out() { return &m_item; }
    libpff_item_t* get() const { return m_item; }

private:
    void release()
    {
        if (m_item != nullptr) {
            libpff_item_free(&m_item, nullptr);
        }
    }

    libpff_item_t* m_item = nullptr;
};

// The bytes of a property of an item's first record set; none when the item lacks it or its
// value cannot be read.
std::optional<QByteArray> bytesOf(libpff_item_t* item, quint32 tag, bool asText)
{
    PffError error;
    int sets = 0;
    if (libpff_item_get_number_of_record_sets(item, &sets, error.out()) != 1 || sets < 1) {
        return std::nullopt;
    }
    libpff_record_set_t* set = nullptr;
    if (libpff_item_get_record_set_by_index(item, 0, &set, error.out()) != 1) {
        return std::nullopt;
    }
    std::optional<QByteArray> bytes;
    libpff_record_entry_t* entry = nullptr;
    if (libpff_record_set_get_entry_by_type(set, tag, 0, &entry, LIBPFF_ENTRY_VALUE_FLAG_MATCH_ANY_VALUE_TYPE,
                                            error.out()) == 1) {
        size_t size = 0;
        const int sized = asText ? libpff_record_entry_get_data_as_utf8_string_size(entry, &size, error.out())
                                 : libpff_record_entry_get_data_size(entry, &size, error.out());
        if (sized == 1 && size > 0 && size < (1u << 24)) {
            QByteArray data(static_cast<qsizetype>(size), '\0');
            auto* target = reinterpret_cast<uint8_t*>(data.data());
            const int read = asText ? libpff_record_entry_get_data_as_utf8_string(entry, target, size, error.out())
                                    : libpff_record_entry_get_data(entry, target, size, error.out());
            if (read == 1) {
                bytes = asText ? QByteArray(data.constData()) : data;
            }
        }
        libpff_record_entry_free(&entry, nullptr);
    }
    libpff_record_set_free(&set, nullptr);
    return bytes;
}

std::optional<QString> textOf(libpff_item_t* item, quint32 tag)
{
    const std::optional<QByteArray> bytes = bytesOf(item, tag, true);
    return bytes ? std::optional<QString>(QString::fromUtf8(*bytes)) : std::nullopt;
}

quint32 identifierOf(libpff_item_t* item)
{
    uint32_t identifier = 0;
    PffError error;
    return libpff_item_get_identifier(item, &identifier, error.out()) == 1 ? identifier : 0;
}

class LibpffFile : public PstFile
{
public:
    explicit LibpffFile(QString path)
        : m_path(std::move(path))
    {
    }
    LibpffFile(const LibpffFile&) = delete;
    LibpffFile& operator=(const LibpffFile&) = delete;
    ~LibpffFile() override
    {
        if (m_open) {
            libpff_file_close(m_file, nullptr);
        }
        libpff_file_free(&m_file, nullptr);
    }

    Status open()
    {
        PffError error;
        if (libpff_file_initialize(&m_file, error.out()) != 1) {
            return failure(error);
        }
        const QByteArray name = QFile::encodeName(m_path);
        if (libpff_file_open(m_file, name.constData(), LIBPFF_OPEN_READ, error.out()) != 1) {
            return failure(error);
        }
        m_open = true;
        PffItem root;
        const int rooted = libpff_file_get_root_folder(m_file, root.out(), error.out());
        if (rooted != 1) {
            return rooted == 0 ? Status::failure(ErrorCode::CannotRead, problem(u"it has no root folder"_s))
                               : failure(error);
        }
        PffItem store;
        if (libpff_file_get_message_store(m_file, store.out(), error.out()) == 1) {
            m_displayName = textOf(store.get(), LIBPFF_ENTRY_TYPE_DISPLAY_NAME).value_or(QString());
            // The entry identifier of the top of the folders ends with the folder's identifier.
            const std::optional<QByteArray> top = bytesOf(store.get(), 0x35E0, false);
            if (top && top->size() >= 24) {
                m_top = qFromLittleEndian<quint32>(top->constData() + top->size() - 4);
            }
        }
        return {};
    }

    QString displayName() const override { return m_displayName; }
    quint32 topFolderIdentifier() const override { return m_top; }

    Result<std::vector<PstFolderEntry>> subFolders(const Path& path) const override
    {
        return eachItem<PstFolderEntry>(
            path, libpff_folder_get_number_of_sub_folders, libpff_folder_get_sub_folder, [](libpff_item_t* folder) {
                return PstFolderEntry{identifierOf(folder),
                                      textOf(folder, LIBPFF_ENTRY_TYPE_DISPLAY_NAME).value_or(QString()),
                                      textOf(folder, LIBPFF_ENTRY_TYPE_CONTAINER_CLASS).value_or(QString())};
            });
    }

    Result<std::vector<PstMessage>> messages(const Path& path, const std::vector<quint32>& tags) const override
    {
        return eachItem<PstMessage>(
            path, libpff_folder_get_number_of_sub_messages, libpff_folder_get_sub_message,
            [&tags](libpff_item_t* item) {
                PstMessage message{
                    identifierOf(item), textOf(item, LIBPFF_ENTRY_TYPE_MESSAGE_CLASS).value_or(QString()), {}};
                for (const quint32 tag : tags) {
                    if (std::optional<QString> value = textOf(item, tag)) {
                        message.values.emplace(tag, std::move(*value));
                    }
                }
                return message;
            });
    }

private:
    Status failure(const PffError& error) const
    {
        return Status::failure(ErrorCode::CannotRead, problem(error.text()));
    }
    QString problem(const QString& reason) const
    {
        return u"%1 cannot be opened as an Outlook data file: %2"_s.arg(m_path, reason);
    }

    // What read gives of each sub-item of the folder at path: its sub-folders or its messages,
    // as count and get give them.
    template <typename T, typename Read>
    Result<std::vector<T>> eachItem(const Path& path, int (*count)(libpff_item_t*, int*, libpff_error_t**),
                                    int (*get)(libpff_item_t*, int, libpff_item_t**, libpff_error_t**),
                                    const Read& read) const
    {
        PffItem folder;
        if (const Status found = folderAt(path, folder); !found.ok()) {
            return found.error();
        }
        PffError error;
        int number = 0;
        if (count(folder.get(), &number, error.out()) != 1) {
            return Result<std::vector<T>>::failure(ErrorCode::CannotRead, error.text());
        }
        std::vector<T> items;
        for (int k = 0; k < number; ++k) {
            PffItem item;
            if (get(folder.get(), k, item.out(), error.out()) != 1) {
                return Result<std::vector<T>>::failure(ErrorCode::CannotRead, error.text());
            }
            items.push_back(read(item.get()));
        }
        return items;
    }

    // The folder at a path of sub-folder positions from the root.
    Status folderAt(const Path& path, PffItem& folder) const
    {
        PffError error;
        if (libpff_file_get_root_folder(m_file, folder.out(), error.out()) != 1) {
            return Status::failure(ErrorCode::CannotRead, error.text());
        }
        for (const int index : path) {
            PffItem sub;
            if (libpff_folder_get_sub_folder(folder.get(), index, sub.out(), error.out()) != 1) {
                return Status::failure(ErrorCode::CannotRead, error.text());
            }
            folder = std::move(sub);
        }
        return {};
    }

    QString m_path;
    libpff_file_t* m_file = nullptr;
    bool m_open = false;
    QString m_displayName;
    quint32 m_top = 0;
};

} // namespace

Result<std::unique_ptr<PstFile>> PstFile::open(const QString& path)
{
    using Opened = Result<std::unique_ptr<PstFile>>;
    const QFileInfo info(path);
    if (!info.isFile()) {
        return Opened::failure(ErrorCode::CannotRead,
                               u"%1 cannot be opened as an Outlook data file: there is no such file"_s.arg(path));
    }
    if (info.size() == 0) {
        return Opened::failure(ErrorCode::CannotRead,
                               u"%1 cannot be opened as an Outlook data file: the file is empty"_s.arg(path));
    }
    auto file = std::make_unique<LibpffFile>(path);
    if (const Status opened = file->open(); !opened.ok()) {
        return opened.error();
    }
    return Opened(std::move(file));
}
