#include "wordlink/WordDocumentNames.h"

#include <QTest>

using namespace Qt::StringLiterals;

class WordDocumentNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void oneRule_byTheExtension_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("word");
        QTest::addColumn<bool>("listed");
        QTest::newRow(".doc") << u"/letters/Memo.doc"_s << true << true;
        QTest::newRow(".DOCX") << u"Memo.DOCX"_s << true << true;
        QTest::newRow(".Docx in a dotted folder") << u"/a.b/Memo.Docx"_s << true << true;
        QTest::newRow(".rtf is listed only") << u"Memo.RTF"_s << false << true;
        QTest::newRow("the letters without a dot") << u"memodoc"_s << false << false;
        QTest::newRow("a folder named .doc") << u"/x.doc/memo"_s << false << false;
        QTest::newRow(".doc.txt") << u"memo.doc.txt"_s << false << false;
        QTest::newRow(".docm") << u"memo.docm"_s << false << false;
        QTest::newRow("empty") << QString() << false << false;
    }

    void oneRule_byTheExtension()
    {
        QFETCH(QString, name);
        QFETCH(bool, word);
        QFETCH(bool, listed);
        QCOMPARE(wordlink::isWordDocumentName(name), word);
        QCOMPARE(wordlink::isListedDocument(name), listed);
    }
};

QTEST_GUILESS_MAIN(WordDocumentNamesTest)
#include "tst_word_document_names.moc"
