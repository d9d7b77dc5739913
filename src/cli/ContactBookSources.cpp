#include "ContactBookSources.h"

#include "contacts/MailNamespace.h"
#include "contacts/WabReader.h"
#include "core/CommonRoutines.h"
#include "core/SettingsKeys.h"

using namespace Qt::StringLiterals;

namespace {

using Loaded = Result<LoadedContacts>;

// The contact folders of every store, in the order of the stores.
void collectContactFolders(const std::vector<MailFolder>& folders, std::vector<MailFolder>& found)
{
    for (const MailFolder& folder : folders) {
        if (folder.defaultItemType == MailItemType::Contact) {
            found.push_back(folder);
            collectContactFolders(folder.folders, found);
        }
    }
}

QString described(const std::vector<MailFolder>& folders)
{
    QStringList names;
    for (const MailFolder& folder : folders) {
        names << u"\"%1\" (%2)"_s.arg(folder.name, folder.entryId);
    }
    return names.isEmpty() ? u"no address book at all"_s : names.join(u", "_s);
}

// The folder the option names: the default address book for "", else the one of that identifier,
// else the only one of that name (the default one when several share it).
Result<MailFolder> chosenFolder(const MailNamespace& client, const QString& given)
{
    const std::optional<MailFolder> standard = client.GetDefaultFolder(DefaultFolder::Contacts);
    if (given.isEmpty()) {
        if (!standard) {
            return Result<MailFolder>::failure(ErrorCode::BadInput,
                                               u"the mail client has no default address book; give --contacts "
                                               u"with the name of one"_s);
        }
        return standard.value();
    }
    std::vector<MailFolder> contactFolders;
    for (const MailFolder& store : client.stores()) {
        collectContactFolders(store.folders, contactFolders);
    }
    std::vector<MailFolder> named;
    for (const MailFolder& folder : contactFolders) {
        if (folder.entryId == given) {
            return folder;
        }
        if (folder.name == given) {
            named.push_back(folder);
        }
    }
    if (named.size() == 1) {
        return named.front();
    }
    if (named.size() > 1) {
        if (standard && standard->name == given) {
            return standard.value();
        }
        return Result<MailFolder>::failure(
            ErrorCode::BadInput,
            u"several address books are called \"%1\"; give the identifier of one: %2"_s.arg(given, described(named)));
    }
    return Result<MailFolder>::failure(
        ErrorCode::BadInput,
        u"Please Choose a Contact Folder: the mail client has no address book \"%1\"; it has %2"_s.arg(
            given, described(contactFolders)));
}

} // namespace

Result<LoadedContacts> loadAddressBook(const ContactSourceOptions& options, ContactTable& table)
{
    if (!AddressBook::hasAddressBookExtension(options.path)) {
        return Loaded::failure(
            ErrorCode::BadInput,
            u"Choose a Valid file!: an address book is a .wab or .vcf file, not %1"_s.arg(options.path));
    }
    if (!FileExists(options.path)) {
        return Loaded::failure(ErrorCode::BadInput, u"File Doesn't Exists: %1"_s.arg(options.path));
    }
    WabReader reader;
    if (const Status opened = reader.open(options.path); !opened.ok()) {
        return Loaded::failure(ErrorCode::BadInput, opened.error().message);
    }
    if (reader.count() < 1) {
        return Loaded::failure(ErrorCode::BadInput, u"Contacts are not Available in %1"_s.arg(options.path));
    }
    table.clear();
    std::vector<Contact> rows(static_cast<size_t>(reader.count()));
    for (int k = 0; k < reader.count(); ++k) {
        reader.select(k);
        rows[static_cast<size_t>(k)].cells = AddressBook::rowCells(reader);
    }
    table.appendRows(std::move(rows));
    SettingsStore::instance().setValue(Keys::WabFilename, options.path);
    return LoadedContacts{};
}

Result<LoadedContacts> loadMailClientFolder(const ContactSourceOptions& options, ContactTable& table)
{
    const std::unique_ptr<MailNamespace> client = MailClient::attach();
    const Result<MailFolder> folder = chosenFolder(*client, options.path);
    if (!folder.ok()) {
        return folder.error();
    }
    Result<std::vector<MailContactItem>> items = client->items(folder->entryId);
    if (!items.ok()) {
        return Loaded::failure(ErrorCode::BadInput, items.error().message);
    }
    if (items->empty()) {
        return Loaded::failure(ErrorCode::BadInput, u"No Items Available in "_s + folder->name + u" Folder"_s);
    }
    table.clear();
    std::vector<Contact> rows;
    for (const MailContactItem& item : items.value()) {
        if (std::optional<Contact> row = MailClient::contactRow(item)) {
            rows.push_back(std::move(*row));
        }
    }
    table.appendRows(std::move(rows));
    if (table.count() == 0) {
        return Loaded::failure(ErrorCode::BadInput,
                               u"the address book \"%1\" holds mailing lists only, no contacts"_s.arg(folder->name));
    }
    SettingsStore& store = SettingsStore::instance();
    store.setValue(Keys::ContactsFolderName, folder->name);
    store.setValue(Keys::ContactsEntryId, folder->entryId);
    return LoadedContacts{};
}
