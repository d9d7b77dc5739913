#include "FieldMap.h"

#include "MergeFieldTable.h"
#include "core/SettingsKeys.h"

using namespace Qt::StringLiterals;

FieldMap::FieldMap()
{
    listIndex.fill(-1);
    for (int k = 0; k < 3; ++k) {
        customNames[k] = MergeFieldTable::defaultCustomName(k);
    }
}

void FieldMap::choose(int field, int column)
{
    if (column < 0 || column >= columns.size()) {
        clearField(field);
        return;
    }
    listIndex[field] = column;
    text[field] = columns.at(column);
}

void FieldMap::clearField(int field)
{
    listIndex[field] = -1;
    text[field].clear();
}

void FieldMap::typeText(int field, const QString& typed)
{
    listIndex[field] = -1;
    text[field] = typed;
}

void FieldMap::setColumns(const QStringList& newColumns)
{
    columns = newColumns;
    for (int field = 0; field < FieldCount; ++field) {
        clearField(field);
    }
}

namespace FieldDictionary {

QString aliases(int fieldIndex)
{
    static const QString lists[MergeFieldTable::StandardCount] = {
        u"First Name,FirstName,First-Name,First,Name,ContactName,Names"_s,
        u"Last Name,LastName,Last-Name,Last"_s,
        u"Job Title,JobTitle,Job-Title,Job,Work,Occupation"_s,
        u"Company,CompanyName,Company-Name,Company,Concern,Corporation,Party"_s,
        u"BusinessStreet,Business Street,Business-Street,Address"_s,
        u"BusinessCity,Business City,Business-City,City"_s,
        u"BusinessState,Business State,Business-State,State,Province"_s,
        u"BusinessPostalCode,Business Postal Code,Business-Postalcode,PostalCode,BusinessZip,Business Zip,"
        u"Business-Zip,Zip"_s,
        u"BusinessCountry,Business Country,Business-Country,Country"_s,
        u"BusinessPhone,Business Phone,Business-Phone,Phone"_s,
        u"BusinessFax,Business Fax,Business-Fax,Fax"_s,
        u"WebPage,Web Page,Web-Page,OwnPage,WebSiteURL,CompanyURL"_s,
        u"Email1Address,EmailAddress,Email Address,E-mail Address,Email2Address,E-mail 2 Address,Email,Emailid"_s,
    };
    return fieldIndex >= 0 && fieldIndex < MergeFieldTable::StandardCount ? lists[fieldIndex] : QString();
}

int MatchDictionary(int fieldIndex, int itemIndex, const QString& itemText)
{
    const QString list = aliases(fieldIndex);
    if (list.isEmpty()) {
        return -1;
    }
    const QString upper = itemText.toUpper();
    const QStringList names = list.split(u',');
    for (const QString& alias : names) {
        if (upper == alias.toUpper()) {
            return itemIndex;
        }
    }
    return -1;
}

} // namespace FieldDictionary

namespace FieldMapMemory {

namespace {

QString columnKey(int field)
{
    return field < MergeFieldTable::FirstCustomCell ? QString::number(field) : QString::number(field) + u"CD"_s;
}

QString customNameKey(int field)
{
    return QString::number(field) + u"C"_s;
}

} // namespace

void DefaultMap(FieldMap& map)
{
    for (int field = 0; field < MergeFieldTable::StandardCount; ++field) {
        map.clearField(field);
        for (int item = 0; item < map.columns.size() && map.text[field].isEmpty(); ++item) {
            map.choose(field, FieldDictionary::MatchDictionary(field, item, map.columns.at(item)));
        }
    }
}

bool LoadSavedMap(FieldMap& map, const QString& section)
{
    const SettingsStore& store = SettingsStore::instance();
    std::array<QString, FieldMap::FieldCount> saved;
    bool anyColumn = false;
    for (int field = 0; field < FieldMap::FieldCount; ++field) {
        saved[field] = store.GetSetting(section, columnKey(field));
        anyColumn = anyColumn || !saved[field].isEmpty();
    }
    bool anyName = false;
    for (int k = 0; k < 3; ++k) {
        map.customNames[k] = store.GetSetting(section, customNameKey(MergeFieldTable::FirstCustomCell + k));
        anyName = anyName || !map.customNames[k].isEmpty();
    }
    if (!anyColumn && !anyName) {
        return false;
    }
    for (int field = 0; field < FieldMap::FieldCount; ++field) {
        map.clearField(field);
        for (int item = 0; item < map.columns.size() && map.text[field].isEmpty() && !saved[field].isEmpty(); ++item) {
            if (map.columns.at(item) == saved[field]) {
                map.choose(field, item);
            }
        }
    }
    return true;
}

void SaveMap(const FieldMap& map, const QString& section)
{
    SettingsStore& store = SettingsStore::instance();
    for (int field = 0; field < MergeFieldTable::StandardCount; ++field) {
        store.SaveSetting(section, columnKey(field), map.text[field]);
    }
    for (int field = MergeFieldTable::FirstCustomCell; field < FieldMap::FieldCount; ++field) {
        store.SaveSetting(section, customNameKey(field), map.customNames[field - MergeFieldTable::FirstCustomCell]);
        store.SaveSetting(section, columnKey(field), map.text[field]);
    }
}

void PrepareMapPage(FieldMap& map, const MapSection& where, const QString& path, const QString& chosenSheetOrTable)
{
    const SettingsStore& store = SettingsStore::instance();
    const QString savedPath = store.GetSetting(where.section, where.pathKey);
    QString savedName;
    bool sameSource = path == savedPath;
    if (where.section == QLatin1StringView(Keys::ExcelSection)) {
        savedName = store.value(Keys::ExcelSheetNameRead);
        sameSource = sameSource && chosenSheetOrTable == savedName;
    } else if (where.section == QLatin1StringView(Keys::AccessSection)) {
        savedName = store.value(Keys::AccessTableName);
        sameSource = sameSource && chosenSheetOrTable == savedName;
    }
    if (sameSource && LoadSavedMap(map, where.section)) {
        return;
    }
    DefaultMap(map);
    for (int k = 0; k < 3; ++k) {
        map.customNames[k] = store.GetSetting(where.section, customNameKey(MergeFieldTable::FirstCustomCell + k),
                                              MergeFieldTable::defaultCustomName(k));
    }
}

bool MapIsEmpty(const FieldMap& map)
{
    for (int field = 0; field < MergeFieldTable::StandardCount; ++field) {
        if (!map.text[field].isEmpty()) {
            return false;
        }
    }
    return true;
}

void ClearMap(FieldMap& map)
{
    for (int field = 0; field < MergeFieldTable::StandardCount; ++field) {
        map.clearField(field);
    }
}

} // namespace FieldMapMemory
