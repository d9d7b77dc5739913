#include "PostalMergeRun.h"

#include "DocumentMerge.h"
#include "RunView.h"
#include "TokenEngine.h"
#include "contacts/ContactTable.h"
#include "core/AppPaths.h"
#include "core/TextUtil.h"
#include "core/WorkerPool.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/LetterTemplate.h"
#include "wordlink/WordStatus.h"

#include <QElapsedTimer>
#include <QMutex>

#include <deque>
#include <future>
#include <map>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr double FullBar = 1.0;
// The count of letters is a 16-bit number: a run beyond it ends as a failure.
constexpr int MostLetters = 32767;
// Letters merged ahead of the page, for each thread: enough to keep every thread busy while the
// page takes the letters in turn, few enough that memory does not grow with the run.
constexpr int AheadPerThread = 4;
// Templates prepared in one run, one for each pattern of empty values met.
constexpr std::size_t MostTemplates = 32;

// Never over the template: the next contact's letter would be made from this one.
Status notOverTemplate(const QString& target, const QString& templatePath)
{
    return DocumentMerge::isTemplateItself(target, templatePath)
               ? Status(Error{ErrorCode::OverwritesTemplate, u"the letter would overwrite its template"_s})
               : Status();
}

// Saves a merged letter under `target`, unless that is the template.
Status saveLetterAs(wordlink::Document& letter, const QString& target, const QString& templatePath)
{
    const Status allowed = notOverTemplate(target, templatePath);
    return allowed.ok() ? letter.SaveAs(target) : allowed;
}

// Gives a letter written beside its name that name, unless that is the template's.
Status commitStaged(const wordlink::OoxmlPackage::Staged& staged, const QString& templatePath)
{
    if (const Status allowed = notOverTemplate(staged.target, templatePath); !allowed.ok()) {
        wordlink::OoxmlPackage::discard(staged);
        return allowed;
    }
    return wordlink::OoxmlPackage::commit(staged);
}

} // namespace

// One contact's letter, merged and waiting for its turn.
struct PostalMergeRun::Letter
{
    Status status;
    std::unique_ptr<wordlink::Document> document;         // merged, to be stored
    std::optional<wordlink::OoxmlPackage::Staged> staged; // or already written beside its name
    // The contact's values for the prepared template, when they fit it: in the combined form it
    // gives the letter's text (and the whole letter under the scratch name, should it be the
    // last).
    std::shared_ptr<const wordlink::LetterTemplate> prepared;
    QStringList values;

    Result<QString> text() const
    {
        return prepared ? Result<QString>(prepared->text(values)) : document->ContentText();
    }
};

// The combined document: the first letter saved under its name, the text of each later letter
// appended behind a page break. The document stays open through the run and is saved when a
// second has passed since its last save, and when the run ends, so that the run does not write
// the whole growing document again for every contact. At the end the last letter is saved under
// the scratch name too, the place each letter takes in turn to free the document's name.
class PostalMergeRun::Combined
{
public:
    Combined(wordlink::DocumentApplication& application, const Input& input)
        : m_application(application)
        , m_templatePath(TextUtil::trimSpaces(input.templatePath))
        , m_path(TextUtil::trimSpaces(input.documentName))
        , m_scratch(AppPaths::file(scratchName(input.templatePath)))
    {
    }

    ~Combined() { closeAll(); }

    Status add(Letter& letter)
    {
        if (m_added == 0) {
            const Status saved = letter.staged ? commitStaged(*letter.staged, m_templatePath)
                                               : saveLetterAs(*letter.document, m_path, m_templatePath);
            if (!saved.ok()) {
                return saved;
            }
            m_saved = 1;
            m_sinceSave.start();
        } else {
            // The previous letter is no longer the last; closing it frees the document's name,
            // under which the first letter was saved.
            closeLast();
            if (!m_output) {
                Result<std::unique_ptr<wordlink::Document>> opened = m_application.Open(m_path, false);
                if (!opened.ok()) {
                    return opened.error();
                }
                m_output = std::move(opened).value();
            }
            const Result<QString> text = letter.text();
            if (!text.ok()) {
                return text.error();
            }
            if (const Status appended = m_output->AppendPageBreakAndText(text.value()); !appended.ok()) {
                return appended;
            }
        }
        ++m_added;
        m_last = std::move(letter);
        return m_sinceSave.hasExpired(SaveEveryMs) ? save() : Status();
    }

    // Saves what was added since the last save and the last letter under the scratch name.
    Status finish()
    {
        Status finished = m_saved < m_added ? save() : Status();
        if (finished.ok()) {
            finished = saveLastAsScratch();
        }
        closeAll();
        return finished;
    }

    // The letters the document held at its last save.
    int lettersSaved() const { return m_saved; }

private:
    static constexpr qint64 SaveEveryMs = 1000;

    Status saveLastAsScratch() const
    {
        if (m_last.document) {
            return saveLetterAs(*m_last.document, m_scratch, m_templatePath);
        }
        // No letter was added, or the last one failed after its predecessor was closed.
        if (!m_last.prepared) {
            return {};
        }
        const Result<wordlink::OoxmlPackage::Staged> staged = m_last.prepared->stageLetter(m_last.values, m_scratch);
        return staged.ok() ? commitStaged(staged.value(), m_templatePath) : Status(staged.error());
    }

