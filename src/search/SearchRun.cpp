#include "SearchRun.h"

#include "SearchPattern.h"
#include "core/AppPaths.h"
#include "wordlink/OoxmlPackage.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QMimeDatabase>

#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// Documents searched ahead of the walk's events, for each thread of the pool, and documents in a
// batch.
constexpr std::size_t AheadPerThread = 16;
constexpr qsizetype BatchSize = 8;

// The folder of the backup folders of all runs.
QString backupsRoot()
{
    return AppPaths::applicationFolder() + u"/Backups"_s;
}

} // namespace

ResultRow ResultRow::fromFile(const QFileInfo& file)
{
    ResultRow row;
    row.path = file.absoluteFilePath();
    row.name = file.fileName();
    row.folder = row.path.left(row.path.lastIndexOf(u'/'));
    row.modified = QLocale(QLocale::English).toString(file.lastModified(), u"dd/MM/yyyy hh:mm:ss AP"_s);
    row.size =
        QString::number(static_cast<qint64>(std::nearbyint(static_cast<double>(file.size()) / 1024.0))) + u" KB"_s;
    static const QMimeDatabase mimeTypes;
    row.type = mimeTypes.mimeTypeForFile(file).comment();
    return row;
}

SearchRun::SearchRun(Events events, DocumentSearcher* searcher)
    : m_events(std::move(events))
    , m_searcher(searcher)
    , m_started(QDateTime::currentDateTime())
    , m_backupsCanonical(QFileInfo(backupsRoot()).canonicalFilePath())
{
}

RunOutcome SearchRun::WalkFolder(const QString& folder, const QString& pattern, bool subfolders,
                                 const std::optional<WordSearch>& words)
{
    m_root = QDir::cleanPath(folder);
    m_words = words;
    m_sincePump.start();
    walk(folder, pattern, subfolders);
    giveEvents(0);
    if (!m_backupFolder.isEmpty() && !m_backupUsed) {
        QDir().rmdir(m_backupFolder); // reserved for a change that did not come
    }
    return {m_stopped ? RunOutcome::Ending::Cancelled : RunOutcome::Ending::Completed, {}, m_hits};
}

void SearchRun::inTurn(std::function<void()> event)
{
    if (m_steps.empty()) {
        event();
    } else {
        m_steps.push_back({std::move(event), {}, 0, {}});
    }
}

void SearchRun::giveEvents(std::size_t waiting)
{
    while (!m_steps.empty()) {
        Step& next = m_steps.front();
        const bool searching =
            next.answers.valid() && next.answers.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
        if (searching && m_steps.size() <= waiting) {
            return;
        }
        if (searching) {
            startBatch(); // the answer waited for may be in the batch being filled
            // The window lives on while a slow document is read.
            while (next.answers.wait_for(std::chrono::milliseconds(
                       qMax<qint64>(1, m_pumpInterval - m_sincePump.elapsed()))) != std::future_status::ready) {
                pump();
            }
        }
        Step step = std::move(next);
        m_steps.pop_front();
        if (step.answers.valid()) {
            const Result<bool>& found = step.answers.get().at(static_cast<std::size_t>(step.index));
            if (m_words->replace && found.ok() && found.value()) {
                SearchDocument(step.document, *m_words);
            } else {
                if (m_events.status) {
                    m_events.status(u"Processing document: "_s + step.document);
                }
                showHit(step.document, found);
            }
            pumpWhenOverdue();
        } else {
            step.event();
        }
    }
}

void SearchRun::walk(const QString& folder, const QString& pattern, bool subfolders)
{
    const QString path = folder.endsWith(u'/') ? folder : folder + u'/';
    const QFileInfo info(path);
    if (!info.isDir()) {
        return;
    }
    // A folder reached twice through a link is walked once; the copies this run keeps of the
    // documents it changes are not searched again, also when the tree holds the backups.
    const QString canonical = info.canonicalFilePath();
    if (m_visited.contains(canonical) || canonical == m_backupCanonical) {
        return;
    }
    m_visited.insert(canonical);

    if (m_folderTick % 5 != 0) {
        ++m_folderTick;
    } else {
        m_folderTick = 1;
        inTurn([this] { pump(); });
    }
    if (m_events.status) {
        inTurn([this, path] { m_events.status(QDir::toNativeSeparators(QDir::cleanPath(path))); });
    }
    const QDir dir(path);
    if (m_words && m_words->replace) {
        wordlink::OoxmlPackage::removeUnfinishedSaves(path);
    }
    const QFileInfoList files = dir.entryInfoList(QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& file : files) {
        if (!SearchPattern::matchesFileName(file.fileName(), pattern)) {
            continue;
        }
        if (m_words && m_searcher != nullptr && m_searcher->searchesBesideOthers(file.absoluteFilePath())) {
            searchBesideOthers(file.absoluteFilePath(), *m_words);
            continue;
        }
        inTurn([this, file] {
            if (m_words) {
                SearchDocument(file.absoluteFilePath(), *m_words);
            } else {
                AddResultRow(file);
            }
            pumpWhenOverdue();
        });
    }
    startBatch();
    if (!subfolders) {
        return;
    }
    const QFileInfoList children = dir.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& child : children) {
        // A replace run gives this folder's documents their turn before it looks for a stop, so
        // that no document of a later folder is changed after the stop.
        if (m_words && m_words->replace) {
            giveEvents(0);
        }
        if (stopRequested()) {
            m_stopped = true;
            return;
        }
        // The copies kept by replace runs are not searched as a part of a larger tree.
        if (child.canonicalFilePath() == m_backupsCanonical) {
            continue;
        }
        walk(child.absoluteFilePath(), pattern, subfolders);
    }
}

