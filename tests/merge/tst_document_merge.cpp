#include "DocumentText.h"
#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "core/ListSeparator.h"
#include "core/SettingsKeys.h"
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

private:
    QTemporaryDir m_dir;
    QString m_letter;
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_tokens;

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_letter = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_letter));
        std::array<QString, 16> ann;
        ann[0] = u"ann@example.com"_s;
        ann[1] = u"Ann"_s;
        ann[4] = u"Acme"_s;
        ann[6] = u"Leeds"_s;
        m_table.addRow(ann);
        std::array<QString, 16> bob;
        bob[0] = u"bob@example.com"_s;
        bob[2] = u"Stone"_s;
        m_table.addRow(bob);
        m_tokens = std::make_unique<TokenEngine>(m_table);
        m_tokens->setSourceIndex(5);
    }

    void scan_listsTheTokensOfTheMainText_andRaisesTheOfficeFlag()
    {
        SettingsStore::instance().setValue(Keys::WordRunning, u"?"_s);
        QVERIFY(DocumentMerge::ScanDocTokens(*m_tokens, m_letter).ok());
        const QStringList tokens = m_tokens->docTokens().split(ListSeparatorChar, Qt::SkipEmptyParts);
        QCOMPARE(tokens, (QStringList{u"[[Email1Address]]"_s, u"[[FirstName]]"_s, u"[[LastName]]"_s,
                                      u"[[CompanyName]]"_s, u"[[Business-City]]"_s, u"[[WebPage]]"_s}));
        QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);
        QVERIFY(!DocumentMerge::ScanDocTokens(*m_tokens, m_dir.filePath(u"gone.docx"_s)).ok());
    }

    void mergeDocTokens_writesEachContactsCopy_andAFailureLeavesNoCopy()
    {
        QVERIFY(DocumentMerge::ScanDocTokens(*m_tokens, m_letter).ok());
        auto application = wordlink::NewApplication();
        DocumentMerge merge(*application, *m_tokens);
        const QString copy = m_dir.filePath(u"attachment/letter.docx"_s);
        QDir().mkpath(m_dir.filePath(u"attachment"_s));
        QVERIFY(merge.MergeDocTokens(1, m_letter, copy).ok());
        QString text = TestSupport::documentText(copy);
        QVERIFY(text.startsWith(u"Dear Ann,"_s));
        QVERIFY(text.contains(u"Acme\tis at Leeds; see  or ."_s)); // [[webpage]] too: Word's find ignores case
        QVERIFY(merge.MergeDocTokens(2, m_letter, copy).ok());
        text = TestSupport::documentText(copy);
        QVERIFY(text.startsWith(u"Dear ,"_s)); // no blank-field text inside documents
        QVERIFY(text.contains(u"Stone"_s));

        // A failed merge never leaves the previous contact's copy in place.
        QVERIFY(!merge.MergeDocTokens(1, m_dir.filePath(u"gone.docx"_s), copy).ok());
        QVERIFY(!QFile::exists(copy));

        // A template that lies where its copies go is never written over: the merge fails.
        QVERIFY(QFile::copy(m_letter, copy));
        QVERIFY(!merge.MergeDocTokens(1, u" "_s + copy, copy).ok());
        QVERIFY(TestSupport::documentText(copy).startsWith(u"Dear [[FirstName]],"_s));
    }

    void mergeDocAllFields_replacesEveryField_customOnesForMappedSourcesOnly()
    {
        const QString custom = m_dir.filePath(u"custom.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, custom, u"[[CustomField(1)]] for [[Email1Address]]"_s));
        m_table.setCustomHeading(13, u"CustomField(1)"_s);
        auto application = wordlink::NewApplication();
        DocumentMerge merge(*application, *m_tokens);
        const QString out = m_dir.filePath(u"preview.docx"_s);
        QVERIFY(merge.MergeDocAllFields(1, custom, out).ok());
        QCOMPARE(TestSupport::documentText(out), u" for ann@example.com\r"_s);
        m_tokens->setSourceIndex(1);
        QVERIFY(merge.MergeDocAllFields(1, custom, out).ok());
        QCOMPARE(TestSupport::documentText(out), u"[[CustomField(1)]] for ann@example.com\r"_s);
        m_tokens->setSourceIndex(5);
    }
};

QTEST_GUILESS_MAIN(DocumentMergeTest)
#include "tst_document_merge.moc"
