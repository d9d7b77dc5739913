#include "DocumentText.h"
#include "TestSupport.h"
#include "wordlink/LetterTemplate.h"
#include "wordlink/NativeDocument.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using wordlink::LetterTemplate;
using wordlink::OoxmlPackage;

namespace {

const QStringList Tokens = u"[[Email1Address]] [[FirstName]] [[LastName]] [[Job-Title]] [[CompanyName]] "
                           u"[[Business-Street]] [[Business-City]] [[Business-State]] [[Business-Zip]] "
                           u"[[Business-Country]] [[Business-Phone]] [[WebPage]]"_s.split(u' ');

Result<LetterTemplate> prepare(const QString& templatePath, const QStringList& values)
{
    QList<bool> empty;
    for (const QString& value : values) {
        empty << value.isEmpty();
    }
    return LetterTemplate::prepare(templatePath, Tokens, empty, u".docx"_s);
}

// The main part and the text that opening the template and replacing each token in turn give.
std::pair<QByteArray, QString> ordinaryMerge(const QString& templatePath, const QStringList& values,
                                             const QString& scratch)
{
    auto letter = wordlink::NativeDocument::fromTemplate(templatePath, {});
    for (qsizetype i = 0; letter.ok() && i < Tokens.size(); ++i) {
        letter.value()->ReplaceAll(Tokens.at(i), values.at(i), {});
    }
    if (!letter.ok() || !letter.value()->SaveAs(scratch).ok()) {
        return {};
    }
    const auto saved = OoxmlPackage::open(scratch);
    return {saved.ok() ? saved->part(saved->mainPartName()).value() : QByteArray(),
            letter.value()->ContentText().value()};
}

const QStringList Plain{
    u"ann@example.com"_s, u"Ann"_s, u"Lee"_s,     u"Treasurer"_s, u"Lee & Sons"_s,     u"1 Road"_s, u"Leeds"_s,
    u"West Yorkshire"_s,  u"LS1"_s, u"England"_s, u"0113 555"_s,  u"www.example.org"_s};

QStringList plainWith(std::initializer_list<std::pair<int, QString>> changes)
{
    QStringList values = Plain;
    for (const auto& [index, value] : changes) {
        values[index] = value;
    }
    return values;
}

} // namespace

class LetterTemplateTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private slots:
    void whenTheValuesFit_theLetterAndItsTextAreTheOrdinaryMerge()
    {
        QVERIFY(TestSupport::makeDocx(u"pages"_s, m_dir.filePath(u"pages.docx"_s), u"1"_s));
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_dir.filePath(u"letter.docx"_s)));
        QVERIFY(TestSupport::makeDocx(u"template"_s, m_dir.filePath(u"letter.dotx"_s)));
        // Values that must fit, then values that change the text around them or form tokens: such
        // a letter may go the ordinary way, but if it is said to fit it must come out the same.
        const QList<QStringList> fitting{Plain, plainWith({{2, u"<b>\"Lee\"</b> 'n' &amp;"_s}}),
                                         plainWith({{1, u"Zoë Ærø 東京"_s}}), plainWith({{1, {}}, {3, {}}, {11, {}}})};
        QList<QStringList> tricky;
        for (const QString& name :
             {u" Ann"_s, u"Ann  Lee"_s, u"Ann\tLee"_s, u"Ann\rLee"_s, u"[[LastName]]"_s, u"Ann^pLee"_s, u"[[Last"_s}) {
            tricky << plainWith({{1, name}});
        }
        for (const QString& name : {u"pages.docx"_s, u"letter.docx"_s, u"letter.dotx"_s}) {
            for (const QStringList& values : fitting + (name == u"letter.docx"_s ? tricky : QList<QStringList>())) {
                const QString row = name + u", "_s + values.mid(1, 2).join(u' ');
                const Result<LetterTemplate> prepared = prepare(m_dir.filePath(name), values);
                QVERIFY2(prepared.ok() && prepared->usable(), qPrintable(row));
                QVERIFY2(prepared->fits(values) || tricky.contains(values), qPrintable(row));
                if (prepared->fits(values)) {
                    const auto [mainPart, text] =
                        ordinaryMerge(m_dir.filePath(name), values, m_dir.filePath(u"ordinary.docx"_s));
                    QVERIFY2(!mainPart.isEmpty() && prepared->mainPart(values) == mainPart, qPrintable(row));
                    QVERIFY2(prepared->text(values) == text, qPrintable(row)); // what the combined document takes
                }
            }
        }
    }

    void aLetter_isWrittenBesideItsName_andKeepsTheOtherParts()
    {
        const QString templatePath = m_dir.filePath(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"letter"_s, templatePath));
        const QStringList values = plainWith({{3, {}}, {5, {}}, {7, {}}, {8, {}}, {9, {}}, {10, {}}});
        const Result<LetterTemplate> prepared = prepare(templatePath, values);
        QVERIFY(prepared.ok() && prepared->fits(values));
        const QString letterPath = m_dir.filePath(u"Quillbay+1.docx"_s);
        const Result<OoxmlPackage::Staged> staged = prepared->stageLetter(values, letterPath);
        QVERIFY(staged.ok());
        QVERIFY(!QFile::exists(letterPath)); // written beside its name until it is committed
        QVERIFY(OoxmlPackage::commit(staged.value()).ok());
        QVERIFY(!QFile::exists(staged->temporary));

        // The new main part reads back whole, with the values in it; the header keeps its token.
        const QString text = TestSupport::documentText(letterPath);
        QVERIFY(text.startsWith(u"Dear Ann,"_s));
        QVERIFY(text.contains(u"Lee & Sons\tis at Leeds; see www.example.org or www.example.org."_s));
        Result<OoxmlPackage> original = OoxmlPackage::open(templatePath);
        Result<OoxmlPackage> written = OoxmlPackage::open(letterPath);
        QVERIFY(original.ok() && written.ok());
        for (const QString& part : {u"word/header1.xml"_s, u"word/media/image1.png"_s, u"word/styles.xml"_s}) {
            QCOMPARE(written->part(part).value(), original->part(part).value());
        }
    }
};

QTEST_GUILESS_MAIN(LetterTemplateTest)
#include "tst_letter_template.moc"