void SearchRun::pump()
{
    if (m_events.pump) {
        m_events.pump();
    }
    m_sincePump.restart();
}

void SearchRun::pumpWhenOverdue()
{
    if (m_sincePump.elapsed() >= m_pumpInterval) {
        pump();
    }
}

bool SearchRun::stopRequested() const
{
    return m_events.stopRequested && m_events.stopRequested();
}

void SearchRun::reserveBackupFolder()
{
    const QString parent = backupsRoot();
    QDir().mkpath(parent);
    m_backupsCanonical = QFileInfo(parent).canonicalFilePath();
    const QString stamp = parent + u'/' + m_started.toString(u"yyyy-MM-dd hh.mm.ss"_s);
    m_backupFolder = stamp;
    // A run of the same second (this window's or another program's) keeps its own copies.
    for (int number = 2; !QDir().mkdir(m_backupFolder) && number <= 1000; ++number) {
        m_backupFolder = stamp + u" (%1)"_s.arg(number);
    }
    m_backupCanonical = QFileInfo(m_backupFolder).canonicalFilePath();
}

QString SearchRun::backupCopyOf(const QString& path)
{
    if (m_backupFolder.isEmpty()) {
        reserveBackupFolder();
    }
    const QString relative = QDir(m_root).relativeFilePath(path);
    return m_backupFolder + u'/' + (relative.startsWith(u".."_s) ? QFileInfo(path).fileName() : relative);
}

void SearchRun::searchBesideOthers(const QString& path, const WordSearch& words)
{
    if (!m_batch) {
        m_batch = std::make_shared<Batch>();
        WordSearch reading = words;
        reading.replace = false;
        m_batch->search = std::make_shared<std::packaged_task<Answers()>>(
            [searcher = m_searcher, batch = m_batch.get(), reading = std::move(reading)] {
                Answers answers;
                for (const QString& document : std::as_const(batch->documents)) {
                    answers.push_back(searcher->SearchDocument(document, reading, QString()));
                }
                return answers;
            });
        m_batch->answers = m_batch->search->get_future().share();
    }
    m_batch->documents << path;
    m_steps.push_back({{}, m_batch->answers, m_batch->documents.size() - 1, path});
    if (m_batch->documents.size() == BatchSize) {
        startBatch();
    }
    giveEvents(AheadPerThread * static_cast<std::size_t>(m_pool.threadCount()));
}

void SearchRun::startBatch()
{
    if (m_batch) {
        // The batch's task holds the batch until it has run; the walk adds nothing to it after this.
        m_pool.start([batch = std::move(m_batch)] { (*batch->search)(); });
        m_batch.reset();
    }
}

void SearchRun::SearchDocument(const QString& path, const WordSearch& words)
{
    if (m_events.status) {
        m_events.status(u"Processing document: "_s + path);
    }
    if (m_searcher == nullptr) {
        return;
    }
    const QString backup = words.replace ? backupCopyOf(path) : QString();
    const Result<bool> hit = m_searcher->SearchDocument(path, words, backup);
    if (words.replace && QFileInfo::exists(backup)) {
        m_backupUsed = true;
    }
    showHit(path, hit);
}

void SearchRun::showHit(const QString& path, const Result<bool>& hit)
{
    if (!hit.ok()) {
        ++m_failures;
        if (m_events.failed) {
            m_events.failed(path, hit.error().message);
        }
        return;
    }
    if (!hit.value()) {
        return;
    }
    AddResultRow(QFileInfo(path));
}

void SearchRun::AddResultRow(const QFileInfo& file)
{
    if (file.fileName().startsWith(u'~')) {
        return;
    }
    ++m_hits;
    if (m_events.found) {
        m_events.found(ResultRow::fromFile(file));
    }
}
