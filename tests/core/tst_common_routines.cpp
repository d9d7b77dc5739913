#include "TestSupport.h"
#include "core/AppPaths.h"
#include "core/CommonRoutines.h"
#include "core/TextDecoding.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class CommonRoutinesTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void fileExists_needsAtLeastOneByte()
    {
        QTemporaryDir dir;
        const QString empty = dir.filePath(u"empty.doc"_s);
        const QString one = dir.filePath(u"one.doc"_s);
        QFile(empty).open(QIODevice::WriteOnly);
        QVERIFY(TestSupport::writeFile(one, "x"));
        QVERIFY(!FileExists(empty));
        QVERIFY(FileExists(one));
        QVERIFY(!FileExists(dir.filePath(u"missing.doc"_s)));
        QVERIFY(!FileExists(dir.path()));
        QVERIFY(!FileExists(QString()));
    }

    void specialFolders_mapToExistingFoldersOnly()
    {
        const QString home = TestSupport::homeFolder();
        QCOMPARE(GetSpecialFolder(3), QString()); // no documents folder yet
        QDir(home).mkpath(u"Documents"_s);
        QDir(home).mkpath(u"Desktop"_s);
        QCOMPARE(GetSpecialFolder(3), home + u"/Documents"_s);
        QCOMPARE(GetSpecialFolder(10), home + u"/Desktop"_s);
        QCOMPARE(SpecialFolderByCode(5), GetSpecialFolder(3));
        QCOMPARE(GetSpecialFolder(27), home);
        QCOMPARE(GetSpecialFolder(-1), QString());
        QCOMPARE(GetSpecialFolder(30), QString());
        QCOMPARE(GetSpecialFolder(6), QString()); // no "Recent" folder on this system
    }

    void applicationFolder_isMadeOnFirstUse_withTheHelpInIt()
    {
        const QString folder = AppPaths::applicationFolder();
        QVERIFY(folder.endsWith(u"/Quillbay"_s));
        QVERIFY(QDir(folder).exists());
        const QString help = AppPaths::helpFile();
        QVERIFY(FileExists(help));
        QFile page(help);
        QVERIFY(page.open(QIODevice::ReadOnly));
        QVERIFY(page.readAll().contains("[[Email1Address]]"));
    }

    void decoding_prefersUtf8_elseWindows1252()
    {
        QCOMPARE(TextDecoding::decode("\xEF\xBB\xBF"
                                      "Ren\xC3\xA9"),
                 u"René"_s);
        QCOMPARE(TextDecoding::decode("Jos\xC3\xA9 M\xC3\xBCller"), u"José Müller"_s);
        QCOMPARE(TextDecoding::decode("Jos\xE9 M\xFCller \x80 \x93x\x94"), u"José Müller € “x”"_s);
        QCOMPARE(TextDecoding::decode(QByteArray("\xFF\xFE"
                                                 "A\0\xE9\0",
                                                 6)),
                 u"Aé"_s);
        // An undefined byte of the code page keeps its control code and does not stop decoding.
        QCOMPARE(TextDecoding::decode("a\x81z\xE9"), QString(u"a\u0081zé"_s));
    }
};

QTEST_GUILESS_MAIN(CommonRoutinesTest)
#include "tst_common_routines.moc"
