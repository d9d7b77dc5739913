#include "DocumentText.h"
#include "TestSupport.h"
#include "core/AppPaths.h"
#include "search/EngineSearcher.h"
#include "search/SearchPattern.h"
#include "search/SearchRun.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>

using namespace Qt::StringLiterals;

namespace {

void write(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

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

// A document searcher that takes 30 ms a document and finds nothing.
class SlowSearcher : public DocumentSearcher
{
public:
    Result<bool> SearchDocument(const QString&, const WordSearch&, const QString&) override
    {
        QThread::msleep(30);
        return false;
    }
    void finish() override {}
};

// A document searcher that reads documents on several threads at once, each taking its own time
// (a few milliseconds, by its name), and finds the files whose bytes hold the words.
class SideBySideSearcher : public ByteSearcher
{
public:
    Result<bool> SearchDocument(const QString& path, const WordSearch& search, const QString& backupCopy) override
    {
        const int running = ++m_running;
        int widest = m_widest.load();
        while (running > widest && !m_widest.compare_exchange_weak(widest, running)) {
        }
        QThread::msleep(qHash(path) % 7);
        const Result<bool> hit = ByteSearcher::SearchDocument(path, search, backupCopy);
        --m_running;
        return hit;
    }
    bool searchesBesideOthers(const QString&, const WordSearch&) const override { return true; }
    int widest() const { return m_widest; }

private:
    std::atomic<int> m_running = 0;
    std::atomic<int> m_widest = 0;
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

        QVERIFY(SearchPattern::shouldRemember({u"*.Doc"_s}, u"invoice"_s));
        QVERIFY(!SearchPattern::shouldRemember({u"*.Doc"_s, u"Invoice"_s}, u" INVOICE "_s));
    }

    void likePatterns_takeBothEndsOfARange_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<bool>("matches");
        QTest::newRow("lowest of the range") << u"A1.DOC"_s << u"[A-C]#.DOC"_s << true;
        QTest::newRow("highest of the range") << u"C1.DOC"_s << u"[A-C]#.DOC"_s << true;
        QTest::newRow("one above the range") << u"D1.DOC"_s << u"[A-C]#.DOC"_s << false;
        QTest::newRow("one below the range") << u"@1.DOC"_s << u"[A-C]#.DOC"_s << false;
        QTest::newRow("case counts") << u"a1.doc"_s << u"[A-C]#.DOC"_s << false;
        QTest::newRow("no digit for #") << u"AB.DOC"_s << u"[A-C]#.DOC"_s << false;
        QTest::newRow("negated, outside") << u"X.DOC"_s << u"[!A-C]?DOC"_s << true;
        QTest::newRow("negated, highest") << u"C.DOC"_s << u"[!A-C]?DOC"_s << false;
        QTest::newRow("single letters") << u"B7"_s << u"[XBZ]#"_s << true;
        QTest::newRow("star backtracks") << u"a.b.doc"_s << u"*.doc"_s << true;
        QTest::newRow("text left over") << u"a.docx"_s << u"*.doc"_s << false;
        QTest::newRow("unclosed list") << u"A"_s << u"[A"_s << false;
    }

    void likePatterns_takeBothEndsOfARange()
    {
        QFETCH(QString, text);
        QFETCH(QString, pattern);
        QFETCH(bool, matches);
        QCOMPARE(SearchPattern::like(text, pattern), matches);
    }

