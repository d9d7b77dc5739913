#include "PostalMergeRun.h"

#include "DocumentMerge.h"
#include "RunView.h"
#include "TokenEngine.h"
#include "contacts/ContactTable.h"
#include "core/AppPaths.h"
#include "core/TextUtil.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/WordStatus.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double FullBar = 1.0;
// The count of letters is a 16-bit number: a run beyond it ends as a failure.
constexpr int MostLetters = 32767;

} // namespace

PostalMergeRun::PostalMergeRun(RunView& view)
    : m_view(view)
{
}

QString PostalMergeRun::numberedName(int number, const QString& templatePath)
{
    return u"Quillbay+"_s + QString::number(number) + DocumentMerge::mergedExtension(templatePath);
}

QString PostalMergeRun::scratchName(const QString& templatePath)
{
    return u"Temp"_s + DocumentMerge::mergedExtension(templatePath);
}

void PostalMergeRun::InitRunProgress(int selectedCount)
{
    m_view.setStatus(QString());
    m_view.setProcess(QString());
    m_view.setHeader(QString());
    m_view.setCancelEnabled(true);
    m_view.setBackEnabled(false);
    m_view.setProgress(0);
    if (selectedCount > 0) {
        m_step = FullBar / selectedCount;
    }
    m_cancelFlag = false;
}

Status PostalMergeRun::mergeContact(wordlink::DocumentApplication& application, const Input& input, int row,
                                    const QString& folder, bool& outputStarted)
{
    Result<std::unique_ptr<wordlink::Document>> added = application.Add(TextUtil::trimSpaces(input.templatePath));
    if (!added.ok()) {
        return added.error();
    }
    std::unique_ptr<wordlink::Document> letter = std::move(added).value();
    // Never over the template: the next contact's letter would be made from this one.
    const auto saveLetterAs = [&](const QString& target) {
        return DocumentMerge::isTemplateItself(target, TextUtil::trimSpaces(input.templatePath))
                   ? Status(Error{ErrorCode::OverwritesTemplate, u"the letter would overwrite its template"_s})
                   : letter->SaveAs(target);
    };
    for (const auto& [token, value] : input.tokens->allFieldReplacements(row)) {
        if (const Result<int> replaced = letter->ReplaceAll(token, value, {}); !replaced.ok()) {
            return replaced.error();
        }
    }
    const QString combined = TextUtil::trimSpaces(input.documentName);
    if (folder.isEmpty()) {
        if (!outputStarted) {
            if (const Status saved = saveLetterAs(combined); !saved.ok()) {
                return saved;
            }
            outputStarted = true;
        } else {
            // From the second contact on, the letter joins the combined document as plain text
            // behind a page break.
            Result<std::unique_ptr<wordlink::Document>> opened = application.Open(combined, false);
            if (!opened.ok()) {
                return opened.error();
            }
            const Result<QString> text = letter->ContentText();
            Status appended = text.ok() ? opened.value()->AppendPageBreakAndText(text.value()) : Status(text.error());
            if (appended.ok()) {
                appended = opened.value()->Save();
            }
            opened.value()->Close();
            if (!appended.ok()) {
                return appended;
            }
        }
        // The letter takes the scratch name, which frees the output for the next contact.
        if (const Status scratch = saveLetterAs(AppPaths::file(scratchName(input.templatePath))); !scratch.ok()) {
            return scratch;
        }
    } else if (const Status saved = saveLetterAs(folder + u'/' + numberedName(m_done, input.templatePath));
               !saved.ok()) {
        return saved;
    }
    letter->Close();
    return {};
}

RunOutcome PostalMergeRun::run(const Input& input, const QString& folder)
{
    wordlink::WordJob job;
    const std::unique_ptr<wordlink::DocumentApplication> application = wordlink::NewApplication();
    m_view.setWaitCursor(true);
    InitRunProgress(input.selectedCount);
    m_done = 0;
    if (folder.isEmpty()) {
        m_outputName = TextUtil::lastPathPart(TextUtil::trimSpaces(input.documentName));
        m_view.setFolderText(u"Processing Postal Merge Function"_s);
        m_view.setStatus(QString());
    } else {
        m_view.setFolderText(u"Processing Postal Merge Function"_s);
        m_view.setStatus(numberedName(1, input.templatePath));
    }
    m_view.showRunPage(QString());
    m_view.setNext(u"Finish"_s, false);

    bool outputStarted = false;
    RunOutcome outcome;
    int yieldCount = 0;
    for (int row = 1; row <= input.table->count(); ++row) {
        if (m_cancelFlag) {
            m_view.setProcess(u"Process Cancelled!"_s);
            outcome = {RunOutcome::Ending::Cancelled, {}, m_done};
            break;
        }
        if (!input.table->at(row).checked) {
            continue;
        }
        if (++m_done > MostLetters) {
            outcome = RunOutcome::failed(u"more letters than one run can number"_s, m_done - 1);
            break;
        }
        m_view.setProcess(u"Processing  %1  of  %2"_s.arg(m_done).arg(input.selectedCount));
        if (!folder.isEmpty()) {
            m_view.setStatus(numberedName(m_done, input.templatePath));
        }
        if (const Status merged = mergeContact(*application, input, row, folder, outputStarted); !merged.ok()) {
            outcome = RunOutcome::failed(merged.error().message, m_done - 1);
            break;
        }
        m_view.setProgress(qMin(m_view.progress() + m_step, FullBar));
        if (++yieldCount == 10) {
            yieldCount = 0;
            m_view.pumpEvents();
        }
    }
    if (outcome.completed()) {
        outcome.done = m_done;
        m_view.setFolderText(QString());
        if (folder.isEmpty()) {
            m_view.setProcess(m_outputName + u" is Successfully Stored"_s);
        } else {
            m_view.setStatus(QString());
            m_view.setProcess(u"Files are Saved Successfully"_s);
        }
    }
    // The closing steps, also after a failure: no message, the labels stay as they were.
    m_view.setNext(u"Finish"_s, true);
    m_view.setProgress(qMin(m_view.progress(), FullBar));
    m_view.setWaitCursor(false);
    m_view.setCancelEnabled(false);
    m_view.setBackEnabled(true);
    application->Quit();
    return outcome;
}
