#pragma once

#include <QString>

#include <array>

// The sixteen merge fields: which cell of a contact each one fills, under which label it is
// mapped, under which heading it is listed, by which token a template calls it and which
// entry of the composer's "Fields" menu inserts it. The e-mail address is map index 12 but
// cell 0; map indices below 12 land in cell i+1 and the custom ones (13 to 15) in the cell of
// the same number. The spellings of labels, headings, tokens and captions differ on purpose.
struct MergeField
{
    int mapIndex;
    const char16_t* mapLabel;
    int cell;
    const char16_t* heading;
    const char16_t* token;
    const char16_t* menuName;
    const char16_t* menuCaption;
};

namespace MergeFieldTable {

inline constexpr int CellCount = 16;
inline constexpr int StandardCount = 13; // map indices 0..12
inline constexpr int EmailMapIndex = 12;
inline constexpr int FirstCustomCell = 13;
inline constexpr int CustomCount = 3;

// The thirteen standard fields in map order.
const std::array<MergeField, StandardCount>& standardFields();

// The cell that map index i fills.
constexpr int cellOfMapIndex(int mapIndex)
{
    return mapIndex < EmailMapIndex ? mapIndex + 1 : (mapIndex == EmailMapIndex ? 0 : mapIndex);
}

// The list heading of cells 0 to 12 ("Email Address", "First Name", …).
QString standardHeading(int cell);

// The token of cells 0 to 12 ("[[Email1Address]]", "[[FirstName]]", …).
QString standardToken(int cell);

// The design-time heading of custom cells 13 to 15: "CustomField(1)" to "CustomField(3)".
QString defaultCustomHeading(int cell);

// The default name of custom field k (0..2) on the map page: "Custom Field 1" …
QString defaultCustomName(int k);

// A custom field's token: its heading between double brackets, spelled as it stands.
QString customToken(const QString& heading);

} // namespace MergeFieldTable
