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

void SearchRun::WalkFolder(const QString& folder, const QString& pattern, bool subfolders,
                           const std::optional<WordSearch>& words)
{
    m_root = QDir::cleanPath(folder);
    m_sincePump.start();
    walk(folder, pattern, subfolders, words);
    if (!m_backupFolder.isEmpty() && !m_backupUsed) {
        QDir().rmdir(m_backupFolder); // reserved for a change that did not come
    }
}

void SearchRun::walk(const QString& folder, const QString& pattern, bool subfolders,
                     const std::optional<WordSearch>& words)
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
        pump();
    }
    if (m_events.status) {
        m_events.status(QDir::toNativeSeparators(QDir::cleanPath(path)));
    }
    const QDir dir(path);
    if (words && words->replace) {
        wordlink::OoxmlPackage::removeUnfinishedSaves(path);
    }
    const QFileInfoList files = dir.entryInfoList(QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& file : files) {
        if (!SearchPattern::matchesFileName(file.fileName(), pattern)) {
            continue;
        }
        if (words) {
            SearchDocument(file.absoluteFilePath(), *words);
        } else {
            AddResultRow(file);
        }
        pumpWhenOverdue();
    }
    if (!subfolders) {
        return;
    }
    const QFileInfoList children = dir.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& child : children) {
        if (stopRequested()) {
            return;
        }
        // The copies kept by replace runs are not searched as a part of a larger tree.
        if (child.canonicalFilePath() == m_backupsCanonical) {
            continue;
        }
        walk(child.absoluteFilePath(), pattern, subfolders, words);
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
