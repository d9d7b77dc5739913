#pragma once

#include <QString>
#include <QStringList>

#include <array>

// The map of a file-like source's columns onto the sixteen merge fields: what the map page's
// sixteen combo boxes hold. Every box lists all columns in source order, so the index chosen in
// a box is the column's position in the source; a box can also hold typed text that names no
// column (its index is then -1). Boxes 13 to 15 belong to the three custom fields, whose names
// stand beside them.
struct FieldMap
{
    static constexpr int FieldCount = 16;

    QStringList columns;
    std::array<int, FieldCount> listIndex;
    std::array<QString, FieldCount> text;
    std::array<QString, 3> customNames;

    FieldMap();

    void choose(int field, int column);
    void clearField(int field);
    void typeText(int field, const QString& typed);
    // Sets the source's columns and empties every box.
    void setColumns(const QStringList& newColumns);
};

// The section of the settings store that remembers the map of one source kind, with the key
// of its path ("TxtTabFile", "ExFileName", …).
struct MapSection
{
    QString section;
    QString pathKey;
};

namespace FieldDictionary {

// The alias list of a standard field 0..12; empty for any other index.
QString aliases(int fieldIndex);

// itemIndex when itemText equals one of the field's aliases, compared in upper case and
// whole, nothing trimmed; -1 otherwise.
int MatchDictionary(int fieldIndex, int itemIndex, const QString& itemText);

} // namespace FieldDictionary

namespace FieldMapMemory {

// The guess: for each standard field in order, the first column (in source order) that
// matches any of its aliases. Custom boxes are left alone.
void DefaultMap(FieldMap& map);

// Applies the map remembered in the section; false when nothing was saved there.
bool LoadSavedMap(FieldMap& map, const QString& section);

// Writes the map of the boxes (by column name) and the custom names into the section.
void SaveMap(const FieldMap& map, const QString& section);

// Fills the map for a source that was just opened: the remembered map when path (and for a
// sheet or table, its name as chosen now) is the remembered one, else the guess; then the
// custom names remembered for the kind, or their defaults.
void PrepareMapPage(FieldMap& map, const MapSection& where, const QString& path, const QString& chosenSheetOrTable);

// True when none of the thirteen standard boxes holds any text; custom boxes do not count.
bool MapIsEmpty(const FieldMap& map);

// Clears the thirteen standard boxes ("Clear Map").
void ClearMap(FieldMap& map);

} // namespace FieldMapMemory
