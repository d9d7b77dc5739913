#include "PstStore.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <deque>

using namespace Qt::StringLiterals;

namespace {

// The folder kinds by container class; a class below one of these ("IPF.Contact.Custom") is of
// the same kind.
int itemTypeOf(const QString& containerClass)
{
    static const std::array<std::pair<QString, int>, 6> kinds = {{{u"IPF.Note"_s, MailItemType::Mail},
                                                                  {u"IPF.Appointment"_s, MailItemType::Appointment},
                                                                  {u"IPF.Contact"_s, MailItemType::Contact},
                                                                  {u"IPF.Task"_s, MailItemType::Task},
                                                                  {u"IPF.Journal"_s, MailItemType::Journal},
                                                                  {u"IPF.StickyNote"_s, MailItemType::Note}}};
    for (const auto& [name, type] : kinds) {
        if (containerClass.compare(name, Qt::CaseInsensitive) == 0 ||
            containerClass.startsWith(name + u'.', Qt::CaseInsensitive)) {
            return type;
        }
    }
    return MailItemType::Mail;
}

bool isOfClass(const QString& messageClass, const QString& name)
{
    return messageClass.compare(name, Qt::CaseInsensitive) == 0 ||
           messageClass.startsWith(name + u'.', Qt::CaseInsensitive);
}

// The properties of a contact that give its values, in the order of the item's values; where a
// value has two, the first one the contact has wins. The tags of 0x8000 and above are the
// contact's named properties (e-mail 1, the work address, the web page), which the file maps to
// its own numbers.
const std::array<std::vector<quint32>, MailContactItem::ValueCount> ContactTags = {{
    {0x8083},         // e-mail 1
    {0x3A06},         // given name
    {0x3A11},         // surname
    {0x3A17},         // job title
    {0x3A16},         // company
    {0x3A29, 0x8045}, // business street
    {0x3A27, 0x8046}, // business city
    {0x3A28, 0x8047}, // business state
    {0x3A2A, 0x8048}, // business postal code
    {0x3A26, 0x8049}, // business country
    {0x3A08},         // business phone
    {0x3A24},         // business fax
    {0x3A51, 0x802B}, // web page
}};

std::vector<quint32> allContactTags()
{
    std::vector<quint32> tags;
    for (const std::vector<quint32>& field : ContactTags) {
        tags.insert(tags.end(), field.begin(), field.end());
    }
    return tags;
}

MailContactItem itemOf(const PstMessage& message, const QString& folderId)
{
    MailContactItem item;
    item.entryId = folderId + u'#' + QString::number(message.identifier);
    if (isOfClass(message.messageClass, u"IPM.DistList"_s)) {
        item.className = u"DistListItem"_s;
        return item;
    }
    if (!isOfClass(message.messageClass, u"IPM.Contact"_s)) {
        item.className = message.messageClass;
        return item;
    }
    item.className = u"ContactItem"_s;
    for (size_t k = 0; k < ContactTags.size(); ++k) {
        for (const quint32 tag : ContactTags[k]) {
            const auto found = message.values.find(tag);
            if (found != message.values.end() && !found->second.isEmpty()) {
                item.values[k] = found->second;
                break;
            }
        }
    }
    return item;
}

MailFolder withoutSubFolders(const MailFolder& folder)
{
    MailFolder copy = folder;
    copy.folders.clear();
    return copy;
}

} // namespace

PstStore::PstStore(QString path, std::unique_ptr<PstFile> file)
    : m_path(std::move(path))
    , m_file(std::move(file))
{
}

Result<std::unique_ptr<PstStore>> PstStore::open(const QString& path)
{
    Result<std::unique_ptr<PstFile>> file = PstFile::open(path);
    if (!file.ok()) {
        return file.error();
    }
    return read(path, std::move(file.value()));
}

Result<std::unique_ptr<PstStore>> PstStore::read(const QString& path, std::unique_ptr<PstFile> file)
{
    std::unique_ptr<PstStore> store(new PstStore(QDir::cleanPath(QFileInfo(path).absoluteFilePath()), std::move(file)));
    if (const Status walked = store->walk(); !walked.ok()) {
        return walked.error();
    }
    return store;
}

