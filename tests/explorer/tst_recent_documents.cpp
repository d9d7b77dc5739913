#include "TestSupport.h"
#include "core/ListSeparator.h"
#include "explorer/RecentDocuments.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray record(const QString& path)
{
    const QString sep = ListSeparator();
    return (path + sep + u"01/02/2026"_s + sep + u"01/02/2026"_s + sep + u"01/01/2026"_s + sep + u"12"_s).toUtf8() +
           "\r\n";
}

} // namespace

class RecentDocumentsTest : public QObject
{
    Q_OBJECT

private slots:
    void menu_takesTheTenNewestDistinctPaths()
    {
        QByteArray log;
        for (int i = 1; i <= 12; ++i) {
            log += record(u"/docs/letter%1.docx"_s.arg(i, 2, 10, QChar(u'0')));
        }
        log += record(u"/docs/letter05.docx"_s); // opened again: now the newest
        const QStringList paths = RecentDocuments::recentPaths(log);
        QCOMPARE(paths.size(), 10);
        QCOMPARE(paths.first(), u"/docs/letter05.docx"_s);
        QCOMPARE(paths.at(1), u"/docs/letter12.docx"_s);
        QCOMPARE(paths.last(), u"/docs/letter03.docx"_s);
        QCOMPARE(paths.count(u"/docs/letter05.docx"_s), 1);
    }

    void menu_skipsLinesWithoutSeparator_dropsContainedPaths_joinsAcrossBlankLines()
    {
        QByteArray log = record(u"/d/a.doc"_s) + "just a note\r\n" + record(u"/d/a.doc.bak.doc"_s);
        QCOMPARE(RecentDocuments::recentPaths(log), QStringList{u"/d/a.doc.bak.doc"_s});

        // A blank line joins the two records around it; only the first path of the joined line counts.
        log = record(u"/d/one.doc"_s) + "\r\n" + record(u"/d/two.doc"_s);
        QCOMPARE(RecentDocuments::recentPaths(log), QStringList{u"/d/one.doc"_s});

        // A log of an older program, in its code page.
        log = QByteArray("/d/Bew\xE9rbung.doc\x81x\x81y\x81z\x81"
                         "1\r\n");
        QCOMPARE(RecentDocuments::recentPaths(log), QStringList{u"/d/Bewérbung.doc"_s});
        QVERIFY(RecentDocuments::recentPaths(QByteArray()).isEmpty());
    }

    void shortenPath_cutsFromFortyCharacters()
    {
        const QString thirtyNine(39, u'a');
        QCOMPARE(RecentDocuments::ShortenPath(thirtyNine), thirtyNine);
        const QString forty = u"/home/user/Documents/letters/2026/a.docx"_s;
        QCOMPARE(forty.size(), 40);
        QCOMPARE(RecentDocuments::ShortenPath(forty), u"/home/user/Docu...ers/2026/a.docx"_s);
        QCOMPARE(RecentDocuments::ShortenPath(forty).size(), 33);
    }

    void logEntry_splitsThePathAtItsLastSlash()
    {
        const QString sep = ListSeparator();
        const auto entry = [&](const QString& path) {
            return RecentDocuments::logEntry(path + sep + u"a"_s + sep + u"m"_s + sep + u"c"_s + sep + u"9"_s);
        };
        QCOMPARE(entry(u"/home/ann/a.doc"_s)->folder, u"/home/ann"_s);
        QCOMPARE(entry(u"/a.doc"_s)->folder, QString());
        // A path written on another system has no "/": it is all name.
        const auto old = entry(u"C:\\Letters\\a.doc"_s);
        QCOMPARE(old->name, u"C:\\Letters\\a.doc"_s);
        QCOMPARE(old->folder, QString());
        QCOMPARE(old->size, u"9 KB"_s);
        // Lines end at CR LF or a lone CR; a lone LF stays inside its line.
        QCOMPARE(RecentDocuments::logLines("one\r\ntwo\rthree\nrest"),
                 (QStringList{u"one"_s, u"two"_s, u"three\nrest"_s}));
    }
};

QTEST_GUILESS_MAIN(RecentDocumentsTest)
#include "tst_recent_documents.moc"
