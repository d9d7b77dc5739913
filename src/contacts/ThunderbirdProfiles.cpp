#include "ThunderbirdProfiles.h"

#include "VCard.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>

#include <atomic>

using namespace Qt::StringLiterals;

namespace {

const QString IdPrefix = u"thunderbird:"_s;

// The sections of an INI text, each a list of its key=value pairs in order.
using IniSections = std::vector<std::pair<QString, QHash<QString, QString>>>;

IniSections readIni(const QString& path)
{
    IniSections sections;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return sections;
    }
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QRegularExpression(u"\r\n|\r|\n"_s));
    for (const QString& raw : lines) {
        const QString line = raw.trimmed();
        if (line.startsWith(u'[') && line.endsWith(u']')) {
            sections.emplace_back(line.mid(1, line.size() - 2), QHash<QString, QString>());
        } else if (const qsizetype equals = line.indexOf(u'='); equals > 0 && !sections.empty()) {
            sections.back().second.insert(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
        }
    }
    return sections;
}

// A JavaScript string literal of prefs.js: "a \"b\" \u00e9" gives a "b" é. A number stays as written.
QString prefValue(const QString& literal)
{
    if (!literal.startsWith(u'"') || !literal.endsWith(u'"') || literal.size() < 2) {
        return literal;
    }
    QString text;
    for (qsizetype i = 1; i + 1 < literal.size(); ++i) {
        const QChar c = literal.at(i);
        if (c != u'\\' || i + 2 >= literal.size()) {
            text += c;
            continue;
        }
        const QChar next = literal.at(++i);
        bool ok = false;
        if (next == u'u' && i + 5 < literal.size()) {
            const ushort code = literal.mid(i + 1, 4).toUShort(&ok, 16);
            if (ok) {
                text += QChar(code);
                i += 4;
                continue;
            }
        }
        text += next == u'n' ? u'\n' : next;
    }
    return text;
}

struct BookPrefs
{
    QString key;
    QString fileName;
    QString description;
};

// The address books that prefs.js declares, with the two that every profile has: the personal
// address book first, the collected addresses last.
std::vector<BookPrefs> bookPrefs(const QString& profileFolder)
{
    std::vector<BookPrefs> books = {{u"pab"_s, u"abook.sqlite"_s, u"Personal Address Book"_s}};
    BookPrefs history{u"history"_s, u"history.sqlite"_s, u"Collected Addresses"_s};
    QFile prefs(QDir(profileFolder).filePath(u"prefs.js"_s));
    if (prefs.open(QIODevice::ReadOnly)) {
        static const QRegularExpression line(
            uR"re(^\s*user_pref\(\s*"ldap_2\.servers\.([^".]+)\.(filename|description)"\s*,\s*(.*?)\s*\)\s*;)re"_s,
            QRegularExpression::MultilineOption);
        const QString text = QString::fromUtf8(prefs.readAll());
        for (auto match = line.globalMatch(text); match.hasNext();) {
            const QRegularExpressionMatch found = match.next();
            const QString key = found.captured(1);
            BookPrefs* book = key == history.key ? &history : nullptr;
            for (BookPrefs& known : books) {
                book = known.key == key ? &known : book;
            }
            if (book == nullptr) {
                books.push_back({key, {}, {}});
                book = &books.back();
            }
            (found.captured(2) == u"filename"_s ? book->fileName : book->description) = prefValue(found.captured(3));
        }
    }
    books.push_back(history);
    return books;
}

MailFolder withoutSubFolders(const MailFolder& folder)
{
    MailFolder copy = folder;
    copy.folders.clear();
    return copy;
}

// What a card's values are called among its legacy properties, in the order of the item's values.
const std::array<QString, MailContactItem::ValueCount> LegacyNames = {
    u"PrimaryEmail"_s, u"FirstName"_s, u"LastName"_s,  u"JobTitle"_s,    u"Company"_s,
    u"WorkAddress"_s,  u"WorkCity"_s,  u"WorkState"_s, u"WorkZipCode"_s, u"WorkCountry"_s,
    u"WorkPhone"_s,    u"FaxNumber"_s, u"WebPage1"_s};

