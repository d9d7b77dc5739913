#include "TestSupport.h"
#include "contacts/PstStore.h"
#include "core/SettingsKeys.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// A data file held in memory: its folders by path (child indices from the root, which is {}),
// each with its messages; a broken one fails when asked for its sub-folders or its messages.
class FakeFile : public PstFile
{
public:
    struct Folder
    {
        PstFolderEntry entry;
        std::vector<PstMessage> messages;
        bool brokenTree = false;
        bool brokenMessages = false;
    };
    std::map<Path, Folder> folders{{Path(), Folder()}};
    QString name;
    quint32 top = 0;

    // Adds a folder after the last sub-folder of parent; gives its path.
    Path add(const Path& parent, quint32 id, const QString& folderName, const QString& containerClass)
    {
        Path path = parent;
        path.push_back(0);
        while (folders.contains(path)) {
            ++path.back();
        }
        folders[path].entry = {id, folderName, containerClass};
        return path;
    }

    QString displayName() const override { return name; }
    quint32 topFolderIdentifier() const override { return top; }

    Result<std::vector<PstFolderEntry>> subFolders(const Path& path) const override
    {
        if (!folders.contains(path) || folders.at(path).brokenTree) {
            return Result<std::vector<PstFolderEntry>>::failure(1, u"unreadable folder"_s);
        }
        std::vector<PstFolderEntry> entries;
        Path child = path;
        for (child.push_back(0); folders.contains(child); ++child.back()) {
            entries.push_back(folders.at(child).entry);
        }
        return entries;
    }

    // Like the file, gives only the values of the tags asked for.
    Result<std::vector<PstMessage>> messages(const Path& path, const std::vector<quint32>& tags) const override
    {
        if (!folders.contains(path) || folders.at(path).brokenMessages) {
            return Result<std::vector<PstMessage>>::failure(1, u"unreadable messages"_s);
        }
        std::vector<PstMessage> messages = folders.at(path).messages;
        for (PstMessage& message : messages) {
            std::erase_if(message.values, [&tags](const auto& value) {
                return std::find(tags.begin(), tags.end(), value.first) == tags.end();
            });
        }
        return messages;
    }
};

PstMessage message(quint32 id, const QString& messageClass, const std::vector<quint32>& tags, const QStringList& values)
{
    PstMessage made{id, messageClass, {}};
    for (size_t k = 0; k < tags.size(); ++k) {
        made.values.insert({tags[k], values.at(static_cast<qsizetype>(k))});
    }
    return made;
}

// The usual layout: the root holds the top of the personal folders and a search folder beside it.
std::unique_ptr<FakeFile> personalFolders()
{
    auto file = std::make_unique<FakeFile>();
    file->name = u"Personal Folders"_s;
    file->top = 0x8022;
    const PstFile::Path top = file->add({}, 0x8022, u"Top of Personal Folders"_s, {});
    file->add({}, 0x9042, u"Search Root"_s, u"IPF.Contact"_s);
    file->add(file->add(top, 0x8042, u"Inbox"_s, u"IPF.Note"_s), 0x8142, u"Contacts in mail"_s, u"IPF.Contact"_s);
    const PstFile::Path contacts = file->add(top, 0x8062, u"Contacts"_s, u"IPF.Contact"_s);
    file->add(contacts, 0x8102, u"Clients"_s, u"IPF.Contact.Custom"_s);
    file->add(contacts, 0x8122, u"Reminders"_s, u"IPF.StickyNote"_s);
    file->add(top, 0x8082, u"Calendar"_s, u"IPF.Appointment"_s);
    file->add(top, 0x80A2, u"Tasks"_s, u"ipf.task"_s);
    file->add(top, 0x80C2, u"Journal"_s, u"IPF.Journal"_s);
    // Ann has every field, with a named work street that her plain one wins over; Bo's work
    // address is only in the named properties, and his e-mail 1 only a display name.
    file->folders[contacts].messages = {
        message(0x200024, u"IPM.Contact"_s,
                {0x8083, 0x3A06, 0x3A11, 0x3A17, 0x3A16, 0x3A29, 0x8045, 0x3A27, 0x3A28, 0x3A2A, 0x3A26, 0x3A08, 0x3A24,
                 0x3A51},
                {u"ann@example.com"_s, u"Ann"_s, u"Lee"_s, u"Buyer"_s, u"Acme"_s, u"1 Main St"_s, u"2 Side St"_s,
                 u"Springfield"_s, u"IL"_s, u"62701"_s, u"USA"_s, u"555-0100"_s, u"555-0101"_s, u"acme.example"_s}),
        message(0x200044, u"IPM.DistList"_s, {0x8083}, {u"team@example.com"_s}),
        message(0x200064, u"IPM.Contact.Custom"_s,
                {0x3A06, 0x3A29, 0x8045, 0x8046, 0x8047, 0x8048, 0x8049, 0x802B, 0x8080},
                {u"Bo"_s, QString(), u"9 Dock Rd"_s, u"Hull"_s, u"Yorks"_s, u"HU1"_s, u"UK"_s, u"bo.example"_s,
                 u"Bo (bo@example.com)"_s}),
        message(0x200084, u"IPM.Note"_s, {0x3A06}, {u"Not a contact"_s}),
    };
    return file;
}

