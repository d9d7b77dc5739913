#include "ThunderbirdBooks.h"
#include "WabWriter.h"
#include "WizardFixture.h"
#include "core/ListSeparator.h"
#include "wizard/ui/FrmPick.h"

#include <QTreeWidget>
using ThunderbirdBooks::Card;

namespace {

QByteArray book(const QStringList& emails)
{
    WabWriter writer;
    for (const QString& email : emails) {
        writer.addRecord({WabWriter::text(0x3001, u"Ann Lee"_s), WabWriter::text(0x3A11, u"Lee"_s),
                          WabWriter::text(0x3003, email), WabWriter::text(0x3A16, u"Acme"_s)});
    }
    return writer.bytes();
}

MailFolder folder(const QString& name, int type, const QString& parent, std::vector<MailFolder> folders = {})
{
    return {u"id-"_s + name, name, type, parent, std::move(folders)};
}

// A mail client with mail folders beside its contact folders, as a store of a mail program has.
class FakeNamespace : public MailNamespace
{
public:
    std::vector<MailFolder> m_stores;

    std::vector<MailFolder> stores() const override { return m_stores; }
    std::optional<MailFolder> GetDefaultFolder(int which) const override
    {
        const QString name = which == DefaultFolder::Contacts ? u"Contacts"_s
                             : which == DefaultFolder::Inbox  ? u"Inbox"_s
                                                              : QString();
        return name.isEmpty() || m_stores.empty() ? std::nullopt : std::optional(folder(name, 0, {}));
    }
    std::optional<MailFolder> GetFolderFromID(const QString& entryId) const override { return find(m_stores, entryId); }
    Result<std::vector<MailContactItem>> items(const QString&) const override { return std::vector<MailContactItem>(); }

private:
    static std::optional<MailFolder> find(const std::vector<MailFolder>& folders, const QString& entryId)
    {
        for (const MailFolder& folder : folders) {
            if (folder.entryId == entryId) {
                return folder;
            }
            if (auto inner = find(folder.folders, entryId)) {
                return inner;
            }
        }
        return std::nullopt;
    }
};

Card card(const QString& uid, const QString& email, const QString& firstName)
{
    return {uid, {{u"PrimaryEmail"_s, email}, {u"FirstName"_s, firstName}, {u"LastName"_s, u"Lee"_s}}};
}

QTreeWidgetItem* nodeNamed(QTreeWidget* tree, const QString& name)
{
    const QList<QTreeWidgetItem*> found = tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? nullptr : found.constFirst();
}

// Chooses a folder in the dialog by its name and presses OK.
void pickFolder(const QString& name)
{
    FrmPick::answerNextWith([name](FrmPick& pick) {
        pick.trvFolders->setCurrentItem(nodeNamed(pick.trvFolders, name));
        pick.cmdOk->click();
    });
}

} // namespace

