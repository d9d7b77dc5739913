#include "TestSupport.h"
#include "contacts/MergeFieldTable.h"
#include "contacts/TextSource.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString write(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes)
{
    const QString path = dir.filePath(name);
    if (!TestSupport::writeFile(path, bytes)) {
        qFatal("cannot write %s", qPrintable(path));
    }
    return path;
}

} // namespace

class TextSourceTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }
    void init() { TestSupport::resetSettings(); }

    void open_tellsTheProblemsApart_andNamesTheColumns()
    {
        QTemporaryDir dir;
        QCOMPARE(TextSource::open(dir.filePath(u"gone.csv"_s), TextKind::Comma).error().code,
                 int(ErrorCode::FileMissing));
        QCOMPARE(TextSource::open(dir.path(), TextKind::Comma).error().code, int(ErrorCode::NotAFile));
        const QString empty = write(dir, u"empty.csv"_s, {});
        const Result<TextSource::OpenedList> none = TextSource::open(empty, TextKind::Comma);
        QCOMPARE(none.error().code, int(ErrorCode::NoContacts));
        QVERIFY(none.error().message.contains(empty));

        const QString tabbed = write(dir, u"list.txt"_s, "Name\tMail, work\nAnn\tann@x.org\n");
        QCOMPARE(TextSource::open(tabbed, TextKind::Tab)->columns, (QStringList{u"Name"_s, u"Mail, work"_s}));
        QCOMPARE(TextSource::open(tabbed, TextKind::Comma)->columns,
                 (QStringList{u"Name\tMail"_s, u" work"_s})); // the same line split at its comma
    }

    // The wizard opens a list for its columns and reads its rows on a later Next: the rows are
    // those of the file as it is then.
    void readRows_readsTheFileAsItIsNow_andCountsItsLines()
    {
        QTemporaryDir dir;
        const QString path = write(dir, u"list.csv"_s, "Name,Email\nAnn,ann@x.org\n");
        const Result<TextSource::OpenedList> opened = TextSource::open(path, TextKind::Comma);
        FieldMap map;
        map.setColumns(opened->columns);
        map.choose(0, 0);
        map.choose(MergeFieldTable::EmailMapIndex, 1);
        write(dir, u"list.csv"_s, "Name,Email\nAnn,ann@x.org\nBob,bob@x.org\n");
        int lines = 0;
        const std::vector<Contact> rows =
            TextSource::readRows(path, TextKind::Comma, true, map, [&lines](int count) { lines = count; });
        QCOMPARE(lines, 3);
        QCOMPARE(rows.size(), size_t(2));
        QCOMPARE(rows.at(1).cells.at(0), u"bob@x.org"_s);
        QVERIFY(TextSource::readRows(dir.filePath(u"gone.csv"_s), TextKind::Comma, true, map).empty());
    }

    void remember_keepsEachKindsFileAndMapApart()
    {
        QTemporaryDir dir;
        const QString tabbed = write(dir, u"tab.txt"_s, "Col A\tCol B\n");
        const QString commas = write(dir, u"comma.csv"_s, "Col B,Col A\n");
        FieldMap tabMap;
        tabMap.setColumns({u"Col A"_s, u"Col B"_s});
        tabMap.choose(0, 1); // the first name from "Col B"
        TextSource::remember(TextKind::Tab, tabbed, tabMap);
        FieldMap commaMap;
        commaMap.setColumns({u"Col B"_s, u"Col A"_s});
        commaMap.choose(0, 1); // from "Col A"
        TextSource::remember(TextKind::Comma, commas, commaMap);

        QCOMPARE(SettingsStore::instance().value(Keys::TabFile), tabbed);
        QCOMPARE(SettingsStore::instance().value(Keys::CommaFile), commas);
        // Opened again, each file gets its own remembered map back.
        FieldMap again;
        again.setColumns({u"Col A"_s, u"Col B"_s});
        FieldMapMemory::PrepareMapPage(again, TextSource::mapSection(TextKind::Tab), tabbed, {});
        QCOMPARE(again.listIndex[0], 1);
        FieldMapMemory::PrepareMapPage(again, TextSource::mapSection(TextKind::Comma), commas, {});
        QCOMPARE(again.listIndex[0], 0);
    }
};

QTEST_GUILESS_MAIN(TextSourceTest)
#include "tst_text_source.moc"
