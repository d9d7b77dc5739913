#include "TestSupport.h"
#include "ThunderbirdBooks.h"
#include "contacts/ThunderbirdProfiles.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using TestSupport::writeFile;
using ThunderbirdBooks::Card;
using ThunderbirdBooks::writeBook;

namespace {

QStringList names(const std::vector<MailFolder>& folders)
{
    QStringList list;
    for (const MailFolder& folder : folders) {
        list << folder.name;
    }
    return list;
}

QStringList values(const MailContactItem& item)
{
    return QStringList(item.values.begin(), item.values.end());
}

// A card of the older form, its properties given as "Name=value".
Card card(const QString& uid, const QStringList& properties)
{
    Card made{uid, {}};
    for (const QString& property : properties) {
        made.properties.append({property.section(u'=', 0, 0), property.section(u'=', 1)});
    }
    return made;
}

} // namespace

class MailClientContactsTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_home;

    QString home(const QString& path) const { return m_home.filePath(path); }

private slots:
    void initTestCase()
    {
        // Two profiles in the usual folder, the second the one the installation starts with, and
        // one in the older folder; the first profile has a third book and names a missing one.
        QVERIFY(writeFile(home(u".thunderbird/profiles.ini"_s), "[General]\nStartWithLastProfile=1\n\n"
                                                                "[Profile1]\nName=work\nIsRelative=1\n"
                                                                "Path=w0rk.work\nDefault=1\n\n"
                                                                "[Profile0]\nName=default-release\nIsRelative=1\n"
                                                                "Path=abcd.default-release\n\n"
                                                                "[Profile2]\nName=gone\nIsRelative=1\nPath=nowhere\n\n"
                                                                "[Install4F96D1932A9F858E]\n"
                                                                "Default=abcd.default-release\nLocked=1\n"));
        QVERIFY(writeFile(home(u".thunderbird/w0rk.work/prefs.js"_s),
                          "// Mozilla User Preferences\n"
                          "user_pref(\"ldap_2.servers.clients.description\", \"Clients \\\"A\\u00e9\\\"\");\n"
                          "user_pref(\"ldap_2.servers.clients.filename\", \"clients.sqlite\");\n"
                          "user_pref(\"ldap_2.servers.lost.filename\", \"lost.sqlite\");\n"
                          "user_pref(\"ldap_2.servers.pab.description\", \"Mine\");\n"));
        QVERIFY(writeBook(home(u".thunderbird/w0rk.work/abook.sqlite"_s), {}));
        QVERIFY(writeBook(home(u".thunderbird/w0rk.work/history.sqlite"_s), {card(u"1"_s, {u"FirstName=Old"_s})}));
        QVERIFY(writeFile(home(u".thunderbird/w0rk.work/clients.sqlite"_s), QByteArray(4096, 'x'))); // no database
        const Card ann = card(u"c1"_s, {u"PrimaryEmail=ann@example.com"_s, u"FirstName=Ann"_s, u"LastName=Lee"_s,
                                        u"JobTitle=Buyer"_s, u"Company=Acme"_s, u"WorkAddress=1 Quay Road"_s,
                                        u"WorkAddress2=Unit 4"_s, u"WorkCity=Cork"_s, u"WorkState=Munster"_s,
                                        u"WorkZipCode=T12"_s, u"WorkCountry=Ireland"_s, u"WorkPhone=+353 1"_s,
                                        u"FaxNumber=+353 2"_s, u"WebPage1=https://acme.example"_s, u"HomeCity=Cobh"_s});
        const Card bo{u"c2"_s,
                      {{u"PrimaryEmail"_s, u"bo@example.com"_s},
                       {u"_vCard"_s, u"BEGIN:VCARD\r\nVERSION:4.0\r\nFN:Bo Berg\r\nN:Berg;Bo;;;\r\n"
                                     u"EMAIL:bo.private@example.com\r\nEMAIL;PREF=1:bo@example.com\r\n"
                                     u"TITLE:Skipper\r\nORG:Berg AB;Fleet\r\n"
                                     u"ADR;TYPE=home:;;Hemv\u00e4gen 2;Lund;;22100;Sweden\r\n"
                                     u"ADR;TYPE=work:;;Kajen 1;Malm\u00f6;Sk\u00e5ne;21100;Sweden\r\n"
                                     u"TEL;TYPE=work;VALUE=TEXT:+46 40 1\r\nTEL;TYPE=fax:+46 40 2\r\n"
                                     u"URL;TYPE=work:https://berg.example\r\nEND:VCARD\r\n"_s}}};
        const Card cy = card(u"c3"_s, {u"DisplayName=No Address"_s, u"FirstName=Cy"_s});
        QVERIFY(writeBook(home(u".thunderbird/abcd.default-release/abook.sqlite"_s), {ann, bo, cy}, {u"Team"_s}));
        QVERIFY(
            writeFile(home(u".mozilla-thunderbird/profiles.ini"_s),
                      "[Profile0]\nName=old\nIsRelative=0\nPath=" + home(u"elsewhere/old.profile"_s).toUtf8() + "\n"));
        QVERIFY(writeBook(home(u"elsewhere/old.profile/abook.sqlite"_s), {}));
    }

    void profiles_areStores_theirBooksContactFolders_andABookThatIsNoDatabaseSaysSo()
    {
        const ThunderbirdProfiles client(m_home.path());
        const std::vector<MailFolder> stores = client.stores();
        QCOMPARE(names(stores), (QStringList{u"work"_s, u"default-release"_s, u"old"_s}));
        QCOMPARE(names(stores[0].folders),
                 (QStringList{u"Mine"_s, u"Clients \"A\u00e9\""_s, u"Collected Addresses"_s}));
        QCOMPARE(names(stores[2].folders), QStringList{u"Personal Address Book"_s});
        for (const MailFolder& store : stores) {
            QCOMPARE(store.defaultItemType, MailItemType::Mail);
            for (const MailFolder& book : store.folders) {
                QCOMPARE(book.defaultItemType, MailItemType::Contact);
                QCOMPARE(book.parentName, store.name);
                QCOMPARE(client.GetFolderFromID(book.entryId)->name, book.name);
            }
        }
        // Identifiers stay the same from one reading of the profiles to the next.
        QCOMPARE(ThunderbirdProfiles(m_home.path()).stores()[0].folders[1].entryId, stores[0].folders[1].entryId);
        QVERIFY(!client.GetFolderFromID(u"thunderbird:/nowhere/abook.sqlite"_s));

        // The default contact folder is the personal book of the profile the installation starts.
        QCOMPARE(client.GetDefaultFolder(DefaultFolder::Contacts)->entryId, stores[1].folders[0].entryId);
        QVERIFY(!client.GetDefaultFolder(DefaultFolder::Inbox));
        const ThunderbirdProfiles none(home(u"elsewhere"_s));
        QVERIFY(none.stores().empty() && !none.GetDefaultFolder(DefaultFolder::Contacts));

        const Result<std::vector<MailContactItem>> clients = client.items(stores[0].folders[1].entryId);
        const QString path = home(u".thunderbird/w0rk.work/clients.sqlite"_s);
        QVERIFY2(!clients.ok() &&
                     clients.error().message.startsWith(u"The address book %1 cannot be read: "_s.arg(path)),
                 qPrintable(clients.ok() ? QString() : clients.error().message));
        QVERIFY(!client.items(stores[0].entryId).ok()); // a store holds no cards
    }

    void cards_fromLegacyPropertiesOrTheirVCard_listsAsOtherItems_bookUntouched()
    {
        const ThunderbirdProfiles client(m_home.path());
        const QString path = home(u".thunderbird/abcd.default-release/abook.sqlite"_s);
        const QByteArray before = TestSupport::readFile(path);
        const Result<std::vector<MailContactItem>> items = client.items(client.stores()[1].folders[0].entryId);
        QVERIFY2(items.ok(), qPrintable(items.error().message));
        QCOMPARE(items->size(), size_t(4));
        QCOMPARE(values(items->at(0)),
                 (QStringList{u"ann@example.com"_s, u"Ann"_s, u"Lee"_s, u"Buyer"_s, u"Acme"_s, u"1 Quay Road\nUnit 4"_s,
                              u"Cork"_s, u"Munster"_s, u"T12"_s, u"Ireland"_s, u"+353 1"_s, u"+353 2"_s,
                              u"https://acme.example"_s}));
        QCOMPARE(values(items->at(1)),
                 (QStringList{u"bo@example.com"_s, u"Bo"_s, u"Berg"_s, u"Skipper"_s, u"Berg AB"_s, u"Kajen 1"_s,
                              u"Malm\u00f6"_s, u"Sk\u00e5ne"_s, u"21100"_s, u"Sweden"_s, u"+46 40 1"_s, u"+46 40 2"_s,
                              u"https://berg.example"_s}));
        QCOMPARE(items->at(2).values[0], QString());
        QCOMPARE(items->at(2).values[1], u"Cy"_s);
        QCOMPARE(items->at(0).className, u"ContactItem"_s);
        QCOMPARE(items->at(3).className, u"DistListItem"_s);
        QVERIFY(items->at(0).entryId != items->at(1).entryId);
        QCOMPARE(TestSupport::readFile(path), before);
        QVERIFY(!QFile::exists(path + u"-wal"_s));
    }

    void aBookThatThunderbirdHasOpen_isReadWithItsNewestCards()
    {
        const ThunderbirdProfiles profiles(m_home.path());
        const QString history = profiles.stores()[0].folders[2].entryId;
        const QString connection = u"thunderbird-at-work"_s;
        {
            // The client's own connection adds a card to its log and keeps it there.
            QSqlDatabase client = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
            client.setDatabaseName(home(u".thunderbird/w0rk.work/history.sqlite"_s));
            QVERIFY(client.open());
            QSqlQuery query(client);
            QVERIFY(query.exec(u"PRAGMA wal_autocheckpoint=0"_s));
            QVERIFY(query.exec(u"INSERT INTO properties VALUES ('2', 'FirstName', 'New')"_s));
            QVERIFY(QFile::exists(client.databaseName() + u"-wal"_s));
            const Result<std::vector<MailContactItem>> items = profiles.items(history);
            QVERIFY2(items.ok(), qPrintable(items.error().message));
            QCOMPARE(items->size(), size_t(2));
            QCOMPARE(items->at(1).values[1], u"New"_s);
        }
        QSqlDatabase::removeDatabase(connection);
    }
};

QTEST_GUILESS_MAIN(MailClientContactsTest)
#include "tst_mail_client_contacts.moc"
