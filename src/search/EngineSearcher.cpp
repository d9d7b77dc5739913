#include "EngineSearcher.h"

#include "wordlink/DocumentEngine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

// Copies the document before it is changed. An existing file is never overwritten: the copy
// then fails, and the document stays as it is. The copy keeps the original's modification time.
Status keepOriginal(const QString& path, const QString& backupCopy)
{
    QDir().mkpath(QFileInfo(backupCopy).absolutePath());
    QFile copy(path);
    if (!copy.copy(backupCopy)) {
        return Error{ErrorCode::BackupFailed, u"the document could not be copied to "_s + backupCopy};
    }
    QFile kept(backupCopy);
    if (kept.open(QIODevice::ReadWrite)) {
        kept.setFileTime(QFileInfo(path).lastModified(), QFileDevice::FileModificationTime);
    }
    return {};
}

} // namespace

EngineSearcher::EngineSearcher()
    : m_application(wordlink::NewApplication())
{
}

EngineSearcher::~EngineSearcher() = default;

Result<bool> EngineSearcher::SearchDocument(const QString& path, const WordSearch& search, const QString& backupCopy)
{
    // Words made only of blanks are searched as what is left of them: nothing, found nowhere.
    if (search.words.isEmpty()) {
        return false;
    }
    Result<std::unique_ptr<wordlink::Document>> opened = m_application->Open(path, !search.replace);
    if (!opened.ok()) {
        return opened.error();
    }
    const std::unique_ptr<wordlink::Document> document = std::move(opened).value();
    const wordlink::FindOptions options{search.matchCase, search.wholeWord, search.wildcards};
    const Result<bool> found = document->Find(search.words, options);
    if (!found.ok() || !found.value() || !search.replace) {
        document->Close();
        return found;
    }
    const Status kept = keepOriginal(path, backupCopy);
    if (!kept.ok()) {
        document->Close();
        return kept.error();
    }
    const Result<int> replaced = document->ReplaceAll(search.words, search.replacement, options);
    const Status saved = replaced.ok() ? document->Save() : Status(replaced.error());
    document->Close();
    if (!saved.ok()) {
        return saved.error();
    }
    return true;
}

bool EngineSearcher::searchesBesideOthers(const QString& path) const
{
    return wordlink::isNativeFormat(path);
}

void EngineSearcher::finish()
{
    m_application->Quit();
}
