#pragma once

#include "DocumentSearcher.h"

#include <memory>

namespace wordlink {
class DocumentApplication;
}

// The document searcher of the search window: one document application for the whole run.
// A document opened to replace words is copied to the backup folder before it is changed, and a
// document without a hit is closed unsaved, so that neither its bytes nor its time change.
// Documents of the in-process engine are searched on several threads at once when nothing is
// replaced; the office suite and replacing take one document at a time.
class EngineSearcher : public DocumentSearcher
{
public:
    EngineSearcher();
    ~EngineSearcher() override;

    Result<bool> SearchDocument(const QString& path, const WordSearch& search, const QString& backupCopy) override;
    bool searchesBesideOthers(const QString& path) const override;
    void finish() override;

private:
    std::unique_ptr<wordlink::DocumentApplication> m_application;
};
