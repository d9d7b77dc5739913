#include "TestSupport.h"
#include "search/SearchPattern.h"
#include "search/SearchRun.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

void touch(const QString& path, int bytes = 10)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(bytes, 'x'));
}

// A document searcher that reports a hit for files whose bytes hold the words.
class ByteSearcher : public DocumentSearcher
{
public:
    Result<bool> SearchDocument(const QString& path, const WordSearch& search, const QString& backupCopy) override
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            return Result<bool>::failure(1, file.errorString());
        }
        const bool hit = file.readAll().contains(search.words.toUtf8());
        if (hit && search.replace) {
            QDir().mkpath(QFileInfo(backupCopy).absolutePath());
            QFile::copy(path, backupCopy);
        }
        return hit;
    }
    void finish() override {}
};

} // namespace

class SearchRunTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void criteria_followTheWindowsRules_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<bool>("remember");
        QTest::newRow("all files means Word documents") << u"*.*"_s << u"*.Doc"_s << true;
        QTest::newRow("a document name") << u"report.doc"_s << u"*report.doc"_s << true;
        QTest::newRow("any case") << u"Report.DOC"_s << u"*Report.DOC"_s << true;
        QTest::newRow("the modern ending") << u"*.docx"_s << u"**.docx"_s << true;
        QTest::newRow("another extension finds nothing") << u"*.txt"_s << QString() << false;
        QTest::newRow("a dotted name finds nothing") << u"notes.txt"_s << QString() << false;
        QTest::newRow("a bare word") << u"invoice"_s << u"*invoice*.Doc"_s << true;
        QTest::newRow("a star without a dot") << u"inv*"_s << u"*inv**.Doc"_s << true;
    }

    void criteria_followTheWindowsRules()
    {
        QFETCH(QString, typed);
        QFETCH(QString, pattern);
        QFETCH(bool, remember);
        const SearchPattern::Normalized normalized = SearchPattern::NormalizeCriteria(typed);
        QCOMPARE(normalized.pattern, pattern);
        QCOMPARE(normalized.remember, remember);
    }

    void fileNames_matchLikeTheWindowsDirectory()
    {
        using SearchPattern::matchesFileName;
        QVERIFY(matchesFileName(u"Letter.doc"_s, u"*.Doc"_s));
        QVERIFY(matchesFileName(u"Letter.docx"_s, u"*.Doc"_s)); // three letters also take the longer ending
        QVERIFY(matchesFileName(u"Letter.DOCM"_s, u"*.Doc"_s));
        QVERIFY(!matchesFileName(u"Letter.doc.bak"_s, u"*.Doc"_s));
        QVERIFY(!matchesFileName(u"Letter.odt"_s, u"*.Doc"_s));
        QVERIFY(matchesFileName(u"my invoice 7.docx"_s, u"*invoice*.Doc"_s));
        QVERIFY(matchesFileName(u"a.docx"_s, u"**.docx"_s));
        QVERIFY(!matchesFileName(u"a.docxx"_s, u"**.docx"_s));
        QVERIFY(!matchesFileName(u"a.doc"_s, QString()));

        QVERIFY(SearchPattern::like(u"A1.DOC"_s, u"[A-C]#.DOC"_s));
        QVERIFY(!SearchPattern::like(u"a1.doc"_s, u"[A-C]#.DOC"_s));
        QVERIFY(SearchPattern::like(u"X.DOC"_s, u"[!A-C]?DOC"_s));

        QVERIFY(SearchPattern::shouldRemember({u"*.Doc"_s}, u"invoice"_s));
        QVERIFY(!SearchPattern::shouldRemember({u"*.Doc"_s, u"Invoice"_s}, u" INVOICE "_s));
    }

    void walk_takesOwnFilesFirst_thenSubfolders_andSkipsTemporaryFiles()
    {
        QTemporaryDir dir;
        touch(dir.filePath(u"b.docx"_s));
        touch(dir.filePath(u"a.doc"_s));
        touch(dir.filePath(u"~$a.doc"_s));
        touch(dir.filePath(u"notes.txt"_s));
        touch(dir.filePath(u".hidden.doc"_s));
        touch(dir.filePath(u"sub/c.docx"_s));
        touch(dir.filePath(u"sub/deeper/d.doc"_s));
        QStringList found;
        SearchRun run({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, nullptr);
        run.WalkFolder(dir.path(), u"*.Doc"_s, true, std::nullopt);
        QCOMPARE(found, (QStringList{u"a.doc"_s, u"b.docx"_s, u"c.docx"_s, u"d.doc"_s}));

        found.clear();
        SearchRun flat({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, nullptr);
        flat.WalkFolder(dir.path() + u'/', u"*.Doc"_s, false, std::nullopt);
        QCOMPARE(found, (QStringList{u"a.doc"_s, u"b.docx"_s}));

        found.clear();
        SearchRun missing({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, nullptr);
        missing.WalkFolder(dir.filePath(u"no such folder"_s), u"*.Doc"_s, true, std::nullopt);
        QVERIFY(found.isEmpty());
    }

    void stop_isSeenBeforeSubfolders_andTheLoopRunsEveryFifthFolder()
    {
        QTemporaryDir dir;
        for (int i = 0; i < 12; ++i) {
            touch(dir.filePath(u"f%1/x%1.doc"_s.arg(i, 2, 10, QChar(u'0'))));
        }
        touch(dir.filePath(u"top.doc"_s));
        int pumps = 0;
        QStringList folders;
        SearchRun whole({[&](const QString& status) { folders << status; }, {}, [&] { ++pumps; }, {}}, nullptr);
        whole.WalkFolder(dir.path(), u"*.Doc"_s, true, std::nullopt);
        QCOMPARE(folders.size(), 13);
        QCOMPARE(pumps, 3); // folders 1, 6 and 11
        QCOMPARE(whole.hits(), 13);

        bool stop = false;
        QStringList found;
        SearchRun stopped({{},
                           [&](const ResultRow& row) {
                               found << row.name;
                               stop = true; // the user presses Stop while the first folder is walked
                           },
                           {},
                           [&] {
                               return stop;
                           }},
                          nullptr);
        stopped.WalkFolder(dir.path(), u"*.Doc"_s, true, std::nullopt);
        QCOMPARE(found, QStringList{u"top.doc"_s});
    }

    void rows_carryFolderDateSizeAndType()
    {
        QTemporaryDir dir;
        touch(dir.filePath(u"a.docx"_s), 1536);
        touch(dir.filePath(u"b.doc"_s), 1500);
        touch(dir.filePath(u"c.doc"_s), 512);
        const ResultRow a = ResultRow::fromFile(QFileInfo(dir.filePath(u"a.docx"_s)));
        QCOMPARE(a.name, u"a.docx"_s);
        QCOMPARE(a.folder, QDir(dir.path()).absolutePath());
        QCOMPARE(a.size, u"2 KB"_s);
        QVERIFY(!a.type.isEmpty());
        QVERIFY(
            QRegularExpression(u"^\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d [AP]M$"_s).match(a.modified).hasMatch());
        QCOMPARE(ResultRow::fromFile(QFileInfo(dir.filePath(u"b.doc"_s))).size, u"1 KB"_s);
        QCOMPARE(ResultRow::fromFile(QFileInfo(dir.filePath(u"c.doc"_s))).size, u"0 KB"_s);
    }

    void words_go_through_theDocumentSearcher_andBackupsAreKeptByPath()
    {
        QTemporaryDir dir;
        touch(dir.filePath(u"plain.doc"_s));
        QFile hit(dir.filePath(u"sub/hit.docx"_s));
        QDir().mkpath(dir.filePath(u"sub"_s));
        QVERIFY(hit.open(QIODevice::WriteOnly));
        hit.write("Dear customer");
        hit.close();
        ByteSearcher searcher;
        QStringList found;
        WordSearch words;
        words.words = u"customer"_s;
        words.replace = true;
        SearchRun run({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, &searcher);
        run.WalkFolder(dir.path(), u"*.Doc"_s, true, words);
        QCOMPARE(found, QStringList{u"hit.docx"_s});
        QVERIFY(!run.backupFolder().isEmpty());
        QVERIFY(QFile::exists(run.backupFolder() + u"/sub/hit.docx"_s));
        QVERIFY(!QFile::exists(run.backupFolder() + u"/plain.doc"_s));
    }
};

QTEST_GUILESS_MAIN(SearchRunTest)
#include "tst_search_run.moc"