    Status save()
    {
        const Status saved = m_output->Save();
        if (saved.ok()) {
            m_saved = m_added;
            m_sinceSave.start();
        }
        return saved;
    }

    void closeLast()
    {
        if (m_last.document) {
            m_last.document->Close();
        }
        m_last = {};
    }

    void closeAll()
    {
        if (m_output) {
            m_output->Close();
            m_output.reset();
        }
        closeLast();
    }

    wordlink::DocumentApplication& m_application;
    const QString m_templatePath;
    const QString m_path;
    const QString m_scratch;
    std::unique_ptr<wordlink::Document> m_output;
    Letter m_last;
    int m_added = 0;
    int m_saved = 0;
    QElapsedTimer m_sinceSave;
};

// Merges the letters: for a template of the Word 2007 family on a pool of threads, a letter
// written at once from the prepared template when its values fit, else merged in memory; for
// other templates on the run's own thread, when the letter's turn comes.
class PostalMergeRun::Press
{
public:
    Press(const Input& input, const QString& folder, wordlink::DocumentApplication& application)
        : m_input(input)
        , m_folder(folder)
        , m_templatePath(TextUtil::trimSpaces(input.templatePath))
        , m_application(application)
        , m_parallel(wordlink::isNativeFormat(m_templatePath))
    {
    }

    ~Press() { dropAll(); }

    int ahead() const { return m_parallel ? AheadPerThread * m_pool.threadCount() : 1; }
    bool empty() const { return m_queue.empty(); }
    qsizetype size() const { return static_cast<qsizetype>(m_queue.size()); }
    int nextNumber() const { return m_queue.front().number; }
    int nextRow() const { return m_queue.front().row; }

    void submit(int number, int row)
    {
        std::vector<TokenEngine::Replacement> replacements = m_input.tokens->allFieldReplacements(row);
        auto task = std::make_shared<std::packaged_task<Letter()>>(
            [this, number, replacements = std::move(replacements)] { return merge(number, replacements); });
        m_queue.push_back({number, row, task->get_future()});
        if (m_parallel) {
            m_pool.start([task] { (*task)(); });
        } else {
            m_deferred.push_back(task);
        }
    }

    // The next letter in contact order, waited for (or, for the office suite, merged now).
    Letter takeNext()
    {
        Queued next = std::move(m_queue.front());
        m_queue.pop_front();
        if (!m_parallel) {
            const std::shared_ptr<std::packaged_task<Letter()>> task = std::move(m_deferred.front());
            m_deferred.pop_front();
            (*task)();
        }
        return next.letter.get();
    }

    // Drops the letters not taken: waits for those in work and removes what they wrote.
    void dropAll()
    {
        if (m_parallel) {
            for (Queued& queued : m_queue) {
                Letter letter = queued.letter.get();
                if (letter.staged) {
                    wordlink::OoxmlPackage::discard(*letter.staged);
                }
            }
        }
        m_queue.clear();
        m_deferred.clear();
    }

private:
    struct Queued
    {
        int number;
        int row;
        std::future<Letter> letter;
    };

    // The template prepared for letters whose values are empty where these are (Word 2007 family
    // only), prepared when first asked for; null where there is none.
    std::shared_ptr<const wordlink::LetterTemplate> templateFor(const QStringList& tokens, const QStringList& values)
    {
        if (!m_parallel) {
            return {};
        }
        QList<bool> empty;
        for (const QString& value : values) {
            empty << value.isEmpty();
        }
        const QMutexLocker lock(&m_templatesLock);
        if (const auto known = m_templates.find(empty); known != m_templates.end()) {
            return known->second;
        }
        if (m_templates.size() >= MostTemplates) {
            return {};
        }
        Result<wordlink::LetterTemplate> prepared = wordlink::LetterTemplate::prepare(
            m_templatePath, tokens, empty, DocumentMerge::mergedExtension(m_templatePath));
        std::shared_ptr<const wordlink::LetterTemplate> made;
        if (prepared.ok() && prepared->usable()) {
            made = std::make_shared<const wordlink::LetterTemplate>(std::move(prepared).value());
        }
        m_templates.emplace(empty, made);
        return made;
    }

