#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

// Writes Thunderbird address books for the tests.
namespace ThunderbirdBooks {

struct Card
{
    QString uid;
    QList<std::pair<QString, QString>> properties; // name, value; "_vCard" for the newer form
};

// An SQLite file in write-ahead-log mode, as Thunderbird keeps it, with the tables properties
// (card, name, value), lists and list_cards; the folder is made. False when SQLite refuses.
bool writeBook(const QString& path, const std::vector<Card>& cards, const QStringList& listNames = {});

} // namespace ThunderbirdBooks