    void walk_takesOwnFilesFirst_thenSubfolders_andSkipsTemporaryFiles()
    {
        QTemporaryDir dir;
        touch(dir.filePath(u"b.docx"_s));
        touch(dir.filePath(u"a.doc"_s));
        touch(dir.filePath(u"C.doc"_s)); // names are taken in order whatever their case
        touch(dir.filePath(u"~$a.doc"_s));
        touch(dir.filePath(u"notes.txt"_s));
        touch(dir.filePath(u".hidden.doc"_s));
        touch(dir.filePath(u"sub/c.docx"_s));
        touch(dir.filePath(u"sub/deeper/d.doc"_s));
        touch(dir.filePath(u".hidden/e.doc"_s));
        // A link back to the top of the tree is not followed round in a circle.
        QVERIFY(QFile::link(dir.path(), dir.filePath(u"sub/deeper/loop"_s)));
        QStringList found;
        SearchRun run({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, nullptr);
        run.WalkFolder(dir.path(), u"*.Doc"_s, true, std::nullopt);
        QCOMPARE(found, (QStringList{u"a.doc"_s, u"b.docx"_s, u"C.doc"_s, u"c.docx"_s, u"d.doc"_s}));

        found.clear();
        SearchRun flat({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, nullptr);
        flat.WalkFolder(dir.path() + u'/', u"*.Doc"_s, false, std::nullopt);
        QCOMPARE(found, (QStringList{u"a.doc"_s, u"b.docx"_s, u"C.doc"_s}));

        found.clear();
        SearchRun missing({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, nullptr);
        missing.WalkFolder(dir.filePath(u"no such folder"_s), u"*.Doc"_s, true, std::nullopt);
        QVERIFY(found.isEmpty());
    }

    void stop_endsTheWalkAfterTheCurrentFoldersFiles()
    {
        QTemporaryDir dir;
        for (int i = 0; i < 6; ++i) {
            touch(dir.filePath(u"f%1/x%1.doc"_s.arg(i)));
        }
        touch(dir.filePath(u"f2/y2.doc"_s));
        touch(dir.filePath(u"f2/sub/z2.doc"_s));
        touch(dir.filePath(u"top.doc"_s));
        bool stop = false;
        QStringList found;
        SearchRun stopped({{},
                           [&](const ResultRow& row) {
                               found << row.name;
                               stop = stop || row.name == u"x2.doc"_s; // Stop pressed while f2 is walked
                           },
                           {},
                           [&] {
                               return stop;
                           }},
                          nullptr);
        stopped.WalkFolder(dir.path(), u"*.Doc"_s, true, std::nullopt);
        // f2's own files are finished; neither its subfolder nor the folders after it are entered.
        QCOMPARE(found, (QStringList{u"top.doc"_s, u"x0.doc"_s, u"x1.doc"_s, u"x2.doc"_s, u"y2.doc"_s}));
    }

    void theEventLoop_runsEveryFifthFolder_andWhenADocumentKeepsItWaiting()
    {
        QTemporaryDir dir;
        for (int i = 0; i < 12; ++i) {
            touch(dir.filePath(u"f%1/x%1.doc"_s.arg(i, 2, 10, QChar(u'0'))));
        }
        touch(dir.filePath(u"top.doc"_s));
        QStringList folders;
        QStringList pumpedAt;
        SearchRun whole({[&](const QString& status) { folders << status; },
                         {},
                         [&] { pumpedAt << QString::number(folders.size()); },
                         {}},
                        nullptr);
        whole.setPumpInterval(3600000);
        whole.WalkFolder(dir.path(), u"*.Doc"_s, true, std::nullopt);
        QCOMPARE(folders.size(), 13);
        QCOMPARE(pumpedAt, (QStringList{u"0"_s, u"5"_s, u"10"_s})); // before folders 1, 6 and 11
        QCOMPARE(whole.hits(), 13);

        // One folder of slow documents: the loop still runs about every 40 ms.
        QTemporaryDir slow;
        for (int i = 0; i < 6; ++i) {
            touch(slow.filePath(u"d%1.docx"_s.arg(i)));
        }
        SlowSearcher searcher;
        int pumps = 0;
        SearchRun run({{}, {}, [&] { ++pumps; }, {}}, &searcher);
        run.setPumpInterval(40);
        WordSearch words;
        words.words = u"x"_s;
        run.WalkFolder(slow.path(), u"*.Doc"_s, false, words);
        QVERIFY2(pumps >= 3 && pumps <= 7, qPrintable(QString::number(pumps))); // 6 x 30 ms, one pump on entry
    }

    void documentsSearchedSideBySide_giveTheWalksOrder_andTheWindowLives()
    {
        QTemporaryDir dir;
        QStringList expected; // the walk's order: a folder's own files, then its subfolders
        for (const QString& folder : {u""_s, u"a/"_s, u"a/deep/"_s, u"b/"_s}) {
            for (int i = 0; i < 30; ++i) {
                const QString name = folder + u"d%1.docx"_s.arg(i, 2, 10, QChar(u'0'));
                QFile file(dir.filePath(name));
                QDir().mkpath(QFileInfo(file).absolutePath());
                QVERIFY(file.open(QIODevice::WriteOnly));
                file.write(i % 3 == 0 ? "a zebra" : "nothing");
                if (i % 3 == 0) {
                    expected << name;
                }
            }
        }
        SideBySideSearcher searcher;
        QStringList found;
        QStringList statuses;
        int pumps = 0;
        WordSearch words;
        words.words = u"zebra"_s;
        SearchRun run({[&](const QString& status) { statuses << status; },
                       [&](const ResultRow& row) { found << QDir(dir.path()).relativeFilePath(row.path); },
                       [&] { ++pumps; },
                       {}},
                      &searcher);
        run.setPumpInterval(20);
        const RunOutcome outcome = run.WalkFolder(dir.path(), u"*.Doc"_s, true, words);
        QCOMPARE(found, expected);
        QCOMPARE(outcome.ending, RunOutcome::Ending::Completed);
        QCOMPARE(outcome.done, int(expected.size()));
        QVERIFY(searcher.widest() >= qMin(2, QThread::idealThreadCount()));
        // Each document's status comes right after its folder's, in the walk's order.
        QCOMPARE(statuses.size(), 4 + 120);
        QCOMPARE(statuses.at(1), u"Processing document: "_s + dir.filePath(u"d00.docx"_s));
        QCOMPARE(statuses.at(31), QDir::toNativeSeparators(dir.filePath(u"a"_s)));
        QCOMPARE(statuses.last(), u"Processing document: "_s + dir.filePath(u"b/d29.docx"_s));
        // 120 documents of 3 ms each on average: the loop ran every 20 ms or so meanwhile.
        QVERIFY2(pumps >= 120 * 3 / QThread::idealThreadCount() / 20 / 2, qPrintable(QString::number(pumps)));

        // Stop pressed at the first hit of folder a: the rows are the walk's first rows, and the
        // run says it was stopped.
        found.clear();
        bool stop = false;
        SearchRun stopped({{},
                           [&](const ResultRow& row) {
                               found << QDir(dir.path()).relativeFilePath(row.path);
                               stop = stop || row.path.endsWith(u"a/d00.docx"_s);
                           },
                           {},
                           [&] {
                               return stop;
                           }},
                          &searcher);
        QCOMPARE(stopped.WalkFolder(dir.path(), u"*.Doc"_s, true, words).ending, RunOutcome::Ending::Cancelled);
        QVERIFY(found.size() < expected.size());
        QCOMPARE(found, expected.mid(0, found.size()));
    }

    void rows_carryFolderDateSizeAndType()
    {
        QTemporaryDir dir;
        touch(dir.filePath(u"a.docx"_s), 1536);
        touch(dir.filePath(u"b.doc"_s), 1500);
        touch(dir.filePath(u"c.doc"_s), 512);
        QFile file(dir.filePath(u"a.docx"_s));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9)), QFileDevice::FileModificationTime));
        file.close();
        const ResultRow a = ResultRow::fromFile(QFileInfo(dir.filePath(u"a.docx"_s)));
        QCOMPARE(a.path, QDir(dir.path()).absoluteFilePath(u"a.docx"_s));
        QCOMPARE(a.name, u"a.docx"_s);
        QCOMPARE(a.folder, QDir(dir.path()).absolutePath());
        QCOMPARE(a.modified, u"05/03/2024 02:07:09 PM"_s);
        QCOMPARE(a.size, u"2 KB"_s); // 1.5 rounds to the even 2
        QVERIFY(!a.type.isEmpty());
        QCOMPARE(ResultRow::fromFile(QFileInfo(dir.filePath(u"b.doc"_s))).size, u"1 KB"_s);
        QCOMPARE(ResultRow::fromFile(QFileInfo(dir.filePath(u"c.doc"_s))).size, u"0 KB"_s); // 0.5 rounds to 0

