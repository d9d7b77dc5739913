#include "DocumentText.h"
#include "TestSupport.h"
#include "wordlink/LetterTemplate.h"
#include "wordlink/NativeDocument.h"

#include <QTemporaryDir>
#include <QTest>

#include <zip.h>

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

// Every entry of a package: its name, compression method and the bytes as stored.
QMap<QString, QPair<int, QByteArray>> storedEntries(const QString& path)
{
    QMap<QString, QPair<int, QByteArray>> entries;
    zip_t* archive = zip_open(QFile::encodeName(path).constData(), ZIP_RDONLY, nullptr);
    for (zip_int64_t i = 0; archive != nullptr && i < zip_get_num_entries(archive, 0); ++i) {
        zip_stat_t stat;
        zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &stat);
        QByteArray bytes(static_cast<qsizetype>(stat.comp_size), Qt::Uninitialized);
        zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), ZIP_FL_COMPRESSED);
        zip_fread(file, bytes.data(), stat.comp_size);
        zip_fclose(file);
        entries.insert(QString::fromUtf8(stat.name), {stat.comp_method, bytes});
    }
    if (archive != nullptr) {
        zip_discard(archive);
    }
    return entries;
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

    void aLetter_copiesTheOtherEntriesAsTheyAreCompressed()
    {
        const QString templatePath = m_dir.filePath(u"fastest.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"fastest"_s, templatePath));
        const QStringList values = plainWith({{3, {}}, {5, {}}, {7, {}}, {8, {}}, {9, {}}, {10, {}}});
        const Result<LetterTemplate> prepared = prepare(templatePath, values);
        QVERIFY(prepared.ok() && prepared->fits(values));
        const QString letterPath = m_dir.filePath(u"Quillbay+1.docx"_s);
        const Result<OoxmlPackage::Staged> staged = prepared->stageLetter(values, letterPath);
        QVERIFY(staged.ok());
        QVERIFY(!QFile::exists(letterPath)); // written beside its name until it is committed
        QVERIFY(OoxmlPackage::commit(staged.value()).ok());
        QVERIFY(!QFile::exists(staged->temporary));

        const auto original = storedEntries(templatePath);
        auto written = storedEntries(letterPath);
        QCOMPARE(written.keys(), original.keys());
        QVERIFY(written.take(u"word/document.xml"_s) != original.value(u"word/document.xml"_s));
        QVERIFY(written.size() >= 10);
        for (auto entry = written.begin(); entry != written.end(); ++entry) {
            QVERIFY2(entry.value() == original.value(entry.key()), qPrintable(entry.key()));
        }
        // The new main part reads back whole, with the values in it.
        const QString text = TestSupport::documentText(letterPath);
        QVERIFY(text.startsWith(u"Dear Ann,"_s));
        QVERIFY(text.contains(u"Lee & Sons\tis at Leeds; see www.example.org or www.example.org."_s));
    }
};

QTEST_GUILESS_MAIN(LetterTemplateTest)
#include "tst_letter_template.moc"
