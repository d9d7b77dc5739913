#pragma once

#include "ContactTable.h"
#include "MergeFieldTable.h"
#include "core/Result.h"

#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

// The mail client's stores and folders, as the contact source "Outlook Contacts" sees them: a
// store holds folders, a folder has a name, a stable identifier (its EntryID), the kind of item
// it holds by default and sub-folders of its own.
namespace MailItemType {
inline constexpr int Mail = 0;
inline constexpr int Appointment = 1;
inline constexpr int Contact = 2;
inline constexpr int Task = 3;
inline constexpr int Journal = 4;
inline constexpr int Note = 5;
} // namespace MailItemType

// The folders GetDefaultFolder knows.
namespace DefaultFolder {
inline constexpr int Outbox = 4;
inline constexpr int Inbox = 6;
inline constexpr int Contacts = 10;
} // namespace DefaultFolder

struct MailFolder
{
    QString entryId;
    QString name;
    int defaultItemType = MailItemType::Mail;
    QString parentName; // the name of the store or folder that holds it
    std::vector<MailFolder> folders;
};

// One item of a contact folder. A contact carries the values the contact source reads, in the
// order of the contact cells: Email1Address, FirstName, LastName, JobTitle, CompanyName, the
// business street, city, state, postal code and country, the business phone and fax, WebPage.
// Other items (a mailing list is a "DistListItem") carry only their class and identifier.
struct MailContactItem
{
    static constexpr int ValueCount = MergeFieldTable::FirstCustomCell;

    QString className; // "ContactItem", "DistListItem", …
    QString entryId;
    std::array<QString, ValueCount> values;
};

class MailNamespace
{
public:
    virtual ~MailNamespace() = default;

    // The stores, each a folder whose sub-folders are its folders.
    virtual std::vector<MailFolder> stores() const = 0;
    // The folder of DefaultFolder::Contacts, Inbox or Outbox, without sub-folders; none when the
    // client has no such folder.
    virtual std::optional<MailFolder> GetDefaultFolder(int which) const = 0;
    // The store or folder of an identifier, without sub-folders; none for an unknown one.
    virtual std::optional<MailFolder> GetFolderFromID(const QString& entryId) const = 0;
    // Every item of a folder, in the folder's order; an error value says why it cannot be read.
    virtual Result<std::vector<MailContactItem>> items(const QString& entryId) const = 0;
};

namespace MailClient {

// The row of a contact item: cells 0 to 12 its values, its EntryID as the key; none for a
// mailing list or any other item.
std::optional<Contact> contactRow(const MailContactItem& item);

// The user's mail client: the address books of the Thunderbird profiles in the home folder,
// then the Outlook data files the user added, each a store of its own (a file that can no
// longer be read is left out). A test may put another namespace in its place.
std::unique_ptr<MailNamespace> attach();

// Several namespaces as one: their stores in order; a default folder, a folder and the items of
// an identifier come from the first namespace that knows them.
std::unique_ptr<MailNamespace> joined(std::vector<std::unique_ptr<MailNamespace>> parts);

// The Outlook data files added as stores, in the order they were added.
QStringList dataFiles();
// Adds the Outlook data file at path as a store: it is kept in the settings when libpff reads
// its folders, and an error value names the file and the reason otherwise. Adding a file again
// changes nothing.
Status addDataFile(const QString& path);
void setAttachOverride(std::function<std::unique_ptr<MailNamespace>()> make);

} // namespace MailClient
