#include "DocumentText.h"
#include "FakeRunView.h"
#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "core/AppPaths.h"
#include "merge/PostalMergeRun.h"
#include "merge/RunView.h"
#include "merge/TokenEngine.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using TestSupport::documentText;

class PostalRunTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_template;
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_tokens;

    // Contacts "cN@example.com" named "NameN" (or by `name`), the ones `checked` picks checked;
    // every seventeenth has a token for its last name.
    void fill(int count, const std::function<bool(int)>& checked, const std::function<QString(int)>& name = {})
    {
        m_table.clear();
        for (int i = 1; i <= count; ++i) {
            std::array<QString, 16> cells;
            cells[0] = u"c%1@example.com"_s.arg(i);
            cells[1] = name ? name(i) : u"Name%1"_s.arg(i);
            cells[2] = i % 17 == 0 ? u"[[FirstName]]"_s : u"Last%1"_s.arg(i);
            m_table.addRow(cells);
            m_table.setChecked(i, checked(i));
        }
    }

    PostalMergeRun::Input input(const QString& templatePath, const QString& documentName = {})
    {
        int checked = 0;
        for (int row = 1; row <= m_table.count(); ++row) {
            checked += m_table.at(row).checked ? 1 : 0;
        }
        return {&m_table, m_tokens.get(), templatePath, documentName, checked};
    }

    QString folder(const QString& name)
    {
        QDir().mkpath(m_dir.filePath(name));
        return m_dir.filePath(name);
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_template = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_template));
        m_tokens = std::make_unique<TokenEngine>(m_table);
        m_tokens->setSourceIndex(4);
    }

    void init()
    {
        fill(
            10, [](int i) { return i == 2 || i == 5 || i == 9; },
            [](int i) { return i == 5 ? QString() : u"Name%1"_s.arg(i); });
    }

    void folderForm_numbersTheCheckedContacts_inTheTemplatesFormat()
    {
        const QString letters = folder(u"letters"_s);
        FakeRunView view;
        PostalMergeRun(view).run(input(m_template), letters);
        QCOMPARE(QDir(letters).entryList(QDir::Files, QDir::Name),
                 (QStringList{u"Quillbay+1.docx"_s, u"Quillbay+2.docx"_s, u"Quillbay+3.docx"_s}));
        QVERIFY(documentText(letters + u"/Quillbay+1.docx"_s).startsWith(u"Dear Name2,"_s));
        QVERIFY(documentText(letters + u"/Quillbay+2.docx"_s).startsWith(u"Dear ,"_s)); // no "Sir" in a letter
        QVERIFY(documentText(letters + u"/Quillbay+3.docx"_s).contains(u"c9@example.com"_s));
        QCOMPARE(view.process(), u"Files are Saved Successfully"_s);
        QCOMPARE(PostalMergeRun::numberedName(12, u"/x/letter.DOTM "_s), u"Quillbay+12.docm"_s);
        QCOMPARE(PostalMergeRun::numberedName(3, u"/x/letter.doc"_s), u"Quillbay+3.doc"_s);
    }

    void cancel_isSeenOnlyAtTheTenthContact()
    {
        fill(14, [](int i) { return i <= 10; });
        for (const bool combinedForm : {false, true}) {
            const QString letters = folder(u"cancelled%1"_s.arg(combinedForm));
            const QString combined = m_dir.filePath(u"cancelled.docx"_s);
            FakeRunView view;
            PostalMergeRun run(view);
            // The user presses Cancel at the second contact: the click waits in the event queue.
            view.onProcess = [&run](const QString& text) {
                if (text.startsWith(u"Processing  2 "_s)) {
                    QMetaObject::invokeMethod(
                        QCoreApplication::instance(), [&run] { run.CmdCancelSend_Click(); }, Qt::QueuedConnection);
                }
            };
            QCOMPARE(run.run(input(m_template, combined), combinedForm ? QString() : letters).done, 10);
            if (combinedForm) { // the letters added before the Cancel are kept
                QCOMPARE(documentText(combined).count(u"Dear "_s), 10);
                // Only the last letter stands under the scratch name.
                const QString scratch = AppPaths::file(PostalMergeRun::scratchName(m_template));
                QVERIFY(documentText(scratch).startsWith(u"Dear Name10,"_s));
            } else {
                QCOMPARE(QDir(letters).entryList(QDir::Files).size(), 10);
            }
            QCOMPARE(view.process(), u"Process Cancelled!"_s);
            QCOMPARE(view.yields, 1);
        }
    }

    void lettersMergedSideBySide_keepTheContactsOrder_andStopAtAFailure()
    {
        // Sixty contacts, every seventh unchecked; some names take the ordinary merge (empty, a
        // double blank, a token), the others the prepared template.
        fill(
            60, [](int i) { return i % 7 != 0; },
            [](int i) { return i % 11 == 0   ? QString()
                               : i % 13 == 0 ? u"Ann  %1"_s.arg(i)
                                             : u"Name%1"_s.arg(i); });
        QStringList expected;
        for (int i = 1; i <= 60; ++i) {
            if (i % 7 != 0) {
                expected << u"Dear %1,"_s.arg(m_table.at(i).cells[1]);
            }
        }
        const QString many = folder(u"many"_s);
        FakeRunView view;
        QCOMPARE(PostalMergeRun(view).run(input(m_template), many).done, int(expected.size()));
        QCOMPARE(QDir(many).entryList(QDir::Files).size(), expected.size());
        for (int number = 1; number <= expected.size(); ++number) {
            const QString text = documentText(many + u'/' + PostalMergeRun::numberedName(number, m_template));
            QVERIFY2(text.startsWith(expected.at(number - 1)),
                     qPrintable(u"letter %1: "_s.arg(number) + text.left(20)));
        }

        // The combined document keeps the first letter and appends the others as text behind a
        // page break, in the same order, each once.
        const QString combined = m_dir.filePath(u"All letters.docx"_s);
        FakeRunView joined;
        PostalMergeRun together(joined);
        QCOMPARE(together.run(input(m_template, u" "_s + combined + u" "_s), QString()).done, int(expected.size()));
        QCOMPARE(joined.process(), u"All letters.docx is Successfully Stored"_s);
        const QString text = documentText(combined);
        QCOMPARE(text.count(u"Dear "_s), expected.size());
        QVERIFY(text.contains(u"\fDear Name2,"_s));
        qsizetype at = 0;
        for (const QString& greeting : expected) {
            at = text.indexOf(greeting, at);
            QVERIFY2(at >= 0, qPrintable(greeting));
        }
        QVERIFY(documentText(m_template).startsWith(u"Dear [[FirstName]]"_s)); // the template is untouched

        // A letter that cannot be stored ends the run there: the letters merged after it are
        // dropped, and the files of the letters before it stay.
        const QString failing = folder(u"failing"_s);
        const QString locked = failing + u"/Quillbay+5.docx"_s;
        QVERIFY(QFile::copy(m_template, locked));
        QVERIFY(QFile::setPermissions(locked, QFile::ReadOwner));
        QVERIFY(QFile::copy(m_template, failing + u"/Quillbay+50.docx.quillbay-saving"_s)); // left by a killed run
        FakeRunView stopped;
        const RunOutcome outcome = PostalMergeRun(stopped).run(input(m_template), failing);
        QCOMPARE(outcome.ending, RunOutcome::Ending::Failed);
        QCOMPARE(outcome.done, 4);
        QCOMPARE(QDir(failing).entryList(QDir::Files | QDir::Hidden, QDir::Name),
                 (QStringList{u"Quillbay+1.docx"_s, u"Quillbay+2.docx"_s, u"Quillbay+3.docx"_s, u"Quillbay+4.docx"_s,
                              u"Quillbay+5.docx"_s}));
        QCOMPARE(stopped.process(), u"Processing  5  of  %1"_s.arg(expected.size()));
    }

    void aTemplateNamedLikeTheFirstLetter_isNeverOverwritten()
    {
        // The second contact's letter would be made from the first one's: the run ends at its
        // closing steps with the labels as they were, as for a template that is gone.
        const QString own = folder(u"own-folder"_s);
        const QString templatePath = own + u"/Quillbay+1.docx"_s;
        QVERIFY(QFile::copy(m_template, templatePath));
        for (const QString& path : {templatePath, m_dir.filePath(u"gone.docx"_s)}) {
            FakeRunView view;
            PostalMergeRun(view).run(input(path), own);
            QCOMPARE(view.process(), u"Processing  1  of  3"_s);
            QVERIFY(view.nextEnabled && view.backEnabled && !view.cancelEnabled);
        }
        QVERIFY(documentText(templatePath).startsWith(u"Dear [[FirstName]],"_s));
        QCOMPARE(QDir(own).entryList(QDir::Files), QStringList{u"Quillbay+1.docx"_s});
    }
};

QTEST_GUILESS_MAIN(PostalRunTest)
#include "tst_postal_run.moc"
