#pragma once

#include "RunOutcome.h"
#include "core/Result.h"

#include <QString>

#include <memory>

class ContactTable;
class RunView;
class TokenEngine;

namespace wordlink {
class DocumentApplication;
}

// The postal run: one Word document per checked contact in a folder, or one combined document,
// each made from the letter template with every field replaced in fixed order (no blank-field
// texts here). Its progress shows on the run page; Cancel is seen at every tenth contact, when
// pending events are let through.
//
// With a template of the Word 2007 family the letters are merged on a pool of threads, one per
// processor, a few contacts ahead of the page; each letter is then taken in contact order, and
// only then shows on the page and takes its place (its name in the folder, or its turn in the
// combined document). So the page, the numbering, the combined document, a Cancel and a failure
// are what a run of one letter at a time gives: letters merged ahead of a Cancel or a failure
// are dropped unseen. Other templates go through the office suite, one letter at a time.
class PostalMergeRun
{
public:
    struct Input
    {
        const ContactTable* table = nullptr;
        const TokenEngine* tokens = nullptr;
        QString templatePath; // txtTemplate(1), untrimmed
        QString documentName; // txtDocs, untrimmed: the combined document
        int selectedCount = 0;
    };

    explicit PostalMergeRun(RunView& view);

    // Folder empty: the combined document; else one document per contact in the folder. A
    // failed run tells why, and counts the letters written before the one that failed.
    RunOutcome run(const Input& input, const QString& folder);
    void CmdCancelSend_Click() { m_cancelFlag = true; }
    bool cancelFlag() const { return m_cancelFlag; }

    QString OutputName() const { return m_outputName; }
    int done() const { return m_done; }

    // "Quillbay+N" with the extension of the template's format (DocumentMerge::mergedExtension).
    static QString numberedName(int number, const QString& templatePath);
    // The scratch document of the combined form, in the format of the letters.
    static QString scratchName(const QString& templatePath);

private:
    struct Letter;
    class Press;
    class Combined;

    void InitRunProgress(int selectedCount);
    // Takes a merged letter to its numbered file in the folder.
    Status storeLetter(Letter& letter, const Input& input, const QString& folder);

    RunView& m_view;
    bool m_cancelFlag = false;
    double m_step = 0;
    int m_done = 0;
    QString m_outputName;
};
