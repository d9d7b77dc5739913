#pragma once

#include "core/Result.h"

#include <QString>

// The words to look for inside documents, with the options of the search window.
struct WordSearch
{
    QString words;
    bool wholeWord = false;
    bool matchCase = false;
    bool wildcards = false;
    bool replace = false;
    QString replacement;
};

// What the folder walk asks of the document engine for one document: whether its main text
// holds the words and, when replacing, to replace them all. A document that is about to be
// changed is first copied into the backup folder (under its path below the search root); a
// document without a hit is not saved again.
class DocumentSearcher
{
public:
    virtual ~DocumentSearcher() = default;

    virtual Result<bool> SearchDocument(const QString& path, const WordSearch& search, const QString& backupCopy) = 0;
    // True when this document may be read on another thread, beside others (a search of the
    // in-process engine); SearchDocument with a search that changes nothing must then be safe to
    // call so.
    virtual bool searchesBesideOthers(const QString& path) const
    {
        Q_UNUSED(path)
        return false;
    }
    // Ends the work of a run (the office suite is released).
    virtual void finish() = 0;
};
