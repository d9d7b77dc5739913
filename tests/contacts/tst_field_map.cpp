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
const MapSection SheetSection{u"XlSheet"_s, u"ExFilename"_s};

} // namespace

class FieldMapTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }
    void init() { TestSupport::resetSettings(); }

    void guess_takesTheFirstMatchingColumnPerField()
    {
        FieldMap map = mapOf({u"Name"_s, u"Email"_s, u"Company"_s});
        FieldMapMemory::DefaultMap(map);
        QCOMPARE(map.text[0], u"Name"_s);
        QCOMPARE(map.text[12], u"Email"_s);
        QCOMPARE(map.listIndex[3], 2);
        QCOMPARE(map.listIndex[1], -1);

        map = mapOf({u"email2address"_s, u"EMAIL"_s, u"First Name "_s, u"zip"_s, u"POSTALCODE"_s});
        FieldMapMemory::DefaultMap(map);
        QCOMPARE(map.text[12], u"email2address"_s); // first in source order, not in alias order
        QCOMPARE(map.text[0], QString());           // a trailing blank is not trimmed
        QCOMPARE(map.text[7], u"zip"_s);
        QCOMPARE(FieldDictionary::MatchDictionary(13, 4, u"Custom"_s), -1);

        const struct
        {
            int field;
            QString column;
            bool matches;
        } aliases[] = {
            {0, u"first-name"_s, true},
            {1, u"Surname"_s, false},
            {3, u"party"_s, true},
            {3, u"CompanyURL"_s, false}, // the web page's
            {7, u"Business-Postalcode"_s, true},
            {7, u"Business Postal Code"_s, true},
            {7, u"Business Postalcode"_s, false},
            {11, u"WebSiteURL"_s, true},
            {12, u"E-mail 2 Address"_s, true},
            {12, u"Mail"_s, false},
            {12, u" Email"_s, false},
        };
        for (const auto& row : aliases) {
            QVERIFY2(FieldDictionary::MatchDictionary(row.field, 9, row.column) == (row.matches ? 9 : -1),
                     qPrintable(row.column));
        }
    }

    void defaultMap_overwritesStandardFields_andLeavesCustomOnes()
    {
        FieldMap map = mapOf({u"Name"_s, u"Email"_s, u"Member"_s});
        map.choose(0, 2);
        map.choose(13, 2);
        FieldMapMemory::DefaultMap(map);
        QCOMPARE(map.text[0], u"Name"_s);
        QCOMPARE(map.text[13], u"Member"_s);
    }

    void clearMap_leavesOnlyCustomFields_whichDoNotCountAsAMap()
    {
        FieldMap map = mapOf({u"Name"_s, u"Email"_s, u"Member"_s});
        FieldMapMemory::DefaultMap(map);
        map.choose(14, 2);
        QVERIFY(!FieldMapMemory::MapIsEmpty(map));
        FieldMapMemory::ClearMap(map);
        QVERIFY(FieldMapMemory::MapIsEmpty(map));
        QCOMPARE(map.text[14], u"Member"_s);
        map.typeText(5, u"no such column"_s); // typed text counts
        QVERIFY(!FieldMapMemory::MapIsEmpty(map));
    }

    void savedMap_isTakenByColumnName_forTheSameSourceOnly()
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

        // The same file with its columns moved, and "Firma" gone: names decide, the rest stays empty.
        FieldMap again = mapOf({u"Mitglied"_s, u"Mail"_s, u"Vorname"_s});
        FieldMapMemory::PrepareMapPage(again, CommaSection, u"/data/list.csv"_s, {});
        QCOMPARE(again.listIndex[0], 2);
        QCOMPARE(again.listIndex[12], 1);
        QCOMPARE(again.listIndex[3], -1);
        QCOMPARE(again.listIndex[13], 0);
        QCOMPARE(again.customNames, (std::array<QString, 3>{u"Member No"_s, QString(), u"Custom Field 3"_s}));

        // Another file: the guess runs, yet the custom names remembered for the kind survive.
        FieldMap other = mapOf({u"Name"_s, u"Mail"_s});
        FieldMapMemory::PrepareMapPage(other, CommaSection, u"/data/other.csv"_s, {});
        QCOMPARE(other.listIndex[12], -1);
        QCOMPARE(other.text[0], u"Name"_s);
        QCOMPARE(other.customNames[0], u"Member No"_s);
        QCOMPARE(other.customNames[1], QString());
    }

    void savedMap_matchesNamesWithCase_andCustomNamesAloneCountAsSaved()
    {
        SettingsStore::instance().setValue(Keys::CommaFile, u"/data/a.csv"_s);
        SaveSetting(u"CommaValues"_s, u"12"_s, u"email"_s);
        FieldMap map = mapOf({u"Email"_s, u"Name"_s});
        FieldMapMemory::PrepareMapPage(map, CommaSection, u"/data/a.csv"_s, {});
        QCOMPARE(map.listIndex[12], -1); // "email" is not "Email" here, and no guess runs
        QCOMPARE(map.listIndex[0], -1);
        QCOMPARE(map.customNames[0], QString());

        TestSupport::resetSettings();
        SettingsStore::instance().setValue(Keys::CommaFile, u"/data/a.csv"_s);
        SaveSetting(u"CommaValues"_s, u"14C"_s, u"Region"_s);
        FieldMap names = mapOf({u"Email"_s, u"Name"_s});
        QVERIFY(FieldMapMemory::LoadSavedMap(names, u"CommaValues"_s));
        QCOMPARE(names.customNames, (std::array<QString, 3>{QString(), u"Region"_s, QString()}));
        QVERIFY(FieldMapMemory::MapIsEmpty(names));
        // The path is compared exactly: a trailing blank makes it another source.
        FieldMap other = mapOf({u"Email"_s, u"Name"_s});
        FieldMapMemory::PrepareMapPage(other, CommaSection, u"/data/a.csv "_s, {});
        QCOMPARE(other.text[12], u"Email"_s);
        QCOMPARE(other.customNames[0], u"Custom Field 1"_s);
        QCOMPARE(other.customNames[1], u"Region"_s);
    }

    void sheetMemory_needsTheSameSheet_andAnEmptySectionFallsToTheGuess()
    {
        SettingsStore::instance().setValue(Keys::ExcelFileName, u"/data/book.xlsx"_s);
        SettingsStore::instance().setValue(Keys::ExcelSheetNameWrite, u"Members"_s);
        SaveSetting(u"XlSheet"_s, u"0"_s, u"Surname"_s);
        FieldMap map = mapOf({u"Surname"_s, u"Name"_s});
        FieldMapMemory::PrepareMapPage(map, SheetSection, u"/data/book.xlsx"_s, u"Other sheet"_s);
        QCOMPARE(map.text[0], u"Name"_s);
        FieldMapMemory::PrepareMapPage(map, SheetSection, u"/data/book.xlsx"_s, u"Members"_s);
        QCOMPARE(map.text[0], u"Surname"_s);

        FieldMap fresh = mapOf({u"First"_s, u"Email"_s});
        SettingsStore::instance().setValue(Keys::TabFile, u"/data/t.txt"_s);
        FieldMapMemory::PrepareMapPage(fresh, MapSection{u"TabValues"_s, u"TxtTabFile"_s}, u"/data/t.txt"_s, {});
        QCOMPARE(fresh.text[0], u"First"_s);
        QCOMPARE(fresh.customNames[2], u"Custom Field 3"_s);
    }
};

QTEST_GUILESS_MAIN(FieldMapTest)
#include "tst_field_map.moc"
