#include "wordlink/WordDocumentNames.h"

#include <QTest>

using namespace Qt::StringLiterals;

class WordDocumentNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void oneRule_byTheExtension()
    {
        const struct
        {
            QString name;
            bool word, listed;
        } rows[] = {
            {u"/letters/Memo.doc"_s, true, true}, {u"Memo.DOCX"_s, true, true},   {u"/a.b/Memo.Docx"_s, true, true},
            {u"Memo.RTF"_s, false, true},         {u"memodoc"_s, false, false},   {u"/x.doc/memo"_s, false, false},
            {u"memo.doc.txt"_s, false, false},    {u"memo.docm"_s, false, false}, {QString(), false, false},
        };
        for (const auto& row : rows) {
            QVERIFY2(wordlink::isWordDocumentName(row.name) == row.word, qPrintable(row.name));
            QVERIFY2(wordlink::isListedDocument(row.name) == row.listed, qPrintable(row.name));
        }
    }
};

QTEST_GUILESS_MAIN(WordDocumentNamesTest)
#include "tst_word_document_names.moc"
