#include "DocumentText.h"
#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "core/ListSeparator.h"
#include "merge/DocumentMerge.h"
#include "merge/TokenEngine.h"
#include "wordlink/DocumentEngine.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The cells of a contact that the cases fill.
constexpr int Email = 0, First = 1, Last = 2, Job = 3, Company = 4, Web = 12, C1 = 13;

std::array<QString, 16> contact(std::initializer_list<std::pair<int, QString>> values)
{
    std::array<QString, 16> cells;
    for (const auto& [cell, value] : values) {
        cells[cell] = value;
    }
    return cells;
}

} // namespace

// The tokens of the contact table merged into texts, and into copies of Word documents.
class MergeTest : public QObject
{
    Q_OBJECT

private:
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_engine;

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void init()
    {
        m_table.clear();
        for (int cell = C1; cell <= C1 + 2; ++cell) {
            m_table.setCustomHeading(cell, MergeFieldTable::defaultCustomHeading(cell));
        }
        m_table.addRow(contact({{Email, u"ann@example.com"_s},
                                {First, u"Ann"_s},
                                {Last, u"Lee"_s},
                                {Company, u"Acme & Co <Ltd>"_s},
                                {Web, u"acme.example"_s},
                                {C1, u"M-17"_s}}));
        m_table.addRow(contact({{Email, u"bob@example.com"_s}, {Last, u"Stone"_s}, {Job, u"   "_s}}));
        m_engine = std::make_unique<TokenEngine>(m_table);
        m_engine->setSourceIndex(5);
    }

    void catalogueAndScans_listTheUsedTokensInCatalogueOrder()
    {
        const QString sep = ListSeparator();
        m_engine->ScanMailTokens(u"[[WebPage]] and [[FirstName]] [[FirstName]] [[CustomField(2)]] [[firstname]]"_s);
        QCOMPARE(m_engine->mailTokens(),
                 u"[[FirstName]]"_s + sep + u"[[WebPage]]"_s + sep + u"[[CustomField(2)]]"_s + sep);
        m_engine->BuildTokenCatalog(); // the mail scan added the custom tokens to it once more
        m_engine->ScanDocTokens(u"Dear [[LastName]], [[CustomField(3)]]\r"_s);
        const auto listed = m_engine->docTokenReplacements(1);
        QCOMPARE(listed.size(), size_t{2});
        QCOMPARE(listed[0], (TokenEngine::Replacement{u"[[LastName]]"_s, u"Lee"_s}));
        QCOMPARE(listed[1].first, u"[[CustomField(3)]]"_s);

        // Without a list, a document takes every field in the fixed order, custom ones from mapped sources.
        const auto all = m_engine->allFieldReplacements(1);
        QCOMPARE(all.size(), size_t{16});
        QCOMPARE(all[12], (TokenEngine::Replacement{u"[[WebPage]]"_s, u"acme.example"_s}));
        m_engine->setSourceIndex(0);
        QCOMPARE(m_engine->allFieldReplacements(1).size(), size_t{13});
    }

    void passes_replaceTheListedTokens_caseSensitively_withoutEscaping()
    {
        QCOMPARE(m_engine->MergeAllFields(0, u"[[FirstName]]"_s), u"[[FirstName]]"_s); // no such row
        // Body: only the listed tokens, as they are written.
        m_engine->ScanMailTokens(u"[[FirstName]] [[CompanyName]]"_s);
        const QString html = u"<p>[[FirstName]] of [[CompanyName]], [[firstname]], [[LastName]] [[Bogus]] [[</p>"_s;
        QCOMPARE(m_engine->MergeUsedTokens(1, html),
                 u"<p>Ann of Acme & Co <Ltd>, [[firstname]], [[LastName]] [[Bogus]] [[</p>"_s);
        QCOMPARE(m_engine->MergeUsedTokens(9, html), html); // no such row

        // The send run trims a subject only where nothing was merged into it.
        QCOMPARE(m_engine->mergedSubject(1, u"  News for you  "_s), u"News for you"_s);
        QCOMPARE(m_engine->mergedSubject(1, u"  News for [[FirstName]]  "_s), u"  News for Ann  "_s);
    }

