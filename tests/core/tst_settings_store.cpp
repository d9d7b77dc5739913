#include "TestSupport.h"
#include "core/ListSeparator.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;

class SettingsStoreTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }
    void init() { TestSupport::resetSettings(); }

    void missingKey_givesCallersDefault()
    {
        QCOMPARE(GetSetting(u"FileList"_s, u"MainLeft"_s, u"780"_s), u"780"_s);
        QCOMPARE(GetSetting(u"Nowhere"_s, u"Nothing"_s), QString());
        QCOMPARE(SettingsStore::instance().value(Keys::Flash), u"0"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::BlankFirstName), u"Sir"_s);
    }

    // Names are compared without regard to case: hand-written ones are found, and a write keeps
    // the spelling already in the file instead of adding a second key.
    void namesAreComparedWithoutCase_andOneKeyIsKept()
    {
        const QString path = SettingsStore::instance().filePath();
        QVERIFY(TestSupport::writeFile(
            path, "[filelist]\nmainleft=15\n[XLSHEET]\nexsheetname=Members\n[TabValues]\nTxtTabFile=/t.txt\n"));
        SettingsStore::instance().reload();
        QCOMPARE(SettingsStore::instance().value(Keys::MainLeft), u"15"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::ExcelSheetNameRead), u"Members"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::TabFile), u"/t.txt"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::MainTop), u"1000"_s);
        SettingsStore::instance().setValue(Keys::MainLeft, u"30"_s);
        SettingsStore::instance().setValue(Keys::MdbFileNameWrite, u"/one.mdb"_s);
        SaveSetting(u"msaccess"_s, u"mdbfilename"_s, u"/other.mdb"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::MdbFileNameRead), u"/other.mdb"_s);
        const QByteArray ini = TestSupport::readFile(path);
        QVERIFY(ini.contains("[filelist]\nmainleft=30"));
        QCOMPARE(ini.toLower().count("mdbfilename="), 1);
        QCOMPARE(ini.toLower().count("[msaccess]"), 1);
    }

    void valuesAreText_andSurviveTheFile()
    {
        const QString packed = u"*.Doc"_s + ListSeparator() + u"report, final"_s + ListSeparator();
        SaveSetting(u"Search"_s, u"Criteria"_s, packed);
        SaveSetting(u"BlankFields"_s, u"FirstName"_s, u"  Madam "_s);
        SaveSetting(u"BlankFields"_s, u"LastName"_s, QString());
        SaveSetting(u"MSAccess"_s, u"Password"_s, u"pä=ss;#[x]"_s);
        SettingsStore::instance().reload();
        QCOMPARE(GetSetting(u"Search"_s, u"Criteria"_s), packed);
        QCOMPARE(GetSetting(u"BlankFields"_s, u"FirstName"_s, u"Sir"_s), u"  Madam "_s);
        // An emptied value stays empty; it does not fall back to the default.
        QCOMPARE(GetSetting(u"BlankFields"_s, u"LastName"_s, u"x"_s), QString());
        QCOMPARE(GetSetting(u"MSAccess"_s, u"Password"_s), u"pä=ss;#[x]"_s);
    }

    void storeIsReadableByItsOwnerOnly()
    {
        SaveSetting(u"SMTP"_s, u"Pwd"_s, u"secret"_s);
        const QFileInfo file(SettingsStore::instance().filePath());
        QVERIFY(file.exists());
        QCOMPARE(file.permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup | QFile::WriteOther),
                 QFile::Permissions());
        const QFileInfo folder(file.absolutePath());
        QCOMPARE(folder.permissions() & (QFile::ReadOther | QFile::ExeOther | QFile::ReadGroup | QFile::ExeGroup),
                 QFile::Permissions());
        QCOMPARE(folder.fileName(), u"Quillbay"_s);

        // A store that was left open to others is closed again by the next write.
        QFile::setPermissions(file.absoluteFilePath(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
        SaveSetting(u"SMTP"_s, u"User"_s, u"ann"_s);
        QCOMPARE(QFileInfo(file.absoluteFilePath()).permissions() & (QFile::ReadGroup | QFile::ReadOther),
                 QFile::Permissions());
    }
};

QTEST_GUILESS_MAIN(SettingsStoreTest)
#include "tst_settings_store.moc"