std::array<QString, MailContactItem::ValueCount> legacyValues(const QHash<QString, QString>& properties)
{
    std::array<QString, MailContactItem::ValueCount> values;
    for (size_t k = 0; k < values.size(); ++k) {
        values[k] = properties.value(LegacyNames[k]);
    }
    const QString secondLine = properties.value(u"WorkAddress2"_s);
    if (!secondLine.isEmpty()) {
        values[5] += (values[5].isEmpty() ? QString() : u"\n"_s) + secondLine;
    }
    return values;
}

std::array<QString, MailContactItem::ValueCount> vCardValues(const VCard& card, const QString& primaryEmail)
{
    const VCardProperty* email = nullptr;
    for (const VCardProperty& property : card.properties) {
        if (property.name == u"EMAIL"_s && (email == nullptr || (property.pref == u"1"_s && email->pref != u"1"_s))) {
            email = &property;
        }
    }
    const VCardBusinessFields fields(card);
    return {email == nullptr ? primaryEmail : email->text().trimmed(),
            fields.given,
            fields.family,
            fields.title,
            fields.company,
            fields.street,
            fields.city,
            fields.region,
            fields.postalCode,
            fields.country,
            fields.phone,
            fields.fax,
            fields.url};
}

QString connectionName()
{
    static std::atomic<int> counter{0};
    return u"quillbay-address-book-%1"_s.arg(++counter);
}

Result<std::vector<MailContactItem>> readBook(const QString& path, const QString& bookId)
{
    using Failure = Result<std::vector<MailContactItem>>;
    const QString connection = connectionName();
    std::vector<MailContactItem> items;
    QString problem;
    {
        // A book in write-ahead-log mode gets a log and an index file beside it from any reader.
        // While Thunderbird has them open (its log holds the newest cards) they are read with it;
        // otherwise the book is read as a file nobody changes, so that nothing is left behind.
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
        if (QFileInfo::exists(path + u"-wal"_s)) {
            database.setDatabaseName(path);
            database.setConnectOptions(u"QSQLITE_OPEN_READONLY"_s);
        } else {
            database.setDatabaseName(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) + u"?immutable=1"_s);
            database.setConnectOptions(u"QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI"_s);
        }
        QSqlQuery cards(database);
        if (!database.open() || !cards.exec(u"SELECT card, name, value FROM properties"_s)) {
            problem = database.isOpen() ? cards.lastError().text() : database.lastError().text();
        } else {
            // The rows of one card are gathered in the order the cards first appear.
            QHash<QString, size_t> position;
            std::vector<std::pair<QString, QHash<QString, QString>>> properties;
            while (cards.next()) {
                const QString card = cards.value(0).toString();
                auto found = position.constFind(card);
                if (found == position.constEnd()) {
                    found = position.insert(card, properties.size());
                    properties.emplace_back(card, QHash<QString, QString>());
                }
                properties[*found].second.insert(cards.value(1).toString(), cards.value(2).toString());
            }
            for (const auto& [card, values] : properties) {
                MailContactItem item{u"ContactItem"_s, bookId + u'#' + card, {}};
                const QString vCard = values.value(u"_vCard"_s);
                Result<std::vector<VCard>> parsed = VCardFile::parse(vCard.toUtf8(), path);
                item.values =
                    parsed.ok() ? vCardValues(parsed->front(), values.value(u"PrimaryEmail"_s)) : legacyValues(values);
                items.push_back(std::move(item));
            }
            // Books made before mailing lists had a table of their own have none.
            QSqlQuery lists(database);
            if (lists.exec(u"SELECT uid FROM lists"_s)) {
                while (lists.next()) {
                    items.push_back({u"DistListItem"_s, bookId + u'#' + lists.value(0).toString(), {}});
                }
            }
        }
    }
    QSqlDatabase::removeDatabase(connection);
    if (!problem.isEmpty()) {
        return Failure::failure(ErrorCode::CannotRead, u"The address book %1 cannot be read: %2"_s.arg(path, problem));
    }
    return items;
}

} // namespace

ThunderbirdProfiles::ThunderbirdProfiles(const QString& homeFolder)
{
    for (const QString& base : {u".thunderbird"_s, u".mozilla-thunderbird"_s}) {
        readProfiles(QDir(homeFolder).filePath(base));
    }
    for (Profile& profile : m_profiles) {
        profile.books = readBooks(profile);
    }
}