    Letter merge(int number, const std::vector<TokenEngine::Replacement>& replacements)
    {
        Letter letter;
        QStringList tokens;
        QStringList values;
        for (const auto& [token, value] : replacements) {
            tokens << token;
            values << value;
        }
        const auto prepared = templateFor(tokens, values);
        const bool fits = prepared && prepared->fits(values);
        if (fits) {
            letter.prepared = prepared;
            letter.values = values;
        }
        // In the combined form, the letters after the first join the document as text.
        if (fits && m_folder.isEmpty() && number > 1) {
            return letter;
        }
        // A letter of its own, or the first of the combined form when the combined document is
        // of the letters' format, is written whole beside its name.
        const QString ownPath = m_folder.isEmpty() ? TextUtil::trimSpaces(m_input.documentName)
                                                   : m_folder + u'/' + numberedName(number, m_input.templatePath);
        if (fits && ownPath.endsWith(DocumentMerge::mergedExtension(m_templatePath), Qt::CaseInsensitive)) {
            Result<wordlink::OoxmlPackage::Staged> staged = prepared->stageLetter(values, ownPath);
            if (staged.ok()) {
                letter.staged = std::move(staged).value();
            } else {
                letter.status = staged.error();
            }
            return letter;
        }
        Result<std::unique_ptr<wordlink::Document>> added = m_application.Add(m_templatePath);
        if (!added.ok()) {
            letter.status = added.error();
            return letter;
        }
        for (const auto& [token, value] : replacements) {
            if (const Result<int> replaced = added.value()->ReplaceAll(token, value, {}); !replaced.ok()) {
                letter.status = replaced.error();
                return letter;
            }
        }
        letter.document = std::move(added).value();
        return letter;
    }

    const Input& m_input;
    const QString m_folder;
    const QString m_templatePath;
    wordlink::DocumentApplication& m_application;
    const bool m_parallel;
    QMutex m_templatesLock;
    std::map<QList<bool>, std::shared_ptr<const wordlink::LetterTemplate>> m_templates;
    std::deque<Queued> m_queue;
    std::deque<std::shared_ptr<std::packaged_task<Letter()>>> m_deferred;
    WorkerPool m_pool;
};

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

Status PostalMergeRun::storeLetter(Letter& merged, const Input& input, const QString& folder)
{
    const QString templatePath = TextUtil::trimSpaces(input.templatePath);
    if (merged.staged) {
        return commitStaged(*merged.staged, templatePath);
    }
    const Status saved =
        saveLetterAs(*merged.document, folder + u'/' + numberedName(m_done, input.templatePath), templatePath);
    merged.document->Close();
    return saved;
}

RunOutcome PostalMergeRun::run(const Input& input, const QString& folder)
{
    wordlink::WordJob job;
    const std::unique_ptr<wordlink::DocumentApplication> application = wordlink::NewApplication();
    m_view.setWaitCursor(true);
    InitRunProgress(input.selectedCount);
    m_done = 0;
    m_view.setFolderText(u"Processing Postal Merge Function"_s);
    std::optional<Combined> combined;
    if (folder.isEmpty()) {
        m_outputName = TextUtil::lastPathPart(TextUtil::trimSpaces(input.documentName));
        m_view.setStatus(QString());
        combined.emplace(*application, input);
    } else {
        m_view.setStatus(numberedName(1, input.templatePath));
        // Letters a killed run had written but not yet named.
        wordlink::OoxmlPackage::removeUnfinishedSaves(folder);
    }
    m_view.showRunPage(QString());
    m_view.setNext(u"Finish"_s, false);

    RunOutcome outcome;
    int yieldCount = 0;
    Press press(input, folder, *application);
    const int count = input.table->count();
    int nextRow = 1;
    int numbered = 0;
    bool overflow = false;
    // Keeps the press a few letters ahead of the page, numbering the checked contacts in order.
    const auto feed = [&] {
        while (press.size() < press.ahead() && !overflow) {
            while (nextRow <= count && !input.table->at(nextRow).checked) {
                ++nextRow;
            }
            if (nextRow > count) {
                return;
            }
            if (numbered == MostLetters) {
                overflow = true;
                return;
            }
            press.submit(++numbered, nextRow++);
        }
    };
    feed();
    while (!press.empty()) {
        m_done = press.nextNumber();
        const int row = press.nextRow();
        m_view.setProcess(u"Processing  %1  of  %2"_s.arg(m_done).arg(input.selectedCount));
        if (!folder.isEmpty()) {
            m_view.setStatus(numberedName(m_done, input.templatePath));
        }
        Letter letter = press.takeNext();
        const Status stored = !letter.status.ok() ? letter.status
                              : combined          ? combined->add(letter)
                                                  : storeLetter(letter, input, folder);
        if (!stored.ok()) {
            outcome = RunOutcome::failed(stored.error().message, m_done - 1);
            break;
        }
        m_view.setProgress(qMin(m_view.progress() + m_step, FullBar));
        if (++yieldCount == 10) {
            yieldCount = 0;
            m_view.pumpEvents();
        }
        // The mark is looked at before each further row of the table, checked or not.
        if (m_cancelFlag && row < count) {
            m_view.setProcess(u"Process Cancelled!"_s);
            outcome = {RunOutcome::Ending::Cancelled, {}, m_done};
            break;
        }
        feed();
    }
    press.dropAll();
    if (combined) {
        // The combined document holds the letters added before a Cancel or a failure too.
        const Status finished = combined->finish();
        if (outcome.ending == RunOutcome::Ending::Failed) {
            outcome.done = combined->lettersSaved();
        } else if (!finished.ok()) {
            outcome = RunOutcome::failed(finished.error().message, combined->lettersSaved());
        }
    }
    if (outcome.completed() && overflow) {
        m_done = MostLetters + 1;
        outcome = RunOutcome::failed(u"more letters than one run can number"_s, MostLetters);
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
