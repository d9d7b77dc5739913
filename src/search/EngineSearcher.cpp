#include "EngineSearcher.h"

#include "wordlink/DocumentEngine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

EngineSearcher::EngineSearcher()
    : m_application(wordlink::NewApplication())
{
}

EngineSearcher::~EngineSearcher() = default;

Result<bool> EngineSearcher::SearchDocument(const QString& path, const WordSearch& search, const QString& backupCopy)
{
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
    QDir().mkpath(QFileInfo(backupCopy).absolutePath());
    QFile::remove(backupCopy);
    if (!QFile::copy(path, backupCopy)) {
        document->Close();
        return Error{70, u"the document could not be copied to "_s + backupCopy};
    }
    const Result<int> replaced = document->ReplaceAll(search.words, search.replacement, options);
    const Status saved = replaced.ok() ? document->Save() : Status(replaced.error());
    document->Close();
    if (!saved.ok()) {
        return saved.error();
    }
    return true;
}

void EngineSearcher::finish()
{
    m_application->Quit();
}