void ThunderbirdProfiles::readProfiles(const QString& base)
{
    const IniSections sections = readIni(QDir(base).filePath(u"profiles.ini"_s));
    QString installDefault;
    const size_t first = m_profiles.size();
    for (const auto& [name, keys] : sections) {
        if (name.startsWith(u"Install"_s) && installDefault.isEmpty()) {
            installDefault = keys.value(u"Default"_s);
        }
        if (!name.startsWith(u"Profile"_s) || !keys.contains(u"Path"_s)) {
            continue;
        }
        const QString path = keys.value(u"Path"_s);
        const QString folder = keys.value(u"IsRelative"_s) == u"1"_s ? QDir(base).filePath(path) : path;
        if (!QFileInfo(folder).isDir()) {
            continue;
        }
        m_profiles.push_back({keys.value(u"Name"_s, path), QDir::cleanPath(QFileInfo(folder).absoluteFilePath()), {}});
        if (m_default < 0 && keys.value(u"Default"_s) == u"1"_s) {
            m_default = static_cast<int>(m_profiles.size() - 1);
        }
    }
    // The profile an installation starts with wins over the one marked Default=1.
    if (!installDefault.isEmpty()) {
        const QString folder = QDir::cleanPath(QDir(base).absoluteFilePath(installDefault));
        for (size_t k = first; k < m_profiles.size(); ++k) {
            if (m_profiles[k].folder == folder) {
                m_default = static_cast<int>(k);
            }
        }
    }
    if (m_default < 0 && m_profiles.size() > first) {
        m_default = static_cast<int>(first);
    }
}

std::vector<MailFolder> ThunderbirdProfiles::readBooks(const Profile& profile) const
{
    std::vector<MailFolder> books;
    for (const BookPrefs& book : bookPrefs(profile.folder)) {
        const QFileInfo file(QDir(profile.folder).filePath(book.fileName));
        if (book.fileName.isEmpty() || file.suffix() != u"sqlite"_s || !file.isFile()) {
            continue;
        }
        const QString name = book.description.isEmpty() ? file.completeBaseName() : book.description;
        books.push_back(
            {IdPrefix + QDir::cleanPath(file.absoluteFilePath()), name, MailItemType::Contact, profile.name, {}});
    }
    return books;
}

std::vector<MailFolder> ThunderbirdProfiles::stores() const
{
    std::vector<MailFolder> stores;
    for (const Profile& profile : m_profiles) {
        stores.push_back({IdPrefix + profile.folder, profile.name, MailItemType::Mail, {}, profile.books});
    }
    return stores;
}

std::optional<MailFolder> ThunderbirdProfiles::GetDefaultFolder(int which) const
{
    // An address book has no inbox or outbox.
    if (which != DefaultFolder::Contacts || m_default < 0) {
        return std::nullopt;
    }
    const Profile& profile = m_profiles[static_cast<size_t>(m_default)];
    const QString personal = IdPrefix + QDir(profile.folder).filePath(u"abook.sqlite"_s);
    for (const MailFolder& book : profile.books) {
        if (book.entryId == personal) {
            return book;
        }
    }
    return std::nullopt;
}

std::optional<MailFolder> ThunderbirdProfiles::GetFolderFromID(const QString& entryId) const
{
    for (const MailFolder& store : stores()) {
        if (store.entryId == entryId) {
            return withoutSubFolders(store);
        }
        for (const MailFolder& book : store.folders) {
            if (book.entryId == entryId) {
                return book;
            }
        }
    }
    return std::nullopt;
}

Result<std::vector<MailContactItem>> ThunderbirdProfiles::items(const QString& entryId) const
{
    const std::optional<MailFolder> folder = GetFolderFromID(entryId);
    if (!folder || folder->defaultItemType != MailItemType::Contact) {
        return Result<std::vector<MailContactItem>>::failure(ErrorCode::CannotRead,
                                                             u"No address book is known as %1"_s.arg(entryId));
    }
    return readBook(entryId.mid(IdPrefix.size()), entryId);
}
