#include "DocumentText.h"
#include "TestSupport.h"
#include "core/AppPaths.h"
#include "search/EngineSearcher.h"
#include "search/SearchPattern.h"
#include "search/SearchRun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

void plant(const QTemporaryDir& dir, const QStringList& names)
{
    for (const QString& name : names) {
        QVERIFY(TestSupport::writeFile(dir.filePath(name), "xxxxxxxxxx"));
    }
}

// A document searcher that takes 30 ms a document and finds nothing, one document at a time or
// several side by side.
class SlowSearcher : public DocumentSearcher
{
public:
    explicit SlowSearcher(bool sideBySide)
        : m_sideBySide(sideBySide)
    {
    }
    Result<bool> SearchDocument(const QString&, const WordSearch&, const QString&) override
    {
        QThread::msleep(30);
        return false;
    }
    bool searchesBesideOthers(const QString&) const override { return m_sideBySide; }
    void finish() override {}

private:
    bool m_sideBySide;
};

WordSearch wordsOf(const QString& words, bool replace = false, const QString& replacement = u"horse"_s)
{
    WordSearch search;
    search.words = words;
    search.replace = replace;
    search.replacement = replacement;
    return search;
}

// The names a run finds in the tree, in its order; the run stops once `stopAt` is found.
QStringList walk(const QString& tree, bool subfolders, const QString& stopAt = {})
{
    QStringList found;
    SearchRun run({{},
                   [&](const ResultRow& row) { found << row.name; },
                   {},
                   [&] {
                       return found.contains(stopAt);
                   }},
                  nullptr);
    run.WalkFolder(tree, u"*.Doc"_s, subfolders, std::nullopt);
    return found;
}

} // namespace

class SearchRunTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    // Copies of a document holding "zebra" twice (every third name) or none below the tree, with
    // their folders; gives the names of the hits.
    QStringList plantDocuments(const QString& tree, const QStringList& names)
    {
        QStringList hits;
        for (int i = 0; i < names.size(); ++i) {
            const QString path = tree + u'/' + names.at(i);
            QDir().mkpath(QFileInfo(path).path());
            QFile::remove(path);
            QFile::copy(m_dir.filePath(i % 3 == 0 ? u"hit.docx"_s : u"miss.docx"_s), path);
            if (i % 3 == 0) {
                hits << names.at(i);
            }
        }
        return hits;
    }

    static QStringList numbered(const QStringList& folders, int count)
    {
        QStringList names;
        for (const QString& folder : folders) {
            for (int i = 0; i < count; ++i) {
                names << folder + u"d%1.docx"_s.arg(i, 2, 10, QChar(u'0'));
            }
        }
        return names;
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        QVERIFY(TestSupport::makeDocx(u"plain"_s, m_dir.filePath(u"hit.docx"_s), u"A zebra here|and a zebra there"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, m_dir.filePath(u"miss.docx"_s), u"Nothing to see"_s));
    }

    void criteria_followTheWindowsRules()
    {
        const struct
        {
            QString typed, pattern;
            bool remember;
        } criteria[] = {
            {u"*.docx"_s, u"**.docx"_s, true},
            {u"*.txt"_s, QString(), false},
            {u"invoice"_s, u"*invoice*.Doc"_s, true},
        };
        for (const auto& row : criteria) {
            const SearchPattern::Normalized normalized = SearchPattern::NormalizeCriteria(row.typed);
            QVERIFY2(normalized.pattern == row.pattern && normalized.remember == row.remember, qPrintable(row.typed));
        }

        // File names take Windows' rule for three-letter endings; `like` is the pattern matcher.
        const struct
        {
            QString name, pattern;
            bool fileName, matches;
        } names[] = {
            {u"Letter.docx"_s, u"*.Doc"_s, true, true},
            {u"Letter.doc.bak"_s, u"*.Doc"_s, true, false},
            {u"my invoice 7.docx"_s, u"*invoice*.Doc"_s, true, true},
            {u"a.docxx"_s, u"**.docx"_s, true, false},
            {u"A1.DOC"_s, u"[A-C]#.DOC"_s, false, true},
            {u"C1.DOC"_s, u"[A-C]#.DOC"_s, false, true},
            {u"D1.DOC"_s, u"[A-C]#.DOC"_s, false, false},
            {u"C.DOC"_s, u"[!A-C]?DOC"_s, false, false},
            {u"a.docx"_s, u"*.doc"_s, false, false},
            {u"A"_s, u"[A"_s, false, false},
        };
        for (const auto& row : names) {
            const bool matches = row.fileName ? SearchPattern::matchesFileName(row.name, row.pattern)
                                              : SearchPattern::like(row.name, row.pattern);
            QVERIFY2(matches == row.matches, qPrintable(row.name + u" against "_s + row.pattern));
        }
    }

    void walk_takesOwnFilesFirst_thenSubfolders_skipsTemporaryFiles_andStopsAfterTheCurrentFolder()
    {
        QTemporaryDir dir;
        plant(dir, {u"b.docx"_s, u"a.doc"_s, u"C.doc"_s, u"~$a.doc"_s, u"notes.txt"_s, u".hidden.doc"_s, u"sub/y.doc"_s,
                    u"sub/c.docx"_s, u"sub/deeper/d.doc"_s, u".hidden/e.doc"_s, u"sub2/f.doc"_s});
        // A link back to the top of the tree is not followed round in a circle.
        QVERIFY(QFile::link(dir.path(), dir.filePath(u"sub/deeper/loop"_s)));
        QCOMPARE(walk(dir.path(), true).join(u' '), u"a.doc b.docx C.doc c.docx y.doc d.doc f.doc"_s);
        QCOMPARE(walk(dir.path() + u'/', false).join(u' '), u"a.doc b.docx C.doc"_s);
        QVERIFY(walk(dir.filePath(u"no such folder"_s), true).isEmpty());
        // Stop pressed at c.docx: the files of sub are finished, neither its subfolder nor sub2 is entered.
        QCOMPARE(walk(dir.path(), true, u"c.docx"_s).join(u' '), u"a.doc b.docx C.doc c.docx y.doc"_s);
    }

    void theEventLoop_runsWhenADocumentKeepsItWaiting()
    {
        // Documents of 30 ms each, one at a time or side by side on every processor: the loop runs
        // about every 40 ms meanwhile.
        QTemporaryDir slow;
        const int documents = 3 * QThread::idealThreadCount();
        for (int i = 0; i < documents; ++i) {
            plant(slow, {u"d%1.docx"_s.arg(i)});
        }
        for (const bool sideBySide : {false, true}) {
            SlowSearcher searcher(sideBySide);
            int pumps = 0;
            SearchRun run({{}, {}, [&] { ++pumps; }, {}}, &searcher);
            run.setPumpInterval(40);
            run.WalkFolder(slow.path(), u"*.Doc"_s, false, wordsOf(u"zebra"_s));
            QVERIFY2(pumps >= 2, qPrintable(u"%1 side by side: %2"_s.arg(sideBySide).arg(pumps)));
        }
    }

    void rows_keepTheSizeOfLargeFiles()
    {
        // 40 MB would overflow a 16-bit count of kilobytes; it keeps its size.
        QTemporaryDir dir;
        QFile large(dir.filePath(u"large.doc"_s));
        QVERIFY(large.open(QIODevice::WriteOnly) && large.resize(qint64(40) * 1024 * 1024));
        large.close();
        QCOMPARE(ResultRow::fromFile(QFileInfo(large.fileName())).size, u"40960 KB"_s);
    }

    void backups_ofTwoRunsInOneSecond_areKeptApart_andNeverSearchedAgain()
    {
        // The tree is the application folder itself, so the runs' backup folders lie in it. Every
        // document is dated a day back: the copy keeps that date, a document without a hit too.
        const QString root = AppPaths::applicationFolder();
        plantDocuments(root, {u"sub/hit.docx"_s, u"miss.docx"_s});
        const QDateTime dayBefore = QDateTime::currentDateTime().addDays(-1);
        QByteArray before[2];
        for (const QString& name : {u"/sub/hit.docx"_s, u"/miss.docx"_s}) {
            QFile file(root + name);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(dayBefore, QFileDevice::FileModificationTime));
            before[name.contains(u"miss")] = file.readAll();
        }
        EngineSearcher searcher;
        QStringList found;
        QStringList backups;
        const auto replace = [&] {
            SearchRun run({{}, [&](const ResultRow& row) { found << row.name; }, {}, {}}, &searcher);
            run.WalkFolder(root, u"*.Doc"_s, true, wordsOf(u"zebra"_s, true, u"zebra"_s));
            backups << run.backupFolder();
        };
        replace();
        replace();
        // The copies in the first run's backup folder are no hits of the second run.
        QCOMPARE(found, (QStringList{u"hit.docx"_s, u"hit.docx"_s}));
        QVERIFY(backups.at(0).startsWith(root + u"/Backups/"_s));
        QVERIFY(backups.at(0) != backups.at(1)); // two runs in one second are kept apart
        QCOMPARE(TestSupport::readFile(backups.at(0) + u"/sub/hit.docx"_s), before[0]);
        QCOMPARE(QFileInfo(backups.at(0) + u"/sub/hit.docx"_s).lastModified(), dayBefore);
        QVERIFY(QFile::exists(backups.at(1) + u"/sub/hit.docx"_s));
        QVERIFY(!QFile::exists(backups.at(0) + u"/miss.docx"_s));
        QCOMPARE(TestSupport::readFile(root + u"/miss.docx"_s), before[1]);
        QCOMPARE(QFileInfo(root + u"/miss.docx"_s).lastModified(), dayBefore);
    }

    void documentsReadSideBySide_giveTheWalksOrder_andAReplaceChangesEachHitInItsTurn()
    {
        EngineSearcher searcher;
        QStringList found;
        QStringList statuses;
        QString stopAt; // the row after which Stop is pressed
        const auto search = [&](const QString& tree, bool replace) {
            found.clear();
            statuses.clear();
            SearchRun run({[&](const QString& status) { statuses << status; },
                           [&](const ResultRow& row) { found << QDir(tree).relativeFilePath(row.path); },
                           {},
                           [&] {
                               return !stopAt.isEmpty() && found.contains(stopAt);
                           }},
                          &searcher);
            return run.WalkFolder(tree, u"*.Doc"_s, true, wordsOf(u"zebra"_s, replace));
        };
        // The walk's order: a folder's own files, then its subfolders; each document's status
        // comes right after its folder's.
        const QString tree = m_dir.filePath(u"side"_s);
        const QStringList expected = plantDocuments(tree, numbered({u""_s, u"a/"_s, u"a/deep/"_s, u"b/"_s}, 30));
        RunOutcome outcome = search(tree, false);
        QCOMPARE(found, expected);
        QCOMPARE(outcome.ending, RunOutcome::Ending::Completed);
        QCOMPARE(outcome.done, int(expected.size()));
        QCOMPARE(statuses.size(), 4 + 120);
        QCOMPARE(statuses.at(1), u"Processing document: "_s + tree + u"/d00.docx"_s);
        QCOMPARE(statuses.at(31), QDir::toNativeSeparators(tree + u"/a"_s));
        // Stop pressed at the first hit of folder a: the rows are the walk's first rows.
        stopAt = u"a/d00.docx"_s;
        outcome = search(tree, false);
        QCOMPARE(outcome.ending, RunOutcome::Ending::Cancelled);
        QVERIFY(found.size() < expected.size());
        QCOMPARE(found, expected.mid(0, found.size()));

        // A replace run. Every third document holds the word; a link in the last folder names the
        // first hit again, and is read while that hit may still be unchanged.
        const QString changed = m_dir.filePath(u"replace"_s);
        const QStringList names = numbered({u"a/"_s, u"b/"_s}, 12);
        QStringList hits = plantDocuments(changed, names);
        QDir().mkpath(changed + u"/c"_s);
        QVERIFY(QFile::link(changed + u"/a/d00.docx"_s, changed + u"/c/link.docx"_s));
        stopAt.clear();
        QCOMPARE(search(changed, true).done, int(hits.size()));
        QCOMPARE(found, hits); // the link's document no longer held the word in its turn
        for (const QString& name : std::as_const(hits)) {
            QCOMPARE(TestSupport::documentText(changed + u'/' + name), u"A horse here\rand a horse there\r"_s);
        }
        QCOMPARE(TestSupport::documentText(changed + u"/a/d01.docx"_s), u"Nothing to see\r"_s);
        // Stop at the first row: the rest of that folder is changed, no later folder.
        hits = plantDocuments(changed, names);
        stopAt = hits.first();
        QCOMPARE(search(changed, true).ending, RunOutcome::Ending::Cancelled);
        QCOMPARE(found, hits.mid(0, 4));
        QVERIFY(!TestSupport::documentText(changed + u"/a/d09.docx"_s).contains(u"zebra"_s));
        QVERIFY(TestSupport::documentText(changed + u"/b/d00.docx"_s).contains(u"zebra"_s));
    }
};

QTEST_GUILESS_MAIN(SearchRunTest)
#include "tst_search_run.moc"
