#pragma once

#include "DocumentSearcher.h"
#include "core/WorkerPool.h"
#include "merge/RunOutcome.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QSet>
#include <QString>

#include <deque>
#include <functional>
#include <future>
#include <optional>

class QFileInfo;

// One row of the result list.
struct ResultRow
{
    QString path; // the row's key
    QString name;
    QString folder;
    QString modified; // "dd/mm/yyyy hh:mm:ss AM/PM"
    QString size;     // kilobytes, rounded half to even, then " KB"
    QString type;     // the file's kind as the desktop names it

    static ResultRow fromFile(const QFileInfo& file);
};

// The walk of a search: a folder's own files first (those that answer the pattern; with words,
// those whose text holds them), then its subfolders. The event loop runs once every five
// folders, and also whenever the walk has kept it waiting for a tenth of a second (a slow
// document, a large folder). A stop request is seen before each subfolder is entered, so a
// stopped run still finishes the current folder's files and then ends.
//
// Documents that the searcher may search beside others are searched on a pool of threads, one
// per processor, a little ahead of the walk's events: every event (status, row, pump) is given in
// the walk's order, each document's when its turn comes, so the rows stand in the walk's order.
// A replace run reads them there too, changing nothing; a document found to hold the words is
// searched again and changed on the walk's thread in its turn, so no document beyond a stop is
// changed and two names of one file are changed one after the other.
class SearchRun
{
public:
    struct Events
    {
        std::function<void(const QString&)> status;  // the folder or document in hand
        std::function<void(const ResultRow&)> found; // a hit
        std::function<void()> pump;                  // let the window live
        std::function<bool()> stopRequested;
        // A document that could not be searched or changed, and why.
        std::function<void(const QString& path, const QString& reason)> failed = {};
    };

    // `searcher` is used only when words are searched.
    SearchRun(Events events, DocumentSearcher* searcher);

    // Completed, or Cancelled when a stop ended the walk; `done` counts the rows found.
    RunOutcome WalkFolder(const QString& folder, const QString& pattern, bool subfolders,
                          const std::optional<WordSearch>& words);

    // The longest stretch, in milliseconds, that the walk keeps the event loop waiting between
    // two folders that are due to pump (100 unless set).
    void setPumpInterval(qint64 milliseconds) { m_pumpInterval = milliseconds; }

    // The folder that holds the copies of the documents this run changed, or "" while none was
    // changed: "Backups/<date and time of the run's start>" in the application folder, with a
    // number behind it when a run of the same second already has that name.
    QString backupFolder() const { return m_backupUsed ? m_backupFolder : QString(); }
    int hits() const { return m_hits; }
    int failures() const { return m_failures; }

private:
    // Documents are searched on the pool a few at a time, in batches: one task for several
    // documents costs the threads far less waiting on each other than one for each.
    using Answers = std::vector<Result<bool>>;
    struct Batch
    {
        QStringList documents;
        std::shared_ptr<std::packaged_task<Answers()>> search;
        std::shared_future<Answers> answers;
    };

    // An event of the walk waiting for its turn; a document being searched on the pool holds
    // its batch's answers to come, and its place among them.
    struct Step
    {
        std::function<void()> event;
        std::shared_future<Answers> answers;
        qsizetype index = 0;
        QString document;
    };

    // Walks with the words of the run (`m_words`), or by names alone without them.
    void walk(const QString& folder, const QString& pattern, bool subfolders);
    void SearchDocument(const QString& path, const WordSearch& words);
    void searchBesideOthers(const QString& path, const WordSearch& words);
    // Starts the search of the batch being filled.
    void startBatch();
    void showHit(const QString& path, const Result<bool>& hit);
    // Gives the event now when nothing waits before it, else queues it.
    void inTurn(std::function<void()> event);
    // Gives the waiting events in order until at most `waiting` are left, and beyond that those
    // whose search is over.
    void giveEvents(std::size_t waiting);
    void AddResultRow(const QFileInfo& file);
    void pump();
    void pumpWhenOverdue();
    bool stopRequested() const;
    QString backupCopyOf(const QString& path);
    void reserveBackupFolder();

    Events m_events;
    DocumentSearcher* m_searcher;
    QDateTime m_started;
    QString m_root;
    QString m_backupFolder;
    QString m_backupCanonical;
    QString m_backupsCanonical;
    bool m_backupUsed = false;
    int m_folderTick = 0;
    int m_hits = 0;
    int m_failures = 0;
    qint64 m_pumpInterval = 100;
    QElapsedTimer m_sincePump;
    QSet<QString> m_visited;
    bool m_stopped = false;
    std::optional<WordSearch> m_words; // the words of the run; none when it lists names only
    std::deque<Step> m_steps;
    std::shared_ptr<Batch> m_batch; // being filled
    WorkerPool m_pool;
};
