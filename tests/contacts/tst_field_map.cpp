#include "TestSupport.h"
#include "contacts/FieldMap.h"
#include "core/SettingsKeys.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

FieldMap mapOf(const QStringList& columns)
{
    FieldMap map;
    map.setColumns(columns);
    return map;
}

const MapSection CommaSection{u"CommaValues"_s, u"TxtComaFile"_s};

} // namespace

class FieldMapTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }
    void init() { TestSupport::resetSettings(); }

    void guess_takesTheFirstMatchingColumnPerField_andLeavesCustomFields()
    {
        FieldMap map = mapOf({u"email2address"_s, u"EMAIL"_s, u"First Name "_s, u"zip"_s, u"Company"_s});
        map.choose(3, 0);
        map.choose(13, 2);
        FieldMapMemory::DefaultMap(map);
        QCOMPARE(map.text[12], u"email2address"_s); // first in source order, not in alias order
        QCOMPARE(map.text[0], QString());           // a trailing blank is not trimmed
        QCOMPARE(map.text[7], u"zip"_s);
        QCOMPARE(map.listIndex[3], 4); // standard fields are guessed anew, custom ones stay
        QCOMPARE(map.text[13], u"First Name "_s);
        QCOMPARE(map.listIndex[1], -1);
        const std::pair<int, QString> matches[] = {{0, u"first-name"_s},          {3, u"party"_s},
                                                   {7, u"Business-Postalcode"_s}, {7, u"Business Postal Code"_s},
                                                   {11, u"WebSiteURL"_s},         {12, u"E-mail 2 Address"_s}};
        for (const auto& [field, column] : matches) {
            QVERIFY2(FieldDictionary::MatchDictionary(field, 9, column) == 9, qPrintable(column));
        }
        const std::pair<int, QString> others[] = {
            {1, u"Surname"_s}, {3, u"CompanyURL"_s}, {7, u"Business Postalcode"_s},
            {12, u"Mail"_s},   {12, u" Email"_s},    {13, u"Custom"_s}};
        for (const auto& [field, column] : others) {
            QVERIFY2(FieldDictionary::MatchDictionary(field, 9, column) == -1, qPrintable(column));
        }

        // Clearing leaves only the custom fields, which do not count as a map; typed text does.
        FieldMapMemory::ClearMap(map);
        QVERIFY(FieldMapMemory::MapIsEmpty(map));
        QCOMPARE(map.text[13], u"First Name "_s);
        map.typeText(5, u"no such column"_s);
        QVERIFY(!FieldMapMemory::MapIsEmpty(map));
    }

    void savedMap_isTakenByColumnNameWithCase_forTheSameSourceOnly()
    {
        FieldMap map = mapOf({u"Vorname"_s, u"Mail"_s, u"Firma"_s, u"Mitglied"_s});
        map.choose(0, 0);
        map.choose(12, 1);
        map.choose(3, 2);
        map.choose(13, 3);
        map.customNames = {u"Member No"_s, QString(), u"Custom Field 3"_s};
        SettingsStore::instance().setValue(Keys::CommaFile, u"/data/list.csv"_s);
        FieldMapMemory::SaveMap(map, CommaSection.section);
        QCOMPARE(GetSetting(u"CommaValues"_s, u"12"_s), u"Mail"_s);
        QCOMPARE(GetSetting(u"CommaValues"_s, u"13CD"_s), u"Mitglied"_s);
        QCOMPARE(GetSetting(u"CommaValues"_s, u"13C"_s), u"Member No"_s);

        // The same file with its columns moved, "Firma" gone and "Mail" now "mail": names decide
        // with their case, the rest stays empty and no guess runs.
        FieldMap again = mapOf({u"Mitglied"_s, u"mail"_s, u"Vorname"_s});
        FieldMapMemory::PrepareMapPage(again, CommaSection, u"/data/list.csv"_s, {});
        QCOMPARE(again.listIndex[0], 2);
        QCOMPARE(again.listIndex[12], -1);
        QCOMPARE(again.listIndex[3], -1);
        QCOMPARE(again.listIndex[13], 0);
        QCOMPARE(again.customNames, (std::array<QString, 3>{u"Member No"_s, QString(), u"Custom Field 3"_s}));

        // Another file (a trailing blank makes one): the guess runs, yet the custom names
        // remembered for the kind survive.
        FieldMap other = mapOf({u"Name"_s, u"Mail"_s});
        FieldMapMemory::PrepareMapPage(other, CommaSection, u"/data/list.csv "_s, {});
        QCOMPARE(other.listIndex[12], -1);
        QCOMPARE(other.text[0], u"Name"_s);
        QCOMPARE(other.customNames, (std::array<QString, 3>{u"Member No"_s, QString(), u"Custom Field 3"_s}));

        // Custom names alone count as a saved map, though an empty one.
        TestSupport::resetSettings();
        SaveSetting(u"CommaValues"_s, u"14C"_s, u"Region"_s);
        FieldMap names = mapOf({u"Email"_s, u"Name"_s});
        QVERIFY(FieldMapMemory::LoadSavedMap(names, u"CommaValues"_s));
        QCOMPARE(names.customNames, (std::array<QString, 3>{QString(), u"Region"_s, QString()}));
        QVERIFY(FieldMapMemory::MapIsEmpty(names));
    }

    void sheetMemory_needsTheSameSheet()
    {
        const MapSection sheet{u"XlSheet"_s, u"ExFilename"_s};
        SettingsStore::instance().setValue(Keys::ExcelFileName, u"/data/book.xlsx"_s);
        SettingsStore::instance().setValue(Keys::ExcelSheetNameWrite, u"Members"_s);
        SaveSetting(u"XlSheet"_s, u"0"_s, u"Surname"_s);
        FieldMap map = mapOf({u"Surname"_s, u"Name"_s});
        FieldMapMemory::PrepareMapPage(map, sheet, u"/data/book.xlsx"_s, u"Other sheet"_s);
        QCOMPARE(map.text[0], u"Name"_s);
        QCOMPARE(map.customNames[2], u"Custom Field 3"_s); // nothing remembered: the default name
        FieldMapMemory::PrepareMapPage(map, sheet, u"/data/book.xlsx"_s, u"Members"_s);
        QCOMPARE(map.text[0], u"Surname"_s);
    }
};

QTEST_GUILESS_MAIN(FieldMapTest)
#include "tst_field_map.moc"