Status PstStore::walk()
{
    // Every folder of the file, parents before their sub-folders, breadth first.
    struct Node
    {
        PstFolderEntry entry;
        PstFile::Path path;
        int parent; // index in nodes, -1 for the sub-folders of the root folder
    };
    std::vector<Node> nodes;
    std::deque<std::pair<PstFile::Path, int>> pending = {{{}, -1}};
    while (!pending.empty()) {
        auto [path, index] = std::move(pending.front());
        pending.pop_front();
        Result<std::vector<PstFolderEntry>> folders = m_file->subFolders(path);
        if (!folders.ok()) {
            return Status::failure(ErrorCode::CannotRead,
                                   u"The data file %1 cannot be read: %2"_s.arg(m_path, folders.error().message));
        }
        for (size_t k = 0; k < folders->size(); ++k) {
            PstFile::Path childPath = path;
            childPath.push_back(static_cast<int>(k));
            if (childPath.size() < static_cast<size_t>(MaxDepth)) {
                pending.emplace_back(childPath, static_cast<int>(nodes.size()));
            }
            nodes.push_back({std::move(folders.value()[k]), std::move(childPath), index});
        }
    }

    const QString storeId = QString::fromLatin1(IdPrefix) + m_path;
    const QString displayName = m_file->displayName();
    m_store = {storeId,
               displayName.isEmpty() ? QFileInfo(m_path).completeBaseName() : displayName,
               MailItemType::Mail,
               {},
               {}};
    int top = -1;
    const quint32 topIdentifier = m_file->topFolderIdentifier();
    for (size_t k = 0; k < nodes.size() && topIdentifier != 0; ++k) {
        if (nodes[k].entry.identifier == topIdentifier) {
            top = static_cast<int>(k);
            break;
        }
    }

    // The folders below the top one, each gathered into its parent from the deepest up.
    std::vector<bool> shown(nodes.size(), false);
    std::vector<MailFolder> folders(nodes.size());
    for (size_t k = 0; k < nodes.size(); ++k) {
        const int parent = nodes[k].parent;
        shown[k] = parent == top || (parent >= 0 && shown[static_cast<size_t>(parent)]);
        if (!shown[k]) {
            continue;
        }
        const PstFolderEntry& entry = nodes[k].entry;
        folders[k] = {storeId + u'#' + QString::number(entry.identifier),
                      entry.name,
                      itemTypeOf(entry.containerClass),
                      parent == top ? m_store.name : nodes[static_cast<size_t>(parent)].entry.name,
                      {}};
        m_folders.insert(folders[k].entryId, {folders[k], nodes[k].path});
    }
    for (size_t k = nodes.size(); k-- > 0;) {
        if (!shown[k]) {
            continue;
        }
        std::reverse(folders[k].folders.begin(), folders[k].folders.end());
        const int parent = nodes[k].parent;
        (parent == top ? m_store.folders : folders[static_cast<size_t>(parent)].folders)
            .push_back(std::move(folders[k]));
    }
    std::reverse(m_store.folders.begin(), m_store.folders.end());
    return {};
}

std::vector<MailFolder> PstStore::stores() const
{
    return {m_store};
}

std::optional<MailFolder> PstStore::GetDefaultFolder(int which) const
{
    if (which != DefaultFolder::Contacts) {
        return std::nullopt;
    }
    for (const MailFolder& folder : m_store.folders) {
        if (folder.defaultItemType == MailItemType::Contact) {
            return withoutSubFolders(folder);
        }
    }
    return std::nullopt;
}

std::optional<MailFolder> PstStore::GetFolderFromID(const QString& entryId) const
{
    if (entryId == m_store.entryId) {
        return withoutSubFolders(m_store);
    }
    const auto found = m_folders.constFind(entryId);
    return found == m_folders.constEnd() ? std::nullopt : std::optional<MailFolder>(found->first);
}

Result<std::vector<MailContactItem>> PstStore::items(const QString& entryId) const
{
    using Items = Result<std::vector<MailContactItem>>;
    const auto found = m_folders.constFind(entryId);
    if (found == m_folders.constEnd()) {
        return Items::failure(ErrorCode::CannotRead,
                              u"No folder of the data file %1 is known as %2"_s.arg(m_path, entryId));
    }
    static const std::vector<quint32> tags = allContactTags();
    const Result<std::vector<PstMessage>> messages = m_file->messages(found->second, tags);
    if (!messages.ok()) {
        return Items::failure(ErrorCode::CannotRead, u"The folder %1 of the data file %2 cannot be read: %3"_s.arg(
                                                         found->first.name, m_path, messages.error().message));
    }
    std::vector<MailContactItem> items;
    items.reserve(messages->size());
    for (const PstMessage& message : messages.value()) {
        items.push_back(itemOf(message, entryId));
    }
    return items;
}
