#include "MailNamespace.h"

#include "PstStore.h"
#include "ThunderbirdProfiles.h"
#include "core/ListSeparator.h"
#include "core/SettingsKeys.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace MailClient {

namespace {

std::function<std::unique_ptr<MailNamespace>()>& attachOverride()
{
    static std::function<std::unique_ptr<MailNamespace>()> make;
    return make;
}

class JoinedNamespaces : public MailNamespace
{
public:
    explicit JoinedNamespaces(std::vector<std::unique_ptr<MailNamespace>> parts)
        : m_parts(std::move(parts))
    {
    }

    std::vector<MailFolder> stores() const override
    {
        std::vector<MailFolder> stores;
        for (const auto& part : m_parts) {
            std::vector<MailFolder> more = part->stores();
            std::move(more.begin(), more.end(), std::back_inserter(stores));
        }
        return stores;
    }
    std::optional<MailFolder> GetDefaultFolder(int which) const override
    {
        for (const auto& part : m_parts) {
            if (std::optional<MailFolder> folder = part->GetDefaultFolder(which)) {
                return folder;
            }
        }
        return std::nullopt;
    }
    std::optional<MailFolder> GetFolderFromID(const QString& entryId) const override
    {
        const MailNamespace* part = owner(entryId);
        return part == nullptr ? std::nullopt : part->GetFolderFromID(entryId);
    }
    Result<std::vector<MailContactItem>> items(const QString& entryId) const override
    {
        const MailNamespace* part = owner(entryId);
        if (part == nullptr) {
            return Result<std::vector<MailContactItem>>::failure(ErrorCode::CannotRead,
                                                                 u"No folder is known as %1"_s.arg(entryId));
        }
        return part->items(entryId);
    }

private:
    const MailNamespace* owner(const QString& entryId) const
    {
        for (const auto& part : m_parts) {
            if (part->GetFolderFromID(entryId)) {
                return part.get();
            }
        }
        return nullptr;
    }

    std::vector<std::unique_ptr<MailNamespace>> m_parts;
};

QString absolute(const QString& path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

} // namespace

std::unique_ptr<MailNamespace> attach()
{
    if (attachOverride()) {
        return attachOverride()();
    }
    std::vector<std::unique_ptr<MailNamespace>> parts;
    parts.push_back(std::make_unique<ThunderbirdProfiles>(QDir::homePath()));
    for (const QString& path : dataFiles()) {
        if (Result<std::unique_ptr<PstStore>> store = PstStore::open(path); store.ok()) {
            parts.push_back(std::move(store.value()));
        }
    }
    return joined(std::move(parts));
}

std::unique_ptr<MailNamespace> joined(std::vector<std::unique_ptr<MailNamespace>> parts)
{
    return std::make_unique<JoinedNamespaces>(std::move(parts));
}

QStringList dataFiles()
{
    return SettingsStore::instance().value(Keys::ContactsDataFiles).split(ListSeparator(), Qt::SkipEmptyParts);
}

Status addDataFile(const QString& path)
{
    const Result<std::unique_ptr<PstStore>> store = PstStore::open(path);
    if (!store.ok()) {
        return store.error();
    }
    QStringList files = dataFiles();
    if (!files.contains(absolute(path))) {
        files << absolute(path);
        SettingsStore::instance().setValue(Keys::ContactsDataFiles, files.join(ListSeparator()));
    }
    return {};
}

std::optional<Contact> contactRow(const MailContactItem& item)
{
    if (item.className != QStringLiteral("ContactItem")) {
        return std::nullopt;
    }
    Contact row;
    std::copy(item.values.begin(), item.values.end(), row.cells.begin());
    row.key = item.entryId;
    return row;
}

void setAttachOverride(std::function<std::unique_ptr<MailNamespace>()> make)
{
    attachOverride() = std::move(make);
}

} // namespace MailClient
