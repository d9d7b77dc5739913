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

const QStringList Tokens{u"[[Email1Address]]"_s,    u"[[FirstName]]"_s,      u"[[LastName]]"_s,
                         u"[[Job-Title]]"_s,        u"[[CompanyName]]"_s,    u"[[Business-Street]]"_s,
                         u"[[Business-City]]"_s,    u"[[Business-State]]"_s, u"[[Business-Zip]]"_s,
                         u"[[Business-Country]]"_s, u"[[Business-Phone]]"_s, u"[[WebPage]]"_s};

QList<bool> emptyOnes(const QStringList& values)
{
    QList<bool> empty;
    for (const QString& value : values) {
        empty << value.isEmpty();
    }
    return empty;
}

// The main part and the text that opening the template and replacing each token in turn give.
struct Merged
{
    QByteArray mainPart;
    QString text;
};

Merged ordinaryMerge(const QString& templatePath, const QStringList& values, const QString& scratch)
{
    auto letter = wordlink::NativeDocument::fromTemplate(templatePath, {});
    if (!letter.ok()) {
        return {};
    }
    for (qsizetype i = 0; i < Tokens.size(); ++i) {
        letter.value()->ReplaceAll(Tokens.at(i), values.at(i), {});
    }
    if (!letter.value()->SaveAs(scratch).ok()) {
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
    if (archive == nullptr) {
        return entries;
    }
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
        zip_stat_t stat;
        zip_stat_index(archive, static_cast<zip_uint64_t>(i), 0, &stat);
        QByteArray bytes(static_cast<qsizetype>(stat.comp_size), Qt::Uninitialized);
        zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(i), ZIP_FL_COMPRESSED);
        zip_fread(file, bytes.data(), stat.comp_size);
        zip_fclose(file);
        entries.insert(QString::fromUtf8(stat.name), {stat.comp_method, bytes});
    }
    zip_discard(archive);
    return entries;
}

} // namespace

class LetterTemplateTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private slots:
    void initTestCase()
    {
        QVERIFY(TestSupport::makeDocx(u"pages"_s, m_dir.filePath(u"pages.docx"_s), u"1"_s));
        QVERIFY(TestSupport::makeDocx(u"letter"_s, m_dir.filePath(u"letter.docx"_s)));
        QVERIFY(TestSupport::makeDocx(u"template"_s, m_dir.filePath(u"letter.dotx"_s)));
        QVERIFY(TestSupport::makeDocx(u"fastest"_s, m_dir.filePath(u"fastest.docx"_s)));
    }

    void whenTheValuesFit_theLetterAndItsTextAreTheOrdinaryMerge_data()
    {
        QTest::addColumn<QString>("templateName");
        QTest::addColumn<QStringList>("values");
        QTest::addColumn<bool>("mustFit");
        const QStringList plain{
            u"ann@example.com"_s, u"Ann"_s, u"Lee"_s,     u"Treasurer"_s, u"Lee & Sons"_s,     u"1 Road"_s, u"Leeds"_s,
            u"West Yorkshire"_s,  u"LS1"_s, u"England"_s, u"0113 555"_s,  u"www.example.org"_s};
        QStringList markup = plain;
        markup[2] = u"<b>\"Lee\"</b> 'n' &amp;"_s;
        QStringList foreign = plain;
        foreign[1] = u"Zoë Ærø 東京"_s;
        QStringList gaps = plain;
        gaps[1] = QString(); // "[[FirstName]] [[LastName]]" leaves a blank at the start of the text
        gaps[3] = QString();
        gaps[11] = QString();
        for (const QString& name : {u"pages.docx"_s, u"letter.docx"_s, u"letter.dotx"_s}) {
            QTest::addRow("%s, plain", qPrintable(name)) << name << plain << true;
            QTest::addRow("%s, markup characters", qPrintable(name)) << name << markup << true;
            QTest::addRow("%s, other scripts", qPrintable(name)) << name << foreign << true;
            QTest::addRow("%s, empty values", qPrintable(name)) << name << gaps << true;
        }
        // Values that change the text around them or form tokens: such a letter may go the
        // ordinary way, but if it is said to fit it must come out the same.
        const QStringList tricky{u" Ann"_s,         u"Ann  Lee"_s, u"Ann\tLee"_s, u"Ann\rLee"_s,
                                 u"[[LastName]]"_s, u"Ann^pLee"_s, u"[[Last"_s};
        for (const QString& value : tricky) {
            QStringList values = plain;
            values[1] = value;
            QTest::addRow("letter.docx, first name %s", value.toUtf8().toPercentEncoding().constData())
                << u"letter.docx"_s << values << false;
        }
    }

    void whenTheValuesFit_theLetterAndItsTextAreTheOrdinaryMerge()
    {
        QFETCH(QString, templateName);
        QFETCH(QStringList, values);
        QFETCH(bool, mustFit);
        const QString templatePath = m_dir.filePath(templateName);
        const Result<LetterTemplate> prepared =
            LetterTemplate::prepare(templatePath, Tokens, emptyOnes(values), u".docx"_s);
        QVERIFY(prepared.ok());
        QVERIFY(prepared->usable());
        if (mustFit) {
            QVERIFY(prepared->fits(values));
        }
        if (prepared->fits(values)) {
            const Merged expected = ordinaryMerge(templatePath, values, m_dir.filePath(u"ordinary.docx"_s));
            QVERIFY(!expected.mainPart.isEmpty());
            QCOMPARE(prepared->mainPart(values), expected.mainPart);
            QCOMPARE(prepared->text(values), expected.text); // what the combined document takes
        }
    }

    void aLetter_copiesTheOtherEntriesAsTheyAreCompressed()
    {
        const QString templatePath = m_dir.filePath(u"fastest.docx"_s);
        const QStringList values{
            u"ann@example.com"_s, u"Ann"_s, u"Lee"_s, {}, u"Lee & Sons"_s, {}, u"Leeds"_s, {}, {}, {}, {},
            u"www.example.org"_s};
        const Result<LetterTemplate> prepared =
            LetterTemplate::prepare(templatePath, Tokens, emptyOnes(values), u".docx"_s);
        QVERIFY(prepared.ok() && prepared->fits(values));
        const QString letterPath = m_dir.filePath(u"Quillbay+1.docx"_s);
        const Result<OoxmlPackage::Staged> staged = prepared->stageLetter(values, letterPath);
        QVERIFY(staged.ok());
        QVERIFY(!QFile::exists(letterPath)); // written beside its name until it is committed
        QVERIFY(OoxmlPackage::commit(staged.value()).ok());
        QVERIFY(!QFile::exists(staged->temporary));

        const auto original = storedEntries(templatePath);
        const auto written = storedEntries(letterPath);
        QCOMPARE(written.keys(), original.keys());
        int copied = 0;
        for (auto entry = original.begin(); entry != original.end(); ++entry) {
            if (entry.key() != u"word/document.xml"_s) {
                QCOMPARE(written.value(entry.key()).first, entry->first);
                QVERIFY2(written.value(entry.key()).second == entry->second, qPrintable(entry.key()));
                ++copied;
            }
        }
        QVERIFY(copied >= 10);
        // The new main part reads back whole, with the values in it.
        auto letter = wordlink::NativeDocument::open(letterPath, true, {});
        QVERIFY(letter.ok());
        const QString text = letter.value()->ContentText().value();
        QVERIFY(text.startsWith(u"Dear Ann,"_s));
        QVERIFY(text.contains(u"Lee & Sons\tis at Leeds; see www.example.org or www.example.org."_s));
    }
};

QTEST_GUILESS_MAIN(LetterTemplateTest)
#include "tst_letter_template.moc"