// The address-book sources of the merge wizard: .wab and .vcf files, and the mail client's books.
class WizardAddressBooksTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    void openOnAddressBook()
    {
        openWizard();
        source()->LstDataSrc->setCurrentRow(0);
    }

    void browseBook(const QString& path) { browse(0, source()->CmdBrowseWab, path); }

    void openOnMailClient()
    {
        openWizard();
        source()->LstDataSrc->setCurrentRow(1);
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        const QDir profile(QDir(TestSupport::homeFolder()).filePath(u".thunderbird/x1.default"_s));
        QVERIFY(TestSupport::writeFile(QDir(TestSupport::homeFolder()).filePath(u".thunderbird/profiles.ini"_s),
                                       "[Profile0]\nName=default\nIsRelative=1\nPath=x1.default\nDefault=1\n"));
        QVERIFY(TestSupport::writeFile(profile.filePath(u"prefs.js"_s),
                                       "user_pref(\"ldap_2.servers.c.description\", \"Clients\");\n"
                                       "user_pref(\"ldap_2.servers.c.filename\", \"clients.sqlite\");\n"
                                       "user_pref(\"ldap_2.servers.e.description\", \"Empty\");\n"
                                       "user_pref(\"ldap_2.servers.e.filename\", \"empty.sqlite\");\n"));
        QVERIFY(ThunderbirdBooks::writeBook(profile.filePath(u"abook.sqlite"_s),
                                            {card(u"a"_s, u"ann@example.com"_s, u"Ann"_s), card(u"b"_s, {}, u"Bo"_s)},
                                            {u"Friends"_s}));
        QVERIFY(ThunderbirdBooks::writeBook(profile.filePath(u"clients.sqlite"_s),
                                            {card(u"c"_s, u"cy@example.com"_s, u"Cy"_s)}));
        QVERIFY(ThunderbirdBooks::writeBook(profile.filePath(u"empty.sqlite"_s), {}));
    }

    void init()
    {
        resetCase();
        MailClient::setAttachOverride({});
    }

    void cleanup()
    {
        closeWizard();
        MailClient::setAttachOverride({});
    }

    void wabAndVcardFiles_fromTheFirstPageToTheContactPage()
    {
        TestSupport::MessageRecorder messages;
        const QString path = m_dir.filePath(u"friends.wab"_s);
        QVERIFY(TestSupport::writeFile(path, book({u"ann@example.com"_s, QString()})));
        openOnAddressBook();
        browseBook(path);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        QCOMPARE(column(0), (QStringList{u"ann@example.com"_s, QString()}));
        QCOMPARE(m_wizard->contactTable().cell(2, 1), u"Ann"_s);
        QVERIFY(m_wizard->contactTable().at(2).checked); // no e-mail address, checked like any other
        QCOMPARE(m_wizard->contactsPage()->LsvSelection->columnWidth(13), 0);
        QVERIFY(messages.messages().isEmpty());

        // A vCard file is an address book too, whatever the case of its ending.
        const QString cards = m_dir.filePath(u"cards.VCF"_s);
        QVERIFY(TestSupport::writeFile(cards, "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Bo Berg\r\nN:Berg;Bo;;;\r\n"
                                              "EMAIL;TYPE=HOME:bo@example.com\r\nEND:VCARD\r\n"));
        m_wizard->CmdBack_Click();
        browseBook(cards);
        m_wizard->CmdNext_Click();
        QCOMPARE(column(0), QStringList{u"bo@example.com"_s});
    }

    void userMistakesAndDamagedBooks_eachHaveTheirMessage()
    {
        const QString list = m_dir.filePath(u"list.csv"_s);
        QVERIFY(TestSupport::writeFile(list, "Name,Email\r\n"));
        const QString damaged = m_dir.filePath(u"damaged.wab"_s);
        QVERIFY(TestSupport::writeFile(damaged, book({u"a@example.com"_s}).left(150)));
        const struct
        {
            QString typed;
            QString message;
        } rows[] = {
            {QString(), u"Choose a Valid file!"_s},
            {list, u"Choose a Valid file!"_s}, // a typed path is checked for its extension too
            {m_dir.filePath(u"missing.wab"_s), u"File Doesn't Exists"_s},
            {damaged,
             u"The address book %1 is damaged: record 1 at offset 128 lies past the end of the file"_s.arg(damaged)},
        };
        TestSupport::MessageRecorder messages;
        openOnAddressBook();
        for (const auto& row : rows) {
            source()->txtWabfile->setText(row.typed);
            messages.clear();
            m_wizard->CmdNext_Click();
            QCOMPARE(messages.texts(), QStringList{row.message});
            QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
            QVERIFY(!m_wizard->progress()->isVisible());
        }
        messages.clear();
        browseBook(list);
        QCOMPARE(messages.texts(), QStringList{u"Not a Legal Source"_s});
        QCOMPARE(source()->txtWabfile->text(), damaged);

        // A book without live contacts: the question, then the empty contact page.
        const QString none = m_dir.filePath(u"none.wab"_s);
        QVERIFY(TestSupport::writeFile(none, WabWriter().bytes()));
        source()->txtWabfile->setText(none);
        messages.clear();
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.texts(), QStringList{u"Contacts are not Available"_s});
        QCOMPARE(messages.messages().constFirst().buttons, MessageButtons::OkCancel);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        QCOMPARE(m_wizard->contactTable().count(), 0);
    }
    void defaultBook_fromTheFirstPageToTheContactPage_readOnceUntilAnotherFolder()
    {
        TestSupport::MessageRecorder messages;
        openOnMailClient();
        QCOMPARE(source()->txtContact->text(), u"Personal Address Book"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(column(1), (QStringList{u"Ann"_s, u"Bo"_s})); // the mailing list is passed over
        QCOMPARE(m_wizard->contactsPage()->LsvSelection->columnWidth(15), 0);
        QVERIFY(messages.messages().isEmpty());

        // Another folder from the dialog: the mark holds the old name, so Next reads it.
        m_wizard->CmdBack_Click();
        pickFolder(u"Clients"_s);
        source()->CmdBrowse->click();
        QCOMPARE(source()->txtContact->text(), u"Clients"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(column(1), QStringList{u"Cy"_s});

        // Closing the wizard remembers the folder; a new wizard starts with it.
        m_wizard->close();
        QCOMPARE(SettingsStore::instance().GetSetting(u"Contacts"_s, u"FolderName"_s), u"Clients"_s);
        openOnMailClient();
        QCOMPARE(source()->txtContact->text(), u"Clients"_s);
    }

    void folderMistakes_andEmptyFolders_haveTheirMessages()
    {
        TestSupport::MessageRecorder messages;
        openOnMailClient();
        QLineEdit* box = source()->txtContact;
        box->setText(u"Personal Address Book (old)"_s);
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.texts(), QStringList{u"Please Choose a Contact Folder"_s});
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));

        // The store itself is no contact folder: the dialog says so and stays; Cancel changes
        // nothing. A data file kept in the settings that can no longer be read is left out.
        const QString notPst = QDir(TestSupport::homeFolder()).filePath(u"contacts.pst"_s);
        QVERIFY(TestSupport::writeFile(notPst, "Name,E-mail\nAnn,ann@example.com\n"));
        SettingsStore::instance().setValue(Keys::ContactsDataFiles, notPst);
        messages.clear();
        FrmPick::answerNextWith([&messages](FrmPick& pick) {
            QCOMPARE(pick.trvFolders->topLevelItemCount(), 1);
            pick.trvFolders->setCurrentItem(nodeNamed(pick.trvFolders, u"default"_s));
            pick.cmdOk->click();
            QCOMPARE(messages.texts(), QStringList{u"Please Select a Contact Folder"_s});
            pick.CmdCancel->click();
        });
        source()->CmdBrowse->click();
        QCOMPARE(box->text(), u"Personal Address Book (old)"_s);

        messages.clear();
        pickFolder(u"Empty"_s);
        source()->CmdBrowse->click();
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.texts(), QStringList{u"No Items Available in Empty Folder"_s});
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
    }

    void dialogTree_offersContactFoldersOnly_selectsAndPicturesByName()
    {
        // No mail client: the panel is empty, which equals the empty mark of the folder last
        // read, so Next reads nothing and shows the contact page as it is.
        auto client = std::make_shared<FakeNamespace>();
        MailClient::setAttachOverride([client] { return std::make_unique<FakeNamespace>(*client); });
        TestSupport::MessageRecorder messages;
        openOnMailClient();
        QCOMPARE(source()->txtContact->text(), QString());
        m_wizard->CmdNext_Click();
        QVERIFY(messages.messages().isEmpty());
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));

        client->m_stores = {
            folder(u"Mailbox"_s, MailItemType::Mail, {},
                   {folder(u"Inbox"_s, MailItemType::Mail, u"Mailbox"_s,
                           {folder(u"Hidden Contacts"_s, MailItemType::Contact, u"Inbox"_s)}),
                    folder(u"Calendar"_s, MailItemType::Appointment, u"Mailbox"_s),
                    folder(u"Contacts"_s, MailItemType::Contact, u"Mailbox"_s,
                           {folder(u"Suppliers"_s, MailItemType::Contact, u"Contacts"_s,
                                   {folder(u"Deep"_s, MailItemType::Contact, u"Suppliers"_s)}),
                            folder(u"Deleted Items"_s, MailItemType::Contact, u"Contacts"_s)})}),
            folder(u"Archive"_s, MailItemType::Mail, {}, {folder(u"Old"_s, MailItemType::Contact, u"Archive"_s)})};
        FrmPick pick;
        pick.LoadTreeSpecific();
        QTreeWidget* tree = pick.trvFolders;
        QCOMPARE(tree->topLevelItemCount(), 2);
        QVERIFY(!nodeNamed(tree, u"Hidden Contacts"_s)); // under a mail folder: never visited
        QVERIFY(!nodeNamed(tree, u"Calendar"_s));
        QTreeWidgetItem* contacts = nodeNamed(tree, u"Contacts"_s);
        QCOMPARE(tree->currentItem(), contacts);
        QVERIFY(contacts->isExpanded());
        QVERIFY(nodeNamed(tree, u"Suppliers"_s)->isExpanded()); // its parent is called like the contacts folder
        QVERIFY(!nodeNamed(tree, u"Deep"_s)->isExpanded());
        QCOMPARE(contacts->data(0, FrmPick::ImageRole), QVariant(3));
        QCOMPARE(nodeNamed(tree, u"Deleted Items"_s)->data(0, FrmPick::ImageRole), QVariant(2));

        tree->setCurrentItem(nodeNamed(tree, u"Deep"_s));
        pick.cmdOk_Click();
        QCOMPARE(pick.PickResult, u"Deep"_s + ListSeparator() + u"id-Deep"_s + ListSeparator() + u"2"_s);
    }
};

QTEST_MAIN(WizardAddressBooksTest)
#include "tst_wizard_address_books.moc"
