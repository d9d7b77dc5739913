#include "DocumentText.h"
#include "TestSupport.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OoxmlPackage.h"
#include "wordlink/WordDocumentNames.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace wordlink;
using TestSupport::openDocument;

namespace {

QByteArray partOf(const QString& path, const QString& name)
{
    Result<OoxmlPackage> package = OoxmlPackage::open(path);
    const Result<QByteArray> part = package.ok() ? package->part(name) : Result<QByteArray>(Error{1, {}});
    return part.ok() ? part.value() : QByteArray();
}

// A zip written by Python: entries given as (name, bytes or text[, compression]); `body` stands
// for a main part of one paragraph holding the text in %1.
bool writeZip(const QString& path, const QString& entriesAsPython)
{
    QProcess python;
    python.start(QString::fromLatin1(TestSupport::DebianPython),
                 {u"-c"_s,
                  u"import os,zipfile,sys\n"
                  u"def body(p): return '<w:document xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/"
                  u"2006/main\"><w:body><w:p>' + p + '</w:p></w:body></w:document>'\n"
                  u"with zipfile.ZipFile(sys.argv[1],'w',zipfile.ZIP_DEFLATED,compresslevel=9) as z:\n"
                  u"    for entry in (%1):\n"
                  u"        z.writestr(*entry)\n"_s.arg(entriesAsPython),
                  path});
    return python.waitForFinished(60000) && python.exitCode() == 0;
}

const FindOptions Plain;
const FindOptions MatchCase{true, false, false};
const FindOptions WholeWord{false, true, false};
const FindOptions Wildcards{false, false, true};

} // namespace

class NativeEngineTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_letter;
    std::unique_ptr<DocumentApplication> m_application = NewApplication();

    QString copyOfLetter(const QString& name)
    {
        QFile::copy(m_letter, m_dir.filePath(name));
        return m_dir.filePath(name);
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_letter = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_letter));
    }

    void wordDocumentNames_goByTheExtension()
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
            QVERIFY2(isWordDocumentName(row.name) == row.word, qPrintable(row.name));
            QVERIFY2(isListedDocument(row.name) == row.listed, qPrintable(row.name));
        }
    }

    void contentTextAndFind_followWord()
    {
        auto document = openDocument(*m_application, m_letter);
        QVERIFY(document);
        // The main story only, with table cells, the field's result, the picture and the page break.
        QCOMPARE(document->ContentText().value(),
                 u"Dear [[FirstName]],\r[[CompanyName]]\tis at [[Business-City]]; see [[WebPage]] or [[webpage]].\r"
                 u"Name\r\a[[LastName]]\r\a\r\aMail\r\a[[Email1Address]]\r\a\r\aDate: 1 March 2026\r\x01\r"
                 u"Kind regards, the Quillbay club\f\rSecond page for [[FirstName]].\r"_s);
        const struct
        {
            QString text;
            FindOptions options;
            bool found;
        } finds[] = {
            {u"[[firstname]]"_s, Plain, true}, // letter case is ignored when match case is left out
            {u"[[firstname]]"_s, MatchCase, false},
            {u"clu"_s, WholeWord, false},
            {u"Header"_s, Plain, false},                       // only in the header
            {u"\\[\\[Business-?ity\\]\\]"_s, Wildcards, true}, // wildcards: case counts, Word's syntax
            {u"\\[\\[business-?ity\\]\\]"_s, Wildcards, false},
            {u"<Qu*y>"_s, Wildcards, true},
            {u"^tis at"_s, Plain, true},
            {u"club^m^p"_s, Plain, true}, // the page break, then the paragraph mark
        };
        for (const auto& row : finds) {
            QVERIFY2(document->Find(row.text, row.options).value() == row.found, qPrintable(row.text));
        }
        QVERIFY(!document->Find(u"[unclosed"_s, Wildcards).ok());
    }

    void replaceAll_crossesRuns_keepsTheFirstRunsFormat_andTouchesNothingElse()
    {
        auto document = openDocument(*m_application, m_letter, false);
        QVERIFY(document);
        QCOMPARE(document->ReplaceAll(u"[[FirstName]]"_s, u"Zoë"_s, Plain).value(), 2);
        QCOMPARE(document->ReplaceAll(u"[[CompanyName]]"_s, u"Acme & Sons <Ltd>"_s, Plain).value(), 1);
        QCOMPARE(document->ReplaceAll(u"[[WebPage]]"_s, u"www.example.org"_s, MatchCase).value(), 1);
        // Wildcard replacements use the groups of the hit.
        QCOMPARE(document->ReplaceAll(u"(Kind) (regards)"_s, u"\\2 \\1"_s, Wildcards).value(), 1);
        QVERIFY(!document->Saved());
        const QString merged = m_dir.filePath(u"merged.docx"_s);
        QVERIFY(document->SaveAs(merged).ok());

        const QString text = TestSupport::documentText(merged);
        QVERIFY(text.startsWith(u"Dear Zoë,\r"_s));
        QVERIFY(text.contains(u"Acme & Sons <Ltd>\tis at [[Business-City]]; see www.example.org or [[webpage]]."_s));
        QVERIFY(text.contains(u"regards Kind, the Quillbay club"_s));
        const QByteArray xml = partOf(merged, u"word/document.xml"_s);
        // The hit began in a run without bold: the whole name stands there, the other runs are empty.
        QVERIFY(xml.contains("<w:r><w:rPr><w:b w:val=\"0\"/></w:rPr><w:t>Zoë</w:t></w:r>"));
        QVERIFY(xml.contains("<w:r><w:rPr><w:b/></w:rPr><w:t></w:t></w:r>") ||
                xml.contains("<w:r><w:rPr><w:b/></w:rPr><w:t/></w:r>"));
        QVERIFY(xml.contains("Acme &amp; Sons &lt;Ltd&gt;"));
        // Everything but the main text keeps its bytes: the header still holds its token.
        for (const QString& part : {u"word/header1.xml"_s, u"word/styles.xml"_s, u"word/media/image1.png"_s}) {
            QCOMPARE(partOf(merged, part), partOf(m_letter, part));
        }
        QVERIFY(partOf(merged, u"word/header1.xml"_s).contains("[[FirstName]]"));
        QVERIFY(TestSupport::documentText(m_letter).startsWith(u"Dear [[FirstName]]"_s)); // the template is untouched
    }

    void templates_giveDocuments_andPagesCanBeAppended()
    {
        const QString dotx = m_dir.filePath(u"letter.dotx"_s);
        QVERIFY(TestSupport::makeDocx(u"template"_s, dotx));
        std::unique_ptr<Document> document = std::move(m_application->Add(dotx)).value();
        QVERIFY(!document->Save().ok()); // a new document needs a name first
        QVERIFY(document->AppendPageBreakAndText(u"Second letter\r\tindented\rlast line\r\a"_s).ok());
        const QString out = m_dir.filePath(u"combined.docx"_s);
        QVERIFY(document->SaveAs(out).ok());
        QVERIFY(partOf(out, u"[Content_Types].xml"_s).contains("wordprocessingml.document.main+xml"));
        // The break opens the first appended paragraph: no empty line at the top of the page.
        const QString text = TestSupport::documentText(out);
        QVERIFY2(text.endsWith(u"Second page for [[FirstName]].\r\fSecond letter\r\tindented\rlast line\r"_s),
                 qPrintable(text.right(60)));

        // A macro-enabled template gives a macro-enabled document.
        const QString dotm = m_dir.filePath(u"letter.dotm"_s);
        QVERIFY(QFile::copy(dotx, dotm));
        std::unique_ptr<Document> macro = std::move(m_application->Add(dotm)).value();
        QVERIFY(macro->SaveAs(m_dir.filePath(u"letter.docm"_s)).ok());
        QVERIFY(partOf(m_dir.filePath(u"letter.docm"_s), u"[Content_Types].xml"_s)
                    .contains("\"application/vnd.ms-word.document.macroEnabled.main+xml\""));
    }

    void replacementsWithTabsBreaksAndControlCharacters_stayValidXml()
    {
        const QString path = m_dir.filePath(u"twice.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path, u"[[City]] and [[city]].|end"_s));
        auto document = openDocument(*m_application, path, false);
        // Two hits in one w:t, each becoming several elements of the run.
        QCOMPARE(document->ReplaceAll(u"[[City]]"_s, u"Le\u0001eds\tWest\r\nYorks"_s, Plain).value(), 2);
        QCOMPARE(document->ReplaceAll(u"end"_s, u"^l^m^s^^"_s, Plain).value(), 1);
        QVERIFY(document->SaveAs(path).ok());
        QCOMPARE(TestSupport::documentText(path), u"Leeds\tWest\v\vYorks and Leeds\tWest\v\vYorks.\r\v\f\u00A0^\r"_s);
        const QByteArray xml = partOf(path, u"word/document.xml"_s);
        QVERIFY(xml.contains("<w:t>Leeds</w:t><w:tab/><w:t>West</w:t><w:br/><w:br/><w:t>Yorks and Leeds</w:t>"));
        QVERIFY(!xml.contains('\x01'));
    }

    void aPictureStoredBeforeTheText_survivesTheSave_andSplitTokensAreReplaced()
    {
        const QString path = m_dir.filePath(u"picture.docx"_s);
        QVERIFY(writeZip(path, u"[('word/media/image1.png', os.urandom(40000), zipfile.ZIP_STORED), "
                               u"('word/document.xml', body('<w:r><w:t>x[[Na</w:t></w:r><w:r><w:t>m</w:t></w:r><w:r>"
                               u"<w:t>e]]y[[Na</w:t></w:r><w:r><w:t>me]]z</w:t></w:r>'))]"_s));
        auto document = openDocument(*m_application, path, false);
        QVERIFY(document);
        QCOMPARE(document->ReplaceAll(u"[[Name]]"_s, u"Bo\t"_s, Plain).value(), 2);
        QCOMPARE(document->ContentText().value(), u"xBo\tyBo\tz\r"_s);
        const QString saved = m_dir.filePath(u"picture-saved.docx"_s);
        QVERIFY(document->SaveAs(saved).ok());
        const QByteArray xml = partOf(saved, u"word/document.xml"_s);
        QVERIFY(xml.contains("<w:t>xBo</w:t><w:tab/>"));
        QCOMPARE(partOf(saved, u"word/media/image1.png"_s), partOf(path, u"word/media/image1.png"_s));
        QCOMPARE(partOf(saved, u"word/media/image1.png"_s).size(), 40000);
    }

    void savingInPlace_keepsModeAndLink_andLeavesAReadOnlyDocumentAlone()
    {
        const auto replaceAndSave = [this](const QString& path, bool readOnly = false) {
            auto document = openDocument(*m_application, path, readOnly);
            if (!document || document->ReplaceAll(u"Dear"_s, u"Hello"_s, Plain).value() == 0) {
                return Status(Error{1, u"nothing to save"_s});
            }
            return document->Save();
        };
        const QString privateLetter = copyOfLetter(u"private.docx"_s);
        QVERIFY(QFile::setPermissions(privateLetter, QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(replaceAndSave(privateLetter).ok());
        QCOMPARE(QFile::permissions(privateLetter),
                 QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
        QVERIFY(!QFile::exists(privateLetter + u".quillbay-saving"_s));

        const QString linked = copyOfLetter(u"linked.docx"_s);
        const QString link = m_dir.filePath(u"link.docx"_s);
        QVERIFY(QFile::link(linked, link));
        QVERIFY(replaceAndSave(link).ok());
        QVERIFY(QFileInfo(link).isSymLink());
        QVERIFY(partOf(linked, u"word/document.xml"_s).contains("Hello"));

        // Opened read-only, or not writable for anybody: the document is not saved in place.
        QVERIFY(!replaceAndSave(linked, true).ok());
        const QString readOnly = copyOfLetter(u"read-only.docx"_s);
        QVERIFY(QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        const Status refused = replaceAndSave(readOnly);
        QVERIFY(refused.error().message.contains(u"read-only"_s));
        QCOMPARE(TestSupport::readFile(readOnly), TestSupport::readFile(m_letter));
    }

    void badPackages_failCleanly()
    {
        const struct
        {
            QString name, entries, reason;
        } broken[] = {
            {u"malformed"_s, u"[('word/document.xml', '<w:document><w:body><w:p>')]"_s, u"XML"_s},
            // 100,000 nested elements in 37 KB: refused with a reason instead of overflowing the stack.
            {u"deep"_s, u"[('word/document.xml', body('<w:sdt>' * 100000 + '</w:sdt>' * 100000))]"_s,
             u"nested deeper"_s},
            // 300 MB of zeros packed into a few hundred kilobytes: refused at the ceiling.
            {u"bomb"_s, u"[('word/document.xml', bytes(300*1024*1024))]"_s, u"too large"_s},
        };
        for (const auto& row : broken) {
            const QString path = m_dir.filePath(row.name + u".docx"_s);
            QVERIFY(writeZip(path, row.entries));
            const auto opened = m_application->Open(path, true);
            QVERIFY2(!opened.ok() && opened.error().message.contains(row.reason), qPrintable(row.name));
        }
    }
};

QTEST_GUILESS_MAIN(NativeEngineTest)
#include "tst_native_engine.moc"
