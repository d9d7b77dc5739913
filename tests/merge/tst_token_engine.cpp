#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "core/ListSeparator.h"
#include "core/TextUtil.h"
#include "merge/TokenEngine.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

enum Cell
{
    Email = 0,
    First,
    Last,
    Job,
    Company,
    Street,
    City,
    State,
    Zip,
    Country,
    Phone,
    Fax,
    Web,
    C1,
    C2,
    C3
};

std::array<QString, 16> contact(std::initializer_list<std::pair<Cell, QString>> values)
{
    std::array<QString, 16> cells;
    for (const auto& [cell, value] : values) {
        cells[cell] = value;
    }
    return cells;
}

QStringList listOf(const QString& packed)
{
    return packed.split(ListSeparatorChar);
}

} // namespace

class TokenEngineTest : public QObject
{
    Q_OBJECT

private:
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_engine;

private slots:
    void init()
    {
        m_table.clear();
        for (int cell = C1; cell <= C3; ++cell) {
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

    void catalogue_holdsTheThirteenFixedTokens_andScansAppendCustomOnes()
    {
        QCOMPARE(listOf(m_engine->tokenCatalog()),
                 (QStringList{u"[[Email1Address]]"_s, u"[[FirstName]]"_s, u"[[LastName]]"_s, u"[[Job-Title]]"_s,
                              u"[[CompanyName]]"_s, u"[[Business-Street]]"_s, u"[[Business-City]]"_s,
                              u"[[Business-State]]"_s, u"[[Business-Zip]]"_s, u"[[Business-Country]]"_s,
                              u"[[Business-Phone]]"_s, u"[[Business-Fax]]"_s, u"[[WebPage]]"_s}));
        m_engine->ScanMailTokens(u"Hi [[FirstName]]"_s);
        m_engine->ScanDocTokens(u"[[LastName]]\r"_s);
        const QStringList catalogue = listOf(m_engine->tokenCatalog());
        QCOMPARE(catalogue.size(), 19);
        QCOMPARE(catalogue.count(u"[[CustomField(1)]]"_s), 2);
        m_engine->BuildTokenCatalog();
        QCOMPARE(listOf(m_engine->tokenCatalog()).size(), 13);
    }

    void mailScan_listsUsedTokensInCatalogueOrder_eachFollowedByTheSeparator()
    {
        int steps = 0;
        double lastWidth = 0;
        m_engine->ScanMailTokens(u"[[WebPage]] and [[FirstName]] [[FirstName]] [[CustomField(2)]] [[firstname]]"_s,
                                 [&](double width) {
                                     ++steps;
                                     lastWidth = width;
                                 });
        const QString sep = ListSeparator();
        QCOMPARE(m_engine->mailTokens(),
                 u"[[FirstName]]"_s + sep + u"[[WebPage]]"_s + sep + u"[[CustomField(2)]]"_s + sep);
        QCOMPARE(steps, 16);
        QCOMPARE(lastWidth, 4000.0);

        m_engine->ScanMailTokens(u"<p>No tokens here</p>"_s);
        QCOMPARE(m_engine->mailTokens(), QString());
        QCOMPARE(m_engine->mergedBody(1, u"<p>[[FirstName]]</p>"_s), u"<p>[[FirstName]]</p>"_s);
    }

    void subjectPass_runsInItsFixedOrder_soLaterTokensInValuesAreReplacedToo()
    {
        m_table.addRow(contact({{Email, u"c@x.org"_s},
                                {First, u"Cy"_s},
                                {Last, u"Low"_s},
                                {Company, u"[[LastName]] & [[WebPage]]"_s},
                                {Web, u"w.example"_s}}));
        // The company comes after the last name but before the web page in the subject pass.
        QCOMPARE(m_engine->MergeAllFields(3, u"[[CompanyName]]"_s), u"[[LastName]] & w.example"_s);
        // The preview pass puts the address first: an address holding a name token gets it replaced.
        m_table.addRow(contact({{Email, u"[[FirstName]]@x.org"_s}, {First, u"Di"_s}}));
        QString preview = u"[[Email1Address]]"_s;
        m_engine->MergePreviewFields(4, preview);
        QCOMPARE(preview, u"Di@x.org"_s);
        QCOMPARE(m_engine->MergeAllFields(4, u"[[Email1Address]]"_s), u"[[FirstName]]@x.org"_s);
    }

    void blankReplacers_fillTheFourNameFieldsInEveryPass_andNoOther()
    {
        BlankReplacers blanks;
        blanks.texts = {u" Friend "_s, u"(no name)"_s, u"Staff"_s, u"Your firm"_s};
        m_engine->setBlankReplacers(blanks);
        m_table.addRow(contact({{Email, u"e@x.org"_s}, {Web, u"w.example"_s}}));
        const QString text = u"[[Email1Address]]|[[FirstName]]|[[LastName]]|[[Job-Title]]|[[CompanyName]]|"
                             u"[[Business-Street]]|[[WebPage]]"_s;
        const QString merged = u"e@x.org|Friend|(no name)|Staff|Your firm||w.example"_s;
        QCOMPARE(m_engine->MergeAllFields(3, text), merged);
        m_engine->ScanMailTokens(text);
        QCOMPARE(m_engine->mergedBody(3, text), merged);
        QString preview = text;
        m_engine->MergePreviewFields(3, preview);
        QCOMPARE(preview, merged);
        for (int cell = First; cell <= Company; ++cell) {
            QCOMPARE(m_engine->fieldValue(3, cell), TextUtil::trimSpaces(blanks.texts[cell - First]));
        }
        QCOMPARE(m_engine->fieldValue(3, Street), QString());
    }

    void blankReplacers_holdForMappedSourcesOnly_trimmed()
    {
        BlankReplacers blanks;
        blanks.texts = {u"  Dear Friend "_s, u"(no name)"_s, u"Staff"_s, QString()};
        m_engine->setBlankReplacers(blanks);
        const QString text = u"[[FirstName]]|[[LastName]]|[[Job-Title]]|[[CompanyName]]|[[Business-City]]"_s;
        QCOMPARE(m_engine->MergeAllFields(2, text), u"Dear Friend|Stone|   ||"_s);
        m_engine->setSourceIndex(0); // address book: the replacers are never consulted
        QCOMPARE(m_engine->MergeAllFields(2, text), u"|Stone|   ||"_s);
        m_engine->setSourceIndex(2);
        QCOMPARE(m_engine->fieldValue(2, First), u"Dear Friend"_s);
        // Word documents always take the row's text as it stands.
        const auto replacements = m_engine->allFieldReplacements(2);
        QCOMPARE(replacements.at(1), (TokenEngine::Replacement{u"[[FirstName]]"_s, QString()}));
    }

    void customTokens_followTheHeadings_andTheSourceKindPerPass()
    {
        const QString text = u"[[CustomField(1)]]"_s;
        QCOMPARE(m_engine->MergeAllFields(1, text), u"M-17"_s);
        m_engine->setSourceIndex(1); // mail-client contacts: the subject pass leaves custom tokens alone
        QCOMPARE(m_engine->MergeAllFields(1, text), text);
        m_engine->ScanMailTokens(u"<b>[[CustomField(1)]]</b>"_s);
        QCOMPARE(m_engine->mergedBody(1, u"<b>[[CustomField(1)]]</b>"_s), u"<b>M-17</b>"_s);

        m_table.setCustomHeading(13, u"Member No"_s);
        m_engine->setSourceIndex(4);
        QCOMPARE(m_engine->MergeAllFields(1, u"[[Member No]] [[CustomField(1)]]"_s), u"M-17 [[CustomField(1)]]"_s);
        m_table.setCustomHeading(14, QString());
        QCOMPARE(m_engine->customToken(14), u"[[]]"_s);
    }

    void sendRunRules_trimOnlyAnUnmergedSubject()
    {
        QCOMPARE(m_engine->mergedSubject(1, u"  News for you  "_s), u"News for you"_s);
        QCOMPARE(m_engine->mergedSubject(1, u"  News for [[FirstName]]  "_s), u"  News for Ann  "_s);
        QCOMPARE(m_engine->mergedSubject(1, u"\tTabbed "_s), u"\tTabbed"_s);
    }

    void bodyPass_replacesOnlyListedTokens_caseSensitively_withoutEscaping()
    {
        const QString html = u"<p>[[FirstName]] of [[CompanyName]], [[firstname]], [[LastName]] [[Bogus]] [[</p>"_s;
        m_engine->ScanMailTokens(u"[[FirstName]] [[CompanyName]]"_s);
        QCOMPARE(m_engine->MergeUsedTokens(1, html),
                 u"<p>Ann of Acme & Co <Ltd>, [[firstname]], [[LastName]] [[Bogus]] [[</p>"_s);
        // A row that does not exist leaves the text as it was.
        QCOMPARE(m_engine->MergeUsedTokens(9, html), html);
        QCOMPARE(m_engine->MergeAllFields(0, u"[[FirstName]]"_s), u"[[FirstName]]"_s);
    }

    void bodyAndPreviewPasses_keepTheBlankRule_andTheBodyFollowsItsListOrder()
    {
        m_table.addRow(contact({{Email, u"e@x.org"_s},
                                {Last, u"Low"_s},
                                {Company, u"[[LastName]]/[[WebPage]]"_s},
                                {Web, u"w.example"_s},
                                {C1, u"K9"_s}}));
        m_engine->setSourceIndex(2); // a sheet, with the replacers as they start: "Sir" for a first name
        m_engine->ScanMailTokens(u"[[FirstName]] [[LastName]] [[CompanyName]] [[WebPage]]"_s);
        // The company value is merged after the last names but before the web pages of the list.
        const QString body = u"Dear [[FirstName]] of [[CompanyName]]"_s;
        QCOMPARE(m_engine->mergedBody(3, body), u"Dear Sir of [[LastName]]/w.example"_s);
        QString preview = u"[[FirstName]] [[CustomField(1)]]"_s;
        m_engine->MergePreviewFields(3, preview);
        QCOMPARE(preview, u"Sir K9"_s);

        m_engine->setSourceIndex(0); // an address book: no replacer, and the preview keeps custom tokens
        QCOMPARE(m_engine->mergedBody(3, body), u"Dear  of [[LastName]]/w.example"_s);
        preview = u"[[FirstName]] [[CustomField(1)]]"_s;
        m_engine->MergePreviewFields(3, preview);
        QCOMPARE(preview, u" [[CustomField(1)]]"_s);
    }

    void documentReplacements_followTheListOrAllFieldsInFixedOrder()
    {
        m_engine->ScanDocTokens(u"Dear [[LastName]], [[CustomField(3)]]\r"_s);
        const auto listed = m_engine->docTokenReplacements(1);
        QCOMPARE(listed.size(), size_t{2});
        QCOMPARE(listed[0], (TokenEngine::Replacement{u"[[LastName]]"_s, u"Lee"_s}));
        QCOMPARE(listed[1].first, u"[[CustomField(3)]]"_s);

        const auto all = m_engine->allFieldReplacements(1);
        QCOMPARE(all.size(), size_t{16});
        QCOMPARE(all.front().first, u"[[Email1Address]]"_s);
        QCOMPARE(all[12], (TokenEngine::Replacement{u"[[WebPage]]"_s, u"acme.example"_s}));
        m_engine->setSourceIndex(0);
        QCOMPARE(m_engine->allFieldReplacements(1).size(), size_t{13});

        m_engine->ScanDocTokens(u"A template with no tokens\r"_s);
        QCOMPARE(m_engine->docTokens(), QString());
        QVERIFY(m_engine->docTokenReplacements(1).empty());
    }
};

QTEST_GUILESS_MAIN(TokenEngineTest)
#include "tst_token_engine.moc"