    void blankReplacers_fillTheFourNameFieldsInEveryPass_forMappedSourcesOnly()
    {
        m_table.addRow(contact({{Email, u"e@x.org"_s}, {Web, u"w.example"_s}, {C1, u"K9"_s}}));
        const QString text = u"[[Email1Address]]|[[FirstName]]|[[LastName]]|[[Job-Title]]|[[CompanyName]]|"
                             u"[[Business-Street]]|[[WebPage]]"_s;
        // As they start, only the first name has one: "Sir".
        QString preview = u"[[FirstName]] [[CustomField(1)]]"_s;
        m_engine->MergePreviewFields(3, preview);
        QCOMPARE(preview, u"Sir K9"_s);

        BlankReplacers blanks;
        blanks.texts = {u" Friend "_s, u"(no name)"_s, u"Staff"_s, u"Your firm"_s};
        m_engine->setBlankReplacers(blanks);
        const QString merged = u"e@x.org|Friend|(no name)|Staff|Your firm||w.example"_s;
        QCOMPARE(m_engine->MergeAllFields(3, text), merged);
        m_engine->ScanMailTokens(text);
        QCOMPARE(m_engine->mergedBody(3, text), merged);
        preview = text;
        m_engine->MergePreviewFields(3, preview);
        QCOMPARE(preview, merged);
        QCOMPARE(m_engine->fieldValue(3, Company), u"Your firm"_s);
        QCOMPARE(m_engine->MergeAllFields(2, text), u"bob@example.com|Friend|Stone|   |Your firm||"_s);

        m_engine->setSourceIndex(0); // an address book: no replacer, and the preview keeps custom tokens
        QCOMPARE(m_engine->MergeAllFields(3, text), u"e@x.org||||||w.example"_s);
        QCOMPARE(m_engine->mergedBody(3, text), u"e@x.org||||||w.example"_s);
        preview = u"[[FirstName]] [[CustomField(1)]]"_s;
        m_engine->MergePreviewFields(3, preview);
        QCOMPARE(preview, u" [[CustomField(1)]]"_s);
    }

    void customTokens_followTheHeadings()
    {
        const QString text = u"[[CustomField(1)]]"_s;
        QCOMPARE(m_engine->MergeAllFields(1, text), u"M-17"_s);
        m_engine->ScanMailTokens(u"<b>[[CustomField(1)]]</b>"_s);
        QCOMPARE(m_engine->mergedBody(1, u"<b>[[CustomField(1)]]</b>"_s), u"<b>M-17</b>"_s);

        m_table.setCustomHeading(13, u"Member No"_s);
        QCOMPARE(m_engine->MergeAllFields(1, u"[[Member No]] [[CustomField(1)]]"_s), u"M-17 [[CustomField(1)]]"_s);
    }

    void mergeDocTokens_writesEachContactsCopy_andAFailureLeavesNoCopy()
    {
        QTemporaryDir dir;
        const QString letter = dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, letter));
        TokenEngine& tokens = *m_engine;

        // The scan lists the tokens of the main text.
        QVERIFY(DocumentMerge::ScanDocTokens(tokens, letter).ok());
        QCOMPARE(tokens.docTokens().split(ListSeparatorChar, Qt::SkipEmptyParts).join(u' '),
                 u"[[Email1Address]] [[FirstName]] [[LastName]] [[CompanyName]] [[Business-City]] [[WebPage]]"_s);
        QVERIFY(!DocumentMerge::ScanDocTokens(tokens, dir.filePath(u"gone.docx"_s)).ok());

        auto application = wordlink::NewApplication();
        DocumentMerge merge(*application, tokens);
        const QString copy = dir.filePath(u"attachment/letter.docx"_s);
        QDir().mkpath(dir.filePath(u"attachment"_s));
        QVERIFY(merge.MergeDocTokens(1, letter, copy).ok());
        QString text = TestSupport::documentText(copy);
        QVERIFY(text.startsWith(u"Dear Ann,"_s));
        QVERIFY(
            text.contains(u"Acme & Co <Ltd>\tis at ; see acme.example or acme.example."_s)); // Word's find ignores case
        QVERIFY(merge.MergeDocTokens(2, letter, copy).ok());
        text = TestSupport::documentText(copy);
        QVERIFY(text.startsWith(u"Dear ,"_s)); // no blank-field text inside documents
        QVERIFY(text.contains(u"Stone"_s));

        // A failed merge never leaves the previous contact's copy in place.
        QVERIFY(!merge.MergeDocTokens(1, dir.filePath(u"gone.docx"_s), copy).ok());
        QVERIFY(!QFile::exists(copy));
        // A template that lies where its copies go is never written over: the merge fails.
        QVERIFY(QFile::copy(letter, copy));
        QVERIFY(!merge.MergeDocTokens(1, u" "_s + copy, copy).ok());
        QVERIFY(TestSupport::documentText(copy).startsWith(u"Dear [[FirstName]],"_s));
        // Without a scan, every field is replaced.
        QVERIFY(merge.MergeDocAllFields(1, letter, dir.filePath(u"preview.docx"_s)).ok());
        QVERIFY(TestSupport::documentText(dir.filePath(u"preview.docx"_s)).contains(u"Acme & Co <Ltd>\tis at"_s));
    }
};

QTEST_GUILESS_MAIN(MergeTest)
#include "tst_document_merge.moc"
