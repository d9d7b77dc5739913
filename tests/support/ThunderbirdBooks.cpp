#include "ThunderbirdBooks.h"

#include <QDir>
#include <QFile>
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
        if (database.open()) {
            QSqlQuery query(database);
            // Thunderbird keeps its books in write-ahead-log mode.
            written = query.exec(u"PRAGMA journal_mode=WAL"_s) &&
                      query.exec(u"CREATE TABLE properties (card TEXT, name TEXT, value TEXT)"_s) &&
                      query.exec(u"CREATE TABLE lists (uid TEXT PRIMARY KEY, name TEXT, nickName TEXT, "
                                 u"description TEXT)"_s) &&
                      query.exec(u"CREATE TABLE list_cards (list TEXT, card TEXT, PRIMARY KEY(list, card))"_s) &&
                      query.prepare(u"INSERT INTO properties VALUES (?, ?, ?)"_s);
            for (const Card& card : cards) {
                for (const auto& [name, value] : card.properties) {
                    query.addBindValue(card.uid);
                    query.addBindValue(name);
                    query.addBindValue(value);
                    written = written && query.exec();
                }
            }
            written = written && query.prepare(u"INSERT INTO lists VALUES (?, ?, '', '')"_s);
            for (const QString& name : listNames) {
                query.addBindValue(u"list-"_s + name);
                query.addBindValue(name);
                written = written && query.exec();
            }
            database.close();
        }
    }
    QSqlDatabase::removeDatabase(connection);
    return written;
}

} // namespace ThunderbirdBooks
