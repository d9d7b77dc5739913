#include "DocumentText.h"
#include "TestSupport.h"
#include "wordlink/DocumentEngine.h"
#include "wordlink/OoxmlPackage.h"

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
    if (!package.ok()) {
        return {};
    }
    const Result<QByteArray> part = package->part(name);
    return part.ok() ? part.value() : QByteArray();
}

// A zip written by Python: entries given as (name, bytes or text[, compression]).
bool writeZip(const QString& path, const QString& entriesAsPython)
{
    QProcess python;
    python.start(QString::fromLatin1(TestSupport::DebianPython),
                 {u"-c"_s,
                  u"import os,zipfile,sys\n"
                  u"with zipfile.ZipFile(sys.argv[1],'w',zipfile.ZIP_DEFLATED,compresslevel=9) as z:\n"
                  u"    for entry in (%1):\n"
                  u"        z.writestr(*entry)\n"_s.arg(entriesAsPython),
                  path});
    return python.waitForFinished(60000) && python.exitCode() == 0;
}

// The most memory this process has held so far, in bytes.
qint64 peakMemory()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').value(0).toLongLong() * 1024;
        }
    }
    return -1;
}

// A 32-bit field of a zip header.
void putLittleEndian(QByteArray& bytes, qsizetype at, quint32 value)
{
    for (int i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
    }
}

const FindOptions Plain;

} // namespace

class NativeEngineTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_letter;
    std::unique_ptr<DocumentApplication> m_application = NewApplication();

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        m_letter = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_letter));
    }

    void contentText_isTheMainStoryAsWordGivesIt()
    {
        auto document = openDocument(*m_application, m_letter);
        QVERIFY(document);
        const QString text = document->ContentText().value();
        QVERIFY(text.startsWith(u"Dear [[FirstName]],\r"_s));
        QVERIFY(text.contains(u"[[CompanyName]]\tis at [[Business-City]]"_s));
        QVERIFY(text.contains(u"Name\r\a[[LastName]]\r\a\r\aMail\r\a[[Email1Address]]\r\a\r\a"_s));
        QVERIFY(text.contains(u"Date: 1 March 2026\r"_s)); // the field's result, not its code
        QVERIFY(!text.contains(u"DATE"_s));
        QVERIFY(text.contains(u"\x01"_s)); // the picture
        QVERIFY(text.contains(u"Kind regards, the Quillbay club\f\r"_s));
        QVERIFY(!text.contains(u"Header for"_s));
        QCOMPARE(document->FullName(), m_letter);
        QVERIFY(document->Saved());
    }

    void find_followsWordsOptions()
    {
        auto document = openDocument(*m_application, m_letter);
        QVERIFY(document);
        const auto find = [&](const QString& text, FindOptions options = {}) {
            return document->Find(text, options).value();
        };
        QVERIFY(find(u"[[firstname]]"_s)); // letter case is ignored when match case is left out
        QVERIFY(!find(u"[[firstname]]"_s, {true, false, false}));
        QVERIFY(find(u"[[FirstName]]"_s, {true, false, false}));
        QVERIFY(find(u"club"_s, {false, true, false}));
        QVERIFY(!find(u"clu"_s, {false, true, false}));
        QVERIFY(!find(u"Header"_s)); // only in the header
        QVERIFY(find(u"[[WebPage]] or [[webpage]]"_s));
        // Wildcards: case counts, and the syntax of Word.
        QVERIFY(find(u"\\[\\[Business-?ity\\]\\]"_s, {false, false, true}));
        QVERIFY(!find(u"\\[\\[business-?ity\\]\\]"_s, {false, false, true}));
        QVERIFY(find(u"<Qu*y>"_s, {false, false, true}));
        QVERIFY(find(u"[A-Z][a-z]{3} regards"_s, {false, false, true}));
        QVERIFY(find(u"[!a-z]ind"_s, {false, false, true}));
        QVERIFY(find(u"Ma@il"_s, {false, false, true}));
        QVERIFY(!find(u"Max@il"_s, {false, false, true}));
        QVERIFY(find(u"Kind r?gards"_s, {false, false, true}));
        QVERIFY(find(u"^tis at"_s));
        QVERIFY(find(u"club^m^p"_s)); // the page break, then the paragraph mark
        QVERIFY(find(u"Kind^wregards"_s));
        QVERIFY(!find(u"Kind^sregards"_s));
        QVERIFY(!document->Find(u"[unclosed"_s, {false, false, true}).ok());
    }

    void replaceAll_crossesRuns_keepsTheFirstRunsFormat_andTouchesNothingElse()
    {
        auto document = openDocument(*m_application, m_letter, false);
        QVERIFY(document);
        QCOMPARE(document->ReplaceAll(u"[[FirstName]]"_s, u"Zoë"_s, Plain).value(), 2);
        QCOMPARE(document->ReplaceAll(u"[[CompanyName]]"_s, u"Acme & Sons <Ltd>"_s, Plain).value(), 1);
        QCOMPARE(document->ReplaceAll(u"[[WebPage]]"_s, u"www.example.org"_s, {true, false, false}).value(), 1);
        QCOMPARE(document->ReplaceAll(u"[[LastName]]"_s, u"Lee"_s, Plain).value(), 1);
        QCOMPARE(document->ReplaceAll(u"[[Job-Title]]"_s, u"x"_s, Plain).value(), 0);
        QVERIFY(!document->Saved());
        const QString merged = m_dir.filePath(u"merged.docx"_s);
        QVERIFY(document->SaveAs(merged).ok());
        QCOMPARE(document->FullName(), merged);

        auto again = openDocument(*m_application, merged);
        const QString text = again->ContentText().value();
        QVERIFY(text.startsWith(u"Dear Zoë,\r"_s));
        QVERIFY(text.contains(u"Acme & Sons <Ltd>\tis at"_s));
        QVERIFY(text.contains(u"see www.example.org or [[webpage]]."_s));
        QVERIFY(text.contains(u"Name\r\aLee\r\a"_s));
        QVERIFY(text.contains(u"Second page for Zoë."_s));

        const QByteArray xml = partOf(merged, u"word/document.xml"_s);
        // The hit began in a run without bold: the whole name stands there, the other runs are empty.
        QVERIFY(xml.contains("<w:r><w:rPr><w:b w:val=\"0\"/></w:rPr><w:t>Zoë</w:t></w:r>"));
        QVERIFY(xml.contains("<w:r><w:rPr><w:b/></w:rPr><w:t></w:t></w:r>") ||
                xml.contains("<w:r><w:rPr><w:b/></w:rPr><w:t/></w:r>"));
        QVERIFY(xml.contains("Acme &amp; Sons &lt;Ltd&gt;"));
        // Everything but the main text keeps its bytes: the header still holds its token.
        for (const QString& part :
             {u"word/header1.xml"_s, u"word/styles.xml"_s, u"[Content_Types].xml"_s, u"word/media/image1.png"_s}) {
            QCOMPARE(partOf(merged, part), partOf(m_letter, part));
        }
        QVERIFY(partOf(merged, u"word/header1.xml"_s).contains("[[FirstName]]"));
        // The template itself is untouched.
        QVERIFY(openDocument(*m_application, m_letter)->ContentText().value().startsWith(u"Dear [[FirstName]]"_s));
    }

    void wildcardReplacements_useTheGroupsOfTheHit()
    {
        const QString copy = m_dir.filePath(u"copy.docx"_s);
        QVERIFY(QFile::copy(m_letter, copy));
        auto document = openDocument(*m_application, copy, false);
        QCOMPARE(document->ReplaceAll(u"(Kind) (regards)"_s, u"\\2 \\1"_s, {false, false, true}).value(), 1);
        QVERIFY(document->ContentText().value().contains(u"regards Kind, the"_s));
        QCOMPARE(document->ReplaceAll(u"quillbay"_s, u"[^&]"_s, Plain).value(), 1);
        QVERIFY(document->ContentText().value().contains(u"the [Quillbay] club"_s));
        QVERIFY(document->Save().ok());
        QVERIFY(openDocument(*m_application, copy)->ContentText().value().contains(u"regards Kind, the [Quillbay]"_s));
        // A document opened read-only is not saved in place.
        auto readOnly = openDocument(*m_application, copy, true);
        QVERIFY(readOnly->ReplaceAll(u"Kind"_s, u"Warm"_s, Plain).ok());
        QVERIFY(!readOnly->Save().ok());
    }

    void templates_giveDocuments_andPagesCanBeAppended()
    {
        const QString dotx = m_dir.filePath(u"letter.dotx"_s);
        QVERIFY(TestSupport::makeDocx(u"template"_s, dotx));
        Result<std::unique_ptr<Document>> added = m_application->Add(dotx);
        QVERIFY(added.ok());
        std::unique_ptr<Document> document = std::move(added).value();
        QCOMPARE(document->FullName(), u"Document1"_s);
        QVERIFY(!document->Save().ok()); // a new document needs a name first
        QVERIFY(document->AppendPageBreakAndText(u"Second letter\r\tindented\rlast line\r\a"_s).ok());
        const QString out = m_dir.filePath(u"combined.docx"_s);
        QVERIFY(document->SaveAs(out).ok());
        QVERIFY(partOf(out, u"[Content_Types].xml"_s).contains("wordprocessingml.document.main+xml"));
        QVERIFY(!partOf(out, u"[Content_Types].xml"_s).contains("template.main+xml"));
        const QString text = openDocument(*m_application, out)->ContentText().value();
        // The break opens the first appended paragraph: no empty line at the top of the page.
        QVERIFY2(text.endsWith(u"Second page for [[FirstName]].\r\fSecond letter\r\tindented\rlast line\r"_s),
                 qPrintable(text.right(60)));

        // A macro-enabled template gives a macro-enabled document; saved as .docx, a plain one.
        const QString dotm = m_dir.filePath(u"letter.dotm"_s);
        QVERIFY(QFile::copy(dotx, dotm));
        std::unique_ptr<Document> macro = std::move(m_application->Add(dotm)).value();
        const QString docm = m_dir.filePath(u"letter.docm"_s);
        QVERIFY(macro->SaveAs(docm).ok());
        QVERIFY(partOf(docm, u"[Content_Types].xml"_s)
                    .contains("\"application/vnd.ms-word.document.macroEnabled.main+xml\""));
        QVERIFY(macro->SaveAs(out).ok());
        QVERIFY(!partOf(out, u"[Content_Types].xml"_s).contains("macroEnabled"));
    }

    void replacementsWithTabsBreaksAndControlCharacters_stayValidXml()
    {
        const QString path = m_dir.filePath(u"twice.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path, u"[[City]] and [[city]].|end"_s));
        auto document = openDocument(*m_application, path, false);
        // Two hits in one w:t, each becoming several elements of the run.
        QCOMPARE(document->ReplaceAll(u"[[City]]"_s, u"Le\u0001eds\tWest\r\nYorks"_s, Plain).value(), 2);
        QCOMPARE(document->ContentText().value(), u"Leeds\tWest\v\vYorks and Leeds\tWest\v\vYorks.\rend\r"_s);
        QCOMPARE(document->ReplaceAll(u"end"_s, u"^l^m^s^^"_s, Plain).value(), 1);
        QVERIFY(document->SaveAs(path).ok());
        QCOMPARE(openDocument(*m_application, path)->ContentText().value(),
                 u"Leeds\tWest\v\vYorks and Leeds\tWest\v\vYorks.\r\v\f\u00A0^\r"_s);
        const QByteArray xml = partOf(path, u"word/document.xml"_s);
        QVERIFY(xml.contains("<w:t>Leeds</w:t><w:tab/><w:t>West</w:t><w:br/><w:br/><w:t>Yorks and Leeds</w:t>"));
        QVERIFY(!xml.contains('\x01'));
    }

    void savingWithoutChanges_copiesThePackageByteForByte()
    {
        auto document = openDocument(*m_application, m_letter, false);
        QCOMPARE(document->ReplaceAll(u"[[Nowhere]]"_s, u"x"_s, Plain).value(), 0);
        const QString copy = m_dir.filePath(u"unchanged.docx"_s);
        QVERIFY(document->SaveAs(copy).ok());
        QFile original(m_letter);
        QFile saved(copy);
        QVERIFY(original.open(QIODevice::ReadOnly) && saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), original.readAll());
    }

    void manyHitsInOneRun_andHitsAcrossRuns_areAllReplaced()
    {
        const QString path = m_dir.filePath(u"many.docx"_s);
        QVERIFY(writeZip(path, u"[('word/document.xml', '<w:document xmlns:w=\"http://schemas.openxmlformats.org/"
                               u"wordprocessingml/2006/main\"><w:body><w:p><w:r><w:t xml:space=\"preserve\">' + "
                               u"'ab ' * 12000 + '</w:t></w:r></w:p><w:p><w:r><w:t>x[[Na</w:t></w:r><w:r><w:t>m</w:t>"
                               u"</w:r><w:r><w:t>e]]y[[Na</w:t></w:r><w:r><w:t>me]]z</w:t></w:r></w:p></w:body>"
                               u"</w:document>')]"_s));
        auto document = openDocument(*m_application, path, false);
        QVERIFY(document);
        QCOMPARE(document->ReplaceAll(u"ab"_s, u"Ann"_s, Plain).value(), 12000);
        QCOMPARE(document->ReplaceAll(u"[[Name]]"_s, u"Bo\t"_s, Plain).value(), 2);
        QCOMPARE(document->ContentText().value(), u"Ann "_s.repeated(12000) + u"\rxBo\tyBo\tz\r"_s);
        const QString saved = m_dir.filePath(u"many-saved.docx"_s);
        QVERIFY(document->SaveAs(saved).ok());
        const QByteArray xml = partOf(saved, u"word/document.xml"_s);
        QCOMPARE(xml.count("Ann "), 12000);
        QVERIFY(xml.contains("<w:t>xBo</w:t><w:tab/>"));
    }

    void savingInPlace_keepsModeAndLink_andLeavesAReadOnlyDocumentAlone()
    {
        const auto replaceAndSave = [this](const QString& path) {
            auto document = openDocument(*m_application, path, false);
            if (!document || document->ReplaceAll(u"Dear"_s, u"Hello"_s, Plain).value() == 0) {
                return Status(Error{1, u"nothing to save"_s});
            }
            const Status saved = document->Save();
            document->Close();
            return saved;
        };
        const QString privateLetter = m_dir.filePath(u"private.docx"_s);
        QVERIFY(QFile::copy(m_letter, privateLetter));
        QVERIFY(QFile::setPermissions(privateLetter, QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(replaceAndSave(privateLetter).ok());
        QCOMPARE(QFile::permissions(privateLetter),
                 QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
        QVERIFY(!QFile::exists(privateLetter + u".quillbay-saving"_s));

        const QString linked = m_dir.filePath(u"linked.docx"_s);
        const QString link = m_dir.filePath(u"link.docx"_s);
        QVERIFY(QFile::copy(m_letter, linked) && QFile::link(linked, link));
        QVERIFY(replaceAndSave(link).ok());
        QVERIFY(QFileInfo(link).isSymLink());
        QVERIFY(partOf(linked, u"word/document.xml"_s).contains("Hello"));

        const QString readOnly = m_dir.filePath(u"read-only.docx"_s);
        QVERIFY(QFile::copy(m_letter, readOnly));
        QVERIFY(QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
        const Status refused = replaceAndSave(readOnly);
        QVERIFY(!refused.ok());
        QVERIFY(refused.error().message.contains(u"read-only"_s));
        QCOMPARE(partOf(readOnly, u"word/document.xml"_s), partOf(m_letter, u"word/document.xml"_s));
        QCOMPARE(QFile::permissions(readOnly) & (QFile::WriteOwner | QFile::WriteGroup | QFile::WriteOther),
                 QFile::Permissions());
    }

    void aPictureStoredBeforeTheText_survivesTheSave_andKeepsItsBytes()
    {
        const QString path = m_dir.filePath(u"pictured.docx"_s);
        QVERIFY(writeZip(path, u"[('word/media/image1.png', os.urandom(40000), zipfile.ZIP_STORED),"
                               u" ('word/document.xml', '<w:document xmlns:w=\"http://schemas.openxmlformats.org/"
                               u"wordprocessingml/2006/main\"><w:body><w:p><w:r><w:t>Dear [[Name]]</w:t></w:r></w:p>"
                               u"</w:body></w:document>')]"_s));
        auto document = openDocument(*m_application, path, false);
        QVERIFY(document);
        QCOMPARE(document->ReplaceAll(u"[[Name]]"_s, u"Ann"_s, Plain).value(), 1);
        const QString saved = m_dir.filePath(u"pictured-saved.docx"_s);
        QVERIFY(document->SaveAs(saved).ok());
        QVERIFY(partOf(saved, u"word/document.xml"_s).contains("Dear Ann"));
        QCOMPARE(partOf(saved, u"word/media/image1.png"_s), partOf(path, u"word/media/image1.png"_s));
        QCOMPARE(partOf(saved, u"word/media/image1.png"_s).size(), 40000);
    }

    void badPackages_failCleanly()
    {
        const QString notZip = m_dir.filePath(u"not-a-zip.docx"_s);
        QVERIFY(TestSupport::writeFile(notZip, "this is plain text, not a package"));
        QVERIFY(!m_application->Open(notZip, true).ok());
        QVERIFY(!m_application->Open(m_dir.filePath(u"missing.docx"_s), true).ok());

        const QString noBody = m_dir.filePath(u"no-document.docx"_s);
        QVERIFY(writeZip(noBody, u"[('[Content_Types].xml', '<Types/>')]"_s));
        QVERIFY(!m_application->Open(noBody, true).ok());

        const QString malformed = m_dir.filePath(u"malformed.docx"_s);
        QVERIFY(writeZip(malformed, u"[('word/document.xml', '<w:document><w:body><w:p>')]"_s));
        const auto broken = m_application->Open(malformed, true);
        QVERIFY(!broken.ok());
        QVERIFY(broken.error().message.contains(u"XML"_s));

        // 100,000 nested elements in 37 KB: refused with a reason instead of overflowing the stack.
        const QString deep = m_dir.filePath(u"deep.docx"_s);
        QVERIFY(writeZip(deep, u"[('word/document.xml', '<w:document><w:body>' + '<w:sdt>' * 100000 + "
                               u"'</w:sdt>' * 100000 + '</w:body></w:document>')]"_s));
        const auto nested = m_application->Open(deep, true);
        QVERIFY(!nested.ok());
        QVERIFY(nested.error().message.contains(u"nested deeper"_s));

        // 300 MB of zeros packed into a few hundred kilobytes: refused at the ceiling.
        const QString bomb = m_dir.filePath(u"bomb.docx"_s);
        QVERIFY(writeZip(bomb, u"[('word/document.xml', bytes(300*1024*1024))]"_s));
        QVERIFY(QFileInfo(bomb).size() < 2 * 1024 * 1024);
        const auto exploded = m_application->Open(bomb, true);
        QVERIFY(!exploded.ok());
        QVERIFY(exploded.error().message.contains(u"too large"_s));

        // The same bomb claiming to hold 1 KB: reading stops at the ceiling all the same.
        QFile packed(bomb);
        QVERIFY(packed.open(QIODevice::ReadWrite));
        QByteArray bytes = packed.readAll();
        putLittleEndian(bytes, 22, 1024);                                   // the local header's uncompressed size
        putLittleEndian(bytes, bytes.lastIndexOf("PK\x01\x02") + 24, 1024); // the central directory's
        packed.seek(0);
        packed.write(bytes);
        packed.close();
        const qint64 before = peakMemory();
        const auto lying = m_application->Open(bomb, true);
        QVERIFY(!lying.ok());
#ifndef __SANITIZE_ADDRESS__ // the sanitizer's shadow memory and quarantine inflate the peak
        QVERIFY2(peakMemory() - before < OoxmlPackage::MaxPartSize * 3 / 2,
                 qPrintable(u"%1 MB more at the peak"_s.arg((peakMemory() - before) >> 20)));
#else
        Q_UNUSED(before)
#endif

        // An entry claiming 2.5 GB in the central directory is refused before it is read.
        const QString huge = m_dir.filePath(u"huge.docx"_s);
        QVERIFY(writeZip(huge, u"[('word/document.xml', '<w:document xmlns:w=\"http://schemas.openxmlformats.org/"
                               u"wordprocessingml/2006/main\"><w:body><w:p/></w:body></w:document>')]"_s));
        QVERIFY(m_application->Open(huge, true).ok());
        bytes = TestSupport::readFile(huge);
        putLittleEndian(bytes, bytes.indexOf("PK\x01\x02") + 24, 2500u * 1024u * 1024u);
        QVERIFY(TestSupport::writeFile(huge, bytes));
        QVERIFY(!m_application->Open(huge, true).ok());
    }
};

QTEST_GUILESS_MAIN(NativeEngineTest)
#include "tst_native_engine.moc"
