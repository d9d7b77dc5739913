#include "DocumentText.h"
#include "FakeRunView.h"
#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "core/AppPaths.h"
#include "core/SettingsKeys.h"
#include "merge/PostalMergeRun.h"
#include "merge/RunView.h"
#include "merge/TokenEngine.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OfficeBridge.h"
#include "wordlink/OoxmlPackage.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

class PostalRunTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_template;
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_tokens;

    PostalMergeRun::Input input(const QString& templatePath, const QString& documentName = {})
    {
        int checked = 0;
        for (int row = 1; row <= m_table.count(); ++row) {
            checked += m_table.at(row).checked ? 1 : 0;
        }
        return {&m_table, m_tokens.get(), templatePath, documentName, checked};
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

    void cleanupTestCase() { wordlink::OfficeBridge::instance().shutdown(); }

    void init()
    {
        m_table.clear();
        for (int i = 1; i <= 10; ++i) {
            std::array<QString, 16> cells;
            cells[0] = u"c%1@example.com"_s.arg(i);
            cells[1] = i == 5 ? QString() : u"Name%1"_s.arg(i);
            m_table.addRow(cells);
            m_table.setChecked(i, i == 2 || i == 5 || i == 9);
        }
    }

    void folderForm_numbersTheCheckedContacts_inTheTemplatesFormat()
    {
        const QString folder = m_dir.filePath(u"letters"_s);
        QDir().mkpath(folder);
        FakeRunView view;
        PostalMergeRun run(view);
        QStringList running;
        view.onProcess = [&running](const QString&) {
            running << SettingsStore::instance().value(Keys::WordRunning);
        };
        run.run(input(m_template), folder);
        QCOMPARE(QDir(folder).entryList(QDir::Files, QDir::Name),
                 (QStringList{u"Quillbay+1.docx"_s, u"Quillbay+2.docx"_s, u"Quillbay+3.docx"_s}));
        QCOMPARE(running, QStringList(5, u"Y"_s)); // from the cleared label to the closing words
        QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);
        QVERIFY(TestSupport::documentText(folder + u"/Quillbay+1.docx"_s).startsWith(u"Dear Name2,"_s));
        QVERIFY(
            TestSupport::documentText(folder + u"/Quillbay+2.docx"_s).startsWith(u"Dear ,"_s)); // no "Sir" in a letter
        QVERIFY(TestSupport::documentText(folder + u"/Quillbay+3.docx"_s).contains(u"c9@example.com"_s));
        QVERIFY(!TestSupport::documentText(folder + u"/Quillbay+1.docx"_s).contains(u"[["_s));
        // Only the main text is merged: the header keeps its token.
        Result<wordlink::OoxmlPackage> letter = wordlink::OoxmlPackage::open(folder + u"/Quillbay+1.docx"_s);
        QVERIFY(letter.ok());
        QVERIFY(letter->part(u"word/header1.xml"_s).value().contains("Header for [[FirstName]]"));
        QCOMPARE(view.folder, QString());
        QCOMPARE(view.statuses.at(1), u"Quillbay+1.docx"_s);
        QVERIFY(view.processes.contains(u"Processing  2  of  3"_s));
        QCOMPARE(view.process(), u"Files are Saved Successfully"_s);
        QCOMPARE(view.statuses.last(), QString());
        QCOMPARE(view.bar, 1.0);
        QVERIFY(view.nextEnabled);
        QCOMPARE(view.nextCaption, u"Finish"_s);
        QVERIFY(view.backEnabled);
        QVERIFY(!view.cancelEnabled);
        QCOMPARE(PostalMergeRun::numberedName(7, u"/x/letter.doc"_s), u"Quillbay+7.doc"_s);
        QCOMPARE(PostalMergeRun::numberedName(1, u"/x/letter.dotx"_s), u"Quillbay+1.docx"_s);
        QCOMPARE(PostalMergeRun::numberedName(12, u"/x/letter.DOTM "_s), u"Quillbay+12.docm"_s);
    }

    void combinedForm_keepsTheFirstLetter_andAppendsTheOthersAsText()
    {
        const QString combined = m_dir.filePath(u"All letters.docx"_s);
        FakeRunView view;
        PostalMergeRun run(view);
        run.run(input(m_template, u" "_s + combined + u" "_s), QString());
        QCOMPARE(run.OutputName(), u"All letters.docx"_s);
        QCOMPARE(view.process(), u"All letters.docx is Successfully Stored"_s);
        const QString text = TestSupport::documentText(combined);
        QVERIFY(text.startsWith(u"Dear Name2,"_s));
        QCOMPARE(text.count(u"Dear "_s), 3);
        QVERIFY(text.contains(u"\fDear ,"_s)); // the second letter: plain text behind a page break
        QVERIFY(TestSupport::documentText(m_template).startsWith(u"Dear [[FirstName]]"_s)); // the template is untouched

        // One contact: the document is that letter, which is also left under the scratch name.
        QFile::remove(AppPaths::file(u"Temp.docx"_s));
        m_table.setChecked(5, false);
        m_table.setChecked(9, false);
        QCOMPARE(run.run(input(m_template, combined), QString()).done, 1);
        QVERIFY(TestSupport::documentText(combined).startsWith(u"Dear Name2,"_s));
        QCOMPARE(TestSupport::documentText(AppPaths::file(u"Temp.docx"_s)), TestSupport::documentText(combined));
    }

    void cancel_isSeenOnlyAtTheTenthContact_data()
    {
        QTest::addColumn<bool>("combinedForm");
        QTest::newRow("folder") << false;
        QTest::newRow("combined document") << true;
    }

    void cancel_isSeenOnlyAtTheTenthContact()
    {
        QFETCH(bool, combinedForm);
        for (int i = 1; i <= 10; ++i) {
            m_table.setChecked(i, true);
        }
        for (int i = 11; i <= 14; ++i) {
            std::array<QString, 16> cells;
            cells[0] = u"c%1@example.com"_s.arg(i);
            m_table.addRow(cells);
        }
        const QString folder = m_dir.filePath(u"cancelled"_s);
        QDir().mkpath(folder);
        FakeRunView view;
        PostalMergeRun run(view);
        // The user presses Cancel at the second contact: the click waits in the event queue.
        view.onProcess = [&run](const QString& text) {
            if (text.startsWith(u"Processing  2 "_s)) {
                QMetaObject::invokeMethod(
                    QCoreApplication::instance(), [&run] { run.CmdCancelSend_Click(); }, Qt::QueuedConnection);
            }
        };
        const QString combined = m_dir.filePath(u"cancelled.docx"_s);
        QCOMPARE(run.run(input(m_template, combined), combinedForm ? QString() : folder).done, 10);
        if (combinedForm) { // the letters added before the Cancel are kept
            QCOMPARE(TestSupport::documentText(combined).count(u"Dear "_s), 10);
        } else {
            QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 10);
        }
        QCOMPARE(view.process(), u"Process Cancelled!"_s);
        QCOMPARE(view.yields, 1);
    }

    void aDocTemplate_givesDocLetters_andAFailureEndsTheRunSilently()
    {
        const QString docTemplate = m_dir.filePath(u"letter.doc"_s);
        const Status converted = wordlink::BridgeDocument::convert(m_template, docTemplate);
        QVERIFY2(converted.ok(), qPrintable(converted.error().message));
        const QString folder = m_dir.filePath(u"doc-letters"_s);
        QDir().mkpath(folder);
        FakeRunView view;
        PostalMergeRun run(view);
        run.run(input(docTemplate), folder);
        QCOMPARE(QDir(folder).entryList(QDir::Files, QDir::Name),
                 (QStringList{u"Quillbay+1.doc"_s, u"Quillbay+2.doc"_s, u"Quillbay+3.doc"_s}));
        QVERIFY(TestSupport::documentText(folder + u"/Quillbay+1.doc"_s).startsWith(u"Dear Name2,"_s));

        FakeRunView failing;
        PostalMergeRun broken(failing);
        broken.run(input(m_dir.filePath(u"gone.docx"_s)), folder);
        QCOMPARE(failing.process(), u"Processing  1  of  3"_s); // the labels stay as they were
        QVERIFY(failing.nextEnabled);
        QVERIFY(failing.backEnabled);
        QVERIFY(!failing.cancelEnabled);
    }

    void lettersMergedSideBySide_keepTheContactsOrder_andStopAtAFailure()
    {
        // Sixty contacts, every seventh unchecked; some names take the ordinary merge (empty, a
        // double blank, a token), the others the prepared template.
        m_table.clear();
        QStringList expected;
        for (int i = 1; i <= 60; ++i) {
            std::array<QString, 16> cells;
            cells[0] = u"c%1@example.com"_s.arg(i);
            cells[1] = i % 11 == 0 ? QString() : i % 13 == 0 ? u"Ann  %1"_s.arg(i) : u"Name%1"_s.arg(i);
            cells[2] = i % 17 == 0 ? u"[[FirstName]]"_s : u"Last%1"_s.arg(i);
            m_table.addRow(cells);
            m_table.setChecked(i, i % 7 != 0);
            if (i % 7 != 0) {
                expected << u"Dear %1,"_s.arg(cells[1]);
            }
        }
        const QString folder = m_dir.filePath(u"many"_s);
        QDir().mkpath(folder);
        FakeRunView view;
        PostalMergeRun run(view);
        QCOMPARE(run.run(input(m_template), folder).done, int(expected.size()));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), expected.size());
        for (int number = 1; number <= expected.size(); ++number) {
            const QString text =
                TestSupport::documentText(folder + u'/' + PostalMergeRun::numberedName(number, m_template));
            QVERIFY2(text.startsWith(expected.at(number - 1)),
                     qPrintable(u"letter %1: "_s.arg(number) + text.left(20)));
        }
        QCOMPARE(view.processes.at(1), u"Processing  1  of  %1"_s.arg(expected.size()));
        QCOMPARE(view.processes.at(expected.size()), u"Processing  %1  of  %1"_s.arg(expected.size()));

        // The combined document takes them in the same order, each once; the last letter is
        // left under the scratch name.
        const QString combined = m_dir.filePath(u"many.docx"_s);
        FakeRunView joined;
        PostalMergeRun together(joined);
        QCOMPARE(together.run(input(m_template, combined), QString()).done, int(expected.size()));
        const QString text = TestSupport::documentText(combined);
        QCOMPARE(text.count(u"Dear "_s), expected.size());
        qsizetype at = 0;
        for (const QString& greeting : expected) {
            at = text.indexOf(greeting, at);
            QVERIFY2(at >= 0, qPrintable(greeting));
        }
        QCOMPARE(
            TestSupport::documentText(AppPaths::file(u"Temp.docx"_s)),
            TestSupport::documentText(folder + u'/' + PostalMergeRun::numberedName(int(expected.size()), m_template)));

        // A letter that cannot be stored ends the run there: the letters merged after it are
        // dropped, and the files of the letters before it stay.
        const QString failing = m_dir.filePath(u"failing"_s);
        QDir().mkpath(failing);
        const QString locked = failing + u"/Quillbay+5.docx"_s;
        QVERIFY(QFile::copy(m_template, locked));
        QVERIFY(QFile::setPermissions(locked, QFile::ReadOwner));
        QVERIFY(QFile::copy(m_template, failing + u"/Quillbay+50.docx.quillbay-saving"_s)); // left by a killed run
        FakeRunView stopped;
        PostalMergeRun broken(stopped);
        const RunOutcome outcome = broken.run(input(m_template), failing);
        QCOMPARE(outcome.ending, RunOutcome::Ending::Failed);
        QCOMPARE(outcome.done, 4);
        QCOMPARE(QDir(failing).entryList(QDir::Files | QDir::Hidden, QDir::Name),
                 (QStringList{u"Quillbay+1.docx"_s, u"Quillbay+2.docx"_s, u"Quillbay+3.docx"_s, u"Quillbay+4.docx"_s,
                              u"Quillbay+5.docx"_s}));
        QCOMPARE(stopped.process(), u"Processing  5  of  %1"_s.arg(expected.size()));
    }

    void aTemplateNamedLikeTheFirstLetter_isNeverOverwritten()
    {
        // The second contact's letter would be made from the first one's.
        const QString folder = m_dir.filePath(u"own-folder"_s);
        QDir().mkpath(folder);
        const QString templatePath = folder + u"/Quillbay+1.docx"_s;
        QVERIFY(QFile::copy(m_template, templatePath));
        FakeRunView view;
        PostalMergeRun run(view);
        run.run(input(templatePath), folder);
        QCOMPARE(view.process(), u"Processing  1  of  3"_s);
        QVERIFY(TestSupport::documentText(templatePath).startsWith(u"Dear [[FirstName]],"_s));
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{u"Quillbay+1.docx"_s});
    }
};

QTEST_GUILESS_MAIN(PostalRunTest)
#include "tst_postal_run.moc"
