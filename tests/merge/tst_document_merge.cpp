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

class DocumentMergeTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void mergeDocTokens_writesEachContactsCopy_andAFailureLeavesNoCopy()
    {
        QTemporaryDir dir;
        const QString letter = dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, letter));
        ContactTable table;
        table.addRow({{u"ann@example.com"_s, u"Ann"_s, {}, {}, u"Acme"_s, {}, u"Leeds"_s}});
        table.addRow({{u"bob@example.com"_s, {}, u"Stone"_s}});
        TokenEngine tokens(table);
        tokens.setSourceIndex(5);

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
        QVERIFY(text.contains(u"Acme\tis at Leeds; see  or ."_s)); // [[webpage]] too: Word's find ignores case
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
        QVERIFY(TestSupport::documentText(dir.filePath(u"preview.docx"_s)).contains(u"Acme\tis at Leeds"_s));
    }
};

QTEST_GUILESS_MAIN(DocumentMergeTest)
#include "tst_document_merge.moc"
