#include "ThunderbirdBooks.h"

#include <QDir>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

using namespace Qt::StringLiterals;

namespace ThunderbirdBooks {

bool writeBook(const QString& path, const std::vector<Card>& cards, const QStringList& listNames)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QString connection = u"test-book-"_s + path;
    bool written = false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(u"QSQLITE"_s, connection);
        database.setDatabaseName(path);
        QSqlQuery query(database);
        const auto insert = [&query](const QString& statement, const QVariantList& values) {
            query.prepare(statement);
            for (const QVariant& value : values) {
                query.addBindValue(value);
            }
            return query.exec();
        };
        written =
            database.open() && query.exec(u"PRAGMA journal_mode=WAL"_s) &&
            query.exec(u"CREATE TABLE properties (card TEXT, name TEXT, value TEXT)"_s) &&
            query.exec(u"CREATE TABLE lists (uid TEXT PRIMARY KEY, name TEXT, nickName TEXT, description TEXT)"_s) &&
            query.exec(u"CREATE TABLE list_cards (list TEXT, card TEXT, PRIMARY KEY(list, card))"_s);
        for (const Card& card : cards) {
            for (const auto& [name, value] : card.properties) {
                written = written && insert(u"INSERT INTO properties VALUES (?, ?, ?)"_s, {card.uid, name, value});
            }
        }
        for (const QString& name : listNames) {
            written = written && insert(u"INSERT INTO lists VALUES (?, ?, '', '')"_s, {u"list-"_s + name, name});
        }
        database.close();
    }
    QSqlDatabase::removeDatabase(connection);
    return written;
}

} // namespace ThunderbirdBooks
