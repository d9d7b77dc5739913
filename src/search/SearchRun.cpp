#include "SearchRun.h"

#include "SearchPattern.h"
#include "core/AppPaths.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QMimeDatabase>

#include <cmath>

using namespace Qt::StringLiterals;

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
{
    m_backupFolder = AppPaths::applicationFolder() + u"/Backups/"_s +
                     QDateTime::currentDateTime().toString(u"yyyy-MM-dd hh.mm.ss"_s);
}

void SearchRun::WalkFolder(const QString& folder, const QString& pattern, bool subfolders,
                           const std::optional<WordSearch>& words)
{
    m_root = QDir::cleanPath(folder);
    walk(folder, pattern, subfolders, words);
}

void SearchRun::walk(const QString& folder, const QString& pattern, bool subfolders,
                     const std::optional<WordSearch>& words)
{
    const QString path = folder.endsWith(u'/') ? folder : folder + u'/';
    const QFileInfo info(path);
    if (!info.isDir()) {
        return;
    }
    // A folder reached twice through a link is walked once.
    const QString canonical = info.canonicalFilePath();
    if (m_visited.contains(canonical)) {
        return;
    }
    m_visited.insert(canonical);

    if (m_folderTick % 5 != 0) {
        ++m_folderTick;
    } else {
        m_folderTick = 1;
        if (m_events.pump) {
            m_events.pump();
        }
    }
    if (m_events.status) {
        m_events.status(QDir::toNativeSeparators(QDir::cleanPath(path)));
    }
    const QDir dir(path);
    const QFileInfoList files = dir.entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo& file : files) {
        if (!SearchPattern::matchesFileName(file.fileName(), pattern)) {
            continue;
        }
        if (words && !words->words.isEmpty()) {
            SearchDocument(file.absoluteFilePath(), *words);
        } else {
            AddResultRow(file);
        }
    }
    if (!subfolders || (m_events.stopRequested && m_events.stopRequested())) {
        return;
    }
    const QFileInfoList children = dir.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& child : children) {
        walk(child.absoluteFilePath(), pattern, subfolders, words);
    }
}

QString SearchRun::backupCopyOf(const QString& path)
{
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
    if (!hit.ok() || !hit.value()) {
        return;
    }
    if (words.replace && QFileInfo::exists(backup)) {
        m_backupUsed = true;
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
