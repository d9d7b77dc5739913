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

    void namesAreComparedWithoutCase_andOneKeyIsKept()
    {
        SettingsStore::instance().setValue(Keys::MdbFileNameWrite, u"/data/contacts.mdb"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::MdbFileNameRead), u"/data/contacts.mdb"_s);
        SaveSetting(u"xlsheet"_s, u"EXSHEETNAME"_s, u"Sheet2"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::ExcelSheetNameRead), u"Sheet2"_s);

        // A later write under another spelling updates the same key instead of adding one.
        SaveSetting(u"msaccess"_s, u"mdbfilename"_s, u"/other.mdb"_s);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"MDBFileName"_s), u"/other.mdb"_s);
        QFile file(SettingsStore::instance().filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray ini = file.readAll();
        QCOMPARE(ini.toLower().count("mdbfilename="), 1);
        QCOMPARE(ini.toLower().count("[msaccess]"), 1);
    }

    void handWrittenNames_areFoundInAnyCase()
    {
        QFile file(SettingsStore::instance().filePath());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[filelist]\nLVLISTHEIGHT=4200\nmainleft=15\n[XLSHEET]\nexsheetname=Members\n");
        file.close();
        SettingsStore::instance().reload();
        QCOMPARE(SettingsStore::instance().value(Keys::ListHeight), u"4200"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::MainLeft), u"15"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::ExcelSheetNameRead), u"Members"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::MainTop), u"1000"_s);
        // Writing keeps the spelling already in the file.
        SettingsStore::instance().setValue(Keys::MainLeft, u"30"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray ini = file.readAll();
        QVERIFY(ini.contains("[filelist]"));
        QVERIFY(ini.contains("mainleft=30"));
        QVERIFY(!ini.contains("MainLeft"));
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

    void numbersAreStoredAsDecimalText()
    {
        SaveSetting(u"SMTP"_s, u"SMTPPort"_s, QString::number(587));
        QCOMPARE(GetSetting(u"SMTP"_s, u"SMTPPort"_s), u"587"_s);
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
