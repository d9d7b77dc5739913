#pragma once

#include "MailNamespace.h"

#include <QHash>
#include <QString>

#include <map>
#include <memory>
#include <vector>

// What the store needs of an Outlook data file (.pst or .ost): its folders, found by their path
// of sub-folder positions from the root folder, and the messages of a folder with the string
// properties asked for. PstFile::open reads a real file with libpff; a test puts another in its
// place.
struct PstFolderEntry
{
    quint32 identifier = 0;
    QString name;
    QString containerClass; // "IPF.Contact", "IPF.Note", … ("" when the folder has none)
};

struct PstMessage
{
    quint32 identifier = 0;
    QString messageClass;              // "IPM.Contact", "IPM.DistList", …
    std::map<quint32, QString> values; // by property tag, those the message has
};

class PstFile
{
public:
    using Path = std::vector<int>;

    virtual ~PstFile() = default;

    // The name the file gives its store ("" when it has none).
    virtual QString displayName() const = 0;
    // The identifier of the folder at the top of what the user sees; 0 when the file names none.
    virtual quint32 topFolderIdentifier() const = 0;
    // The sub-folders of the folder at path (the root folder for an empty path), in order.
    virtual Result<std::vector<PstFolderEntry>> subFolders(const Path& path) const = 0;
    // The messages of the folder at path, in order, each with the values of the given tags.
    virtual Result<std::vector<PstMessage>> messages(const Path& path, const std::vector<quint32>& tags) const = 0;

    // The file at path through libpff, opened for reading only; an error value names the file and
    // says why it cannot be read.
    static Result<std::unique_ptr<PstFile>> open(const QString& path);
};

// One Outlook data file as a store of the mail client. The folders the user sees are those
// below the file's top folder (the root folder when the file names no top folder); a folder's
// container class gives its kind, "IPF.Contact" (or a class below it) a contact folder.
// Identifiers are stable from run to run: "pst:" and the absolute path of the file for the
// store, "#" and the folder's identifier in the file for a folder, "#" and the item's
// identifier after that for an item.
//
// The folder tree is walked without recursion, at most MaxDepth folders deep; its items are read
// when asked for. A contact ("IPM.Contact") gives its e-mail 1, first and last name, job title,
// company, business address, phone, fax and web page; a distribution list ("IPM.DistList") is a
// "DistListItem" that the import passes over, any other item keeps its message class.
class PstStore : public MailNamespace
{
public:
    static constexpr int MaxDepth = 64;
    static constexpr const char* IdPrefix = "pst:";

    // The file at path through libpff.
    static Result<std::unique_ptr<PstStore>> open(const QString& path);
    // A file already open; path names it in identifiers and messages.
    static Result<std::unique_ptr<PstStore>> read(const QString& path, std::unique_ptr<PstFile> file);

    std::vector<MailFolder> stores() const override;
    // The contacts folder is the first contact folder below the top folder; a data file has no
    // inbox or outbox that this store offers.
    std::optional<MailFolder> GetDefaultFolder(int which) const override;
    std::optional<MailFolder> GetFolderFromID(const QString& entryId) const override;
    Result<std::vector<MailContactItem>> items(const QString& entryId) const override;

private:
    PstStore(QString path, std::unique_ptr<PstFile> file);
    Status walk();

    QString m_path;
    std::unique_ptr<PstFile> m_file;
    MailFolder m_store;
    // Each folder without its sub-folders, with its path in the file.
    QHash<QString, std::pair<MailFolder, PstFile::Path>> m_folders;
};
