#pragma once

#include "AccessDatabase.h"
#include "ContactTable.h"

#include <QString>
#include <QStringList>

#include <array>
#include <functional>
#include <vector>

// The logic of the Access source that needs no window: the connection text, the tables a user
// can choose, the rows of a table through the field map.
namespace AccessImport {

// The text shown in the table list when nothing can be imported.
inline constexpr QStringView NoTables = u"(No Tables)";

// ";Database=" + path + ";PWD=" + password + ";DSN=" + path, untrimmed; the password part is
// there also when the password is empty.
QString AccessConnect(const QString& path, const QString& password);

// The tables a user may choose, in the given order: names beginning with "MSys" (the engine's
// own tables) or "Switchboard" (the menu of a database application) are left out, whatever
// their case.
QStringList userTables(const QStringList& tableNames);

// The row of one record: map index i reads the value of the field its box has chosen (-1 for
// none, which gives the empty text), cell 0 from map index 12. Values are taken as they are:
// no trimming, no quote handling. The row is checked and counted.
Contact AddAccessRow(const QStringList& values, const std::array<int, 16>& columnOfMapIndex);

// Every row of the recordset, from where it stands to its end. afterRow is told the 1-based
// number of each row read, so that a caller can advance its progress and let the event loop run.
std::vector<Contact> importRows(AccessRecordset& recordset, const std::array<int, 16>& columnOfMapIndex,
                                const std::function<void(int rowNumber)>& afterRow = {});

} // namespace AccessImport