        // 40 MB would overflow a 16-bit count of kilobytes; it keeps its size.
        QFile large(dir.filePath(u"large.doc"_s));
        QVERIFY(large.open(QIODevice::WriteOnly));
        QVERIFY(large.resize(qint64(40) * 1024 * 1024));
        large.close();
        QCOMPARE(ResultRow::fromFile(QFileInfo(large.fileName())).size, u"40960 KB"_s);
    }

    void words_go_through_theDocumentSearcher_andBackupsAreKeptByPath()
    {
        QTemporaryDir dir;
        touch(dir.filePath(u"plain.doc"_s));
        write(dir.filePath(u"sub/hit.docx"_s), "Dear customer");
        ByteSearcher searcher;
        QStringList found;
        QStringList statuses;
        WordSearch words;
        words.words = u"customer"_s;
        words.replace = true;
        SearchRun run({[&](const QString& status) { statuses << status; },
                       [&](const ResultRow& row) { found << row.name; },
                       {},
                       {}},
                      &searcher);
        run.WalkFolder(dir.path(), u"*.Doc"_s, true, words);
        QCOMPARE(found, QStringList{u"hit.docx"_s});
        QVERIFY(statuses.contains(u"Processing document: "_s + dir.filePath(u"sub/hit.docx"_s)));
        QVERIFY(statuses.contains(QDir::cleanPath(dir.filePath(u"sub"_s))));
        QVERIFY(run.backupFolder().startsWith(AppPaths::applicationFolder() + u"/Backups/"_s));
        QVERIFY(QFile::exists(run.backupFolder() + u"/sub/hit.docx"_s));
        QVERIFY(!QFile::exists(run.backupFolder() + u"/plain.doc"_s));

        // A replace run without a hit keeps no folder.
        const QStringList before = QDir(AppPaths::applicationFolder() + u"/Backups"_s).entryList(QDir::Dirs);
        words.words = u"nowhere"_s;
        SearchRun empty({{}, {}, {}, {}}, &searcher);
        empty.WalkFolder(dir.path(), u"*.Doc"_s, true, words);
        QCOMPARE(empty.backupFolder(), QString());
        QCOMPARE(QDir(AppPaths::applicationFolder() + u"/Backups"_s).entryList(QDir::Dirs), before);
    }

    void backups_ofTwoRunsInOneSecond_areKeptApart_andNeverSearchedAgain()
    {
        // The tree is the application folder itself, so the run's own backup folder lies in it.
        const QString root = AppPaths::applicationFolder();
        write(root + u"/letter.docx"_s, "Dear customer");
        ByteSearcher searcher;
        WordSearch words;
        words.words = u"customer"_s;
        words.replace = true;
        QStringList backups;
        int hits = 0;
        for (int run = 0; run < 2; ++run) {
            SearchRun twice({{}, {}, {}, {}}, &searcher);
            twice.WalkFolder(root, u"*.Doc"_s, true, words);
            backups << twice.backupFolder();
            hits += twice.hits();
        }
        QCOMPARE(hits, 2); // the copies in the backup folders are not hits of their own
        QVERIFY(!backups.at(0).isEmpty());
        QVERIFY(!backups.at(1).isEmpty());
        QVERIFY(backups.at(0) != backups.at(1));
        QVERIFY(QFile::exists(backups.at(0) + u"/letter.docx"_s));
        QVERIFY(QFile::exists(backups.at(1) + u"/letter.docx"_s));
        QVERIFY(!QFile::exists(backups.at(1) + u"/Backups"_s));

        // Chosen as the tree itself, the backups are searched, except this run's own folder.
        int copies = 0;
        for (QDirIterator it(root + u"/Backups"_s, {u"*.docx"_s}, QDir::Files, QDirIterator::Subdirectories);
             it.hasNext(); it.next()) {
            ++copies;
        }
        QVERIFY(copies >= 2);
        SearchRun inBackups({{}, {}, {}, {}}, &searcher);
        inBackups.WalkFolder(root + u"/Backups"_s, u"*.Doc"_s, true, words);
        QCOMPARE(inBackups.hits(), copies);
    }

    void aReplaceRun_readsBesideOthers_andChangesEachHitInItsTurn()
    {
        // Documents of the in-process engine: every third holds the word; a link in the last
        // folder names the first hit again, and is read while that hit may still be unchanged.
        QTemporaryDir dir;
        const QString hit = dir.filePath(u"hit.docx"_s);
        const QString miss = dir.filePath(u"miss.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, hit, u"A zebra here|and a zebra there"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, miss, u"Nothing to see"_s));
        const QString tree = dir.filePath(u"tree"_s);
        QStringList hits;
        const auto plant = [&] {
            hits.clear();
            for (const QString& folder : {u"a/"_s, u"b/"_s}) {
                QDir().mkpath(tree + u'/' + folder);
                for (int i = 0; i < 12; ++i) {
                    const QString name = folder + u"d%1.docx"_s.arg(i, 2, 10, QChar(u'0'));
                    QFile::remove(tree + u'/' + name);
                    QVERIFY(QFile::copy(i % 3 == 0 ? hit : miss, tree + u'/' + name));
                    if (i % 3 == 0) {
                        hits << name;
                    }
                }
            }
        };
        plant();
        QDir().mkpath(tree + u"/c"_s);
        QVERIFY(QFile::link(tree + u"/a/d00.docx"_s, tree + u"/c/link.docx"_s));
        EngineSearcher searcher;
        WordSearch words;
        words.words = u"zebra"_s;
        words.replace = true;
        words.replacement = u"horse"_s;
        QStringList found;
        bool stop = false;
        const auto stopAtFirstRow = [&](const ResultRow& row) {
            found << QDir(tree).relativeFilePath(row.path);
            stop = true;
        };
        SearchRun run({{}, [&](const ResultRow& row) { found << QDir(tree).relativeFilePath(row.path); }, {}, {}},
                      &searcher);
        QCOMPARE(run.WalkFolder(tree, u"*.Doc"_s, true, words).done, int(hits.size()));
        QCOMPARE(found, hits); // the link's document no longer held the word in its turn
        for (const QString& name : std::as_const(hits)) {
            QCOMPARE(TestSupport::documentText(tree + u'/' + name), u"A horse here\rand a horse there\r"_s);
        }
        QCOMPARE(TestSupport::documentText(tree + u"/a/d01.docx"_s), u"Nothing to see\r"_s);

        // Stop at the first row: the rest of that folder is changed, no later folder.
        plant();
        found.clear();
        SearchRun stopped({{},
                           stopAtFirstRow,
                           {},
                           [&] {
                               return stop;
                           }},
                          &searcher);
        QCOMPARE(stopped.WalkFolder(tree, u"*.Doc"_s, true, words).ending, RunOutcome::Ending::Cancelled);
        QCOMPARE(found, hits.mid(0, 4));
        QVERIFY(!TestSupport::documentText(tree + u"/a/d09.docx"_s).contains(u"zebra"_s));
        QVERIFY(TestSupport::documentText(tree + u"/b/d00.docx"_s).contains(u"zebra"_s));
    }
};

QTEST_GUILESS_MAIN(SearchRunTest)
#include "tst_search_run.moc"
