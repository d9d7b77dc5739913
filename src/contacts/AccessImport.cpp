#include "AccessImport.h"

using namespace Qt::StringLiterals;

namespace AccessImport {

QString AccessConnect(const QString& path, const QString& password)
{
    return u";Database="_s + path + u";PWD="_s + password + u";DSN="_s + path;
}

QStringList userTables(const QStringList& tableNames)
{
    QStringList shown;
    for (const QString& name : tableNames) {
        const QString upper = name.toUpper();
        if (!upper.startsWith(u"MSYS"_s) && !upper.startsWith(u"SWITCHBOARD"_s)) {
            shown << name;
        }
    }
    return shown;
}

Contact AddAccessRow(const QStringList& values, const std::array<int, 16>& columnOfMapIndex)
{
    Contact row;
    for (int mapIndex = 0; mapIndex < static_cast<int>(columnOfMapIndex.size()); ++mapIndex) {
        const int column = columnOfMapIndex[static_cast<size_t>(mapIndex)];
        if (column >= 0 && column < values.size()) {
            row.cells[static_cast<size_t>(MergeFieldTable::cellOfMapIndex(mapIndex))] = values.at(column);
        }
    }
    return row;
}

std::vector<Contact> importRows(AccessRecordset& recordset, const std::array<int, 16>& columnOfMapIndex,
                                const std::function<void(int rowNumber)>& afterRow)
{
    std::vector<Contact> rows;
    rows.reserve(static_cast<size_t>(qMax(recordset.recordCount(), 0)));
    QStringList values;
    while (recordset.moveNext(values)) {
        rows.push_back(AddAccessRow(values, columnOfMapIndex));
        if (afterRow) {
            afterRow(static_cast<int>(rows.size()));
        }
    }
    return rows;
}

} // namespace AccessImport
