#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <utility>
#include <vector>

// Writes Thunderbird address books for the tests: an SQLite file with the tables properties
// (card, name, value), lists (uid, name, nickName, description) and list_cards (list, card).
namespace ThunderbirdBooks {

struct Card
{
    QString uid;
    QList<std::pair<QString, QString>> properties; // name, value; "_vCard" for the newer form
};

// Writes the book in write-ahead-log mode, as Thunderbird does (the folder is made); false when
// SQLite refuses.
bool writeBook(const QString& path, const std::vector<Card>& cards, const QStringList& listNames = {});

} // namespace ThunderbirdBooks