QStringList namesOf(const std::vector<MailFolder>& folders)
{
    QStringList names;
    for (const MailFolder& folder : folders) {
        names << u"%1:%2"_s.arg(folder.name).arg(folder.defaultItemType);
    }
    return names;
}

} // namespace

class PstStoreTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    // The store read from the fake file as archive.pst, or none and the reason in `error`.
    std::unique_ptr<PstStore> store(std::unique_ptr<FakeFile> file, QString* error = nullptr) const
    {
        Result<std::unique_ptr<PstStore>> read =
            PstStore::read(m_dir.filePath(u"mail/../archive.pst"_s), std::move(file));
        if (!read.ok() && error != nullptr) {
            *error = read.error().message;
        }
        return read.ok() ? std::move(read.value()) : nullptr;
    }

    // The identifier of the folder with the given number in archive.pst; none for the store.
    QString id(std::optional<quint32> folder = {}) const
    {
        const QString store = u"pst:"_s + m_dir.filePath(u"archive.pst"_s);
        return folder ? store + u"#"_s + QString::number(*folder) : store;
    }

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void personalFolders_walkedBelowTheTop_kindsByClass_contactsMapped_andJoinedWithOthers()
    {
        const std::unique_ptr<PstStore> pst = store(personalFolders());
        QVERIFY(pst);
        const std::vector<MailFolder> stores = pst->stores();
        QCOMPARE(stores.size(), size_t(1));
        const MailFolder& top = stores.front();
        QCOMPARE(top.entryId, id());
        QCOMPARE(top.name, u"Personal Folders"_s);
        // The search folder beside the top folder is not shown, whatever its class.
        QCOMPARE(namesOf(top.folders),
                 QStringList({u"Inbox:0"_s, u"Contacts:2"_s, u"Calendar:1"_s, u"Tasks:3"_s, u"Journal:4"_s}));
        const MailFolder& contacts = top.folders[1];
        QCOMPARE(contacts.entryId, id(0x8062));
        QCOMPARE(contacts.parentName, u"Personal Folders"_s);
        QCOMPARE(namesOf(contacts.folders), QStringList({u"Clients:2"_s, u"Reminders:5"_s}));
        // Every identifier is found again; others are not.
        QCOMPARE(pst->GetFolderFromID(id(0x8102))->name, u"Clients"_s);
        QCOMPARE(pst->GetFolderFromID(id())->defaultItemType, MailItemType::Mail);
        for (const QString& other : {id(0x9042), u"pst:/elsewhere.pst#"_s + QString::number(0x8062)}) {
            QVERIFY2(!pst->GetFolderFromID(other), qPrintable(other));
        }
        // The default contacts folder is the first contact folder below the top; there is no inbox.
        QCOMPARE(pst->GetDefaultFolder(DefaultFolder::Contacts)->entryId, contacts.entryId);
        QVERIFY(!pst->GetDefaultFolder(DefaultFolder::Inbox));

        const Result<std::vector<MailContactItem>> items = pst->items(id(0x8062));
        QVERIFY2(items.ok(), qPrintable(items.error().message));
        QCOMPARE(items->size(), size_t(4));
        const MailContactItem& ann = items->at(0);
        QCOMPARE(ann.className, u"ContactItem"_s);
        QCOMPARE(ann.entryId, id(0x8062) + u"#"_s + QString::number(0x200024));
        QCOMPARE(QStringList(ann.values.begin(), ann.values.end()),
                 QStringList({u"ann@example.com"_s, u"Ann"_s, u"Lee"_s, u"Buyer"_s, u"Acme"_s, u"1 Main St"_s,
                              u"Springfield"_s, u"IL"_s, u"62701"_s, u"USA"_s, u"555-0100"_s, u"555-0101"_s,
                              u"acme.example"_s}));
        // A form below IPM.Contact is a contact; an empty business street falls to the named one;
        // e-mail 1 is its address only, never its display name.
        const MailContactItem& bo = items->at(2);
        QCOMPARE(QStringList(bo.values.begin(), bo.values.end()),
                 QStringList({QString(), u"Bo"_s, QString(), QString(), QString(), u"9 Dock Rd"_s, u"Hull"_s,
                              u"Yorks"_s, u"HU1"_s, u"UK"_s, QString(), QString(), u"bo.example"_s}));
        const std::optional<Contact> row = MailClient::contactRow(bo);
        QVERIFY(row && row->key == bo.entryId && row->cells[5] == u"9 Dock Rd"_s);
        // The list and the note are kept apart and give no contact.
        QCOMPARE(items->at(1).className, u"DistListItem"_s);
        QCOMPARE(items->at(3).className, u"IPM.Note"_s);
        QVERIFY(!MailClient::contactRow(items->at(1)) && !MailClient::contactRow(items->at(3)));
        // Folders that are no folder of this file, or the store itself, have no items.
        QVERIFY(!pst->items(id()).ok());
        QVERIFY(!pst->items(id(0x8062) + u"0"_s).ok());
        QVERIFY(pst->items(id(0x8102))->empty());

        // Joined behind a store without a contact folder: identifiers go to their own store, and
        // the default contacts folder is the second store's.
        auto first = std::make_unique<FakeFile>();
        first->add({}, 7, u"Contacts"_s, u"IPF.Note"_s);
        first->name = u"First"_s;
        std::vector<std::unique_ptr<MailNamespace>> parts;
        parts.push_back(PstStore::read(m_dir.filePath(u"first.pst"_s), std::move(first)).value());
        parts.push_back(store(personalFolders()));
        const std::unique_ptr<MailNamespace> client = MailClient::joined(std::move(parts));
        QCOMPARE(namesOf(client->stores()), QStringList({u"First:0"_s, u"Personal Folders:0"_s}));
        QCOMPARE(client->GetDefaultFolder(DefaultFolder::Contacts)->entryId, id(0x8062));
        QCOMPARE(client->items(id(0x8062))->size(), size_t(4));
    }

    void unusualFiles_noTopFolder_tooDeep_orDamaged_endCleanly()
    {
        auto file = std::make_unique<FakeFile>();
        file->top = 0x7777; // named but absent: the root stands in for it
        PstFile::Path deepest;
        for (quint32 level = 1; level <= 100; ++level) {
            deepest = file->add(deepest, level, u"level %1"_s.arg(level), u"IPF.Contact"_s);
        }
        file->add({}, 2000, u"Sibling"_s, u"IPF.Contact"_s);
        const std::unique_ptr<PstStore> pst = store(std::move(file));
        QVERIFY(pst);
        const MailFolder top = pst->stores().front();
        QCOMPARE(top.name, u"archive"_s); // no display name: the file's name
        QCOMPARE(namesOf(top.folders), QStringList({u"level 1:2"_s, u"Sibling:2"_s}));
        QVERIFY(pst->GetFolderFromID(id(PstStore::MaxDepth)));
        QVERIFY(pst->GetFolderFromID(id(2000)));
        QVERIFY(!pst->GetFolderFromID(id(PstStore::MaxDepth + 1)));

        // A folder whose sub-folders, or messages, cannot be read: a message names the file and folder.
        auto unreadableTree = personalFolders();
        unreadableTree->folders[{0, 2}].brokenTree = true; // Calendar
        QString tree;
        QVERIFY(!store(std::move(unreadableTree), &tree));
        QVERIFY2(tree.contains(m_dir.filePath(u"archive.pst"_s)) && tree.contains(u"unreadable folder"_s),
                 qPrintable(tree));

        auto unreadableItems = personalFolders();
        unreadableItems->folders[{0, 1, 0}].brokenMessages = true; // Clients, a leaf
        const std::unique_ptr<PstStore> damaged = store(std::move(unreadableItems));
        QVERIFY(damaged);
        const QString items = damaged->items(id(0x8102)).error().message;
        QVERIFY2(items.contains(u"Clients"_s) && items.contains(u"unreadable messages"_s), qPrintable(items));
    }

    // The real reader refuses what is no Outlook data file with the file's name and a reason, and
    // such a file is never added as a store.
    void libpff_refusesFilesThatAreNoDataFile()
    {
        // Text, a signature alone, and a Unicode header whose checksum does not match.
        const QByteArray files[] = {"Name,E-mail\nAnn,ann@example.com\n", "!BDN",
                                    QByteArray("!BDN\0\0\0\0SM\x17\0\x13\0\x01\x01\0\0\0\0", 20) +
                                        QByteArray(8000, '\0')};
        for (const QByteArray& bytes : files) {
            const QString path = m_dir.filePath(u"contacts %1.pst"_s.arg(qHash(bytes)));
            QVERIFY(TestSupport::writeFile(path, bytes));
            const Result<std::unique_ptr<PstStore>> opened = PstStore::open(path);
            QVERIFY2(!opened.ok(), qPrintable(path));
            const QString message = opened.error().message;
            QVERIFY2(message.startsWith(path + u" cannot be opened as an Outlook data file: "_s) &&
                         message.size() > path.size() + 45 && !message.contains(u"libpff"_s),
                     qPrintable(message));
            QCOMPARE(MailClient::addDataFile(path).error().message, message);
        }
        QVERIFY(MailClient::dataFiles().isEmpty());
        QVERIFY(SettingsStore::instance().value(Keys::ContactsDataFiles).isEmpty());
    }
};

QTEST_GUILESS_MAIN(PstStoreTest)
#include "tst_pst_store.moc"
