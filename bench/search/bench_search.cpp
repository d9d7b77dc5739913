// Makes 5,000 .docx documents of two pages in a tree of 100 folders, one document in a hundred
// holding the word that is searched, then searches the tree for it through the program's search
// run, and through a shell pipeline of docx2txt and grep over the same tree; prints documents per
// second and the ratio.

#include "search/EngineSearcher.h"
#include "search/SearchRun.h"
#include "wordlink/OoxmlPackage.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Documents = 5000;
constexpr int Folders = 100;
const QByteArray Word = "zanzibar";

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const QString source = QStringLiteral(QUILLBAY_SOURCE_DIR);
    QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath(u"data"_s)));
    const QString model = dir.filePath(u"model.docx"_s);
    if (QProcess::execute(u"/usr/bin/python3"_s,
                          {source + u"/tests/support/make_docx.py"_s, u"pages"_s, model, u"2"_s}) != 0) {
        return 1;
    }
    // Every document is the model with a number in its text; one in a hundred also has the word.
    Result<wordlink::OoxmlPackage> package = wordlink::OoxmlPackage::open(model);
    const QByteArray body = package->part(u"word/document.xml"_s).value();
    const QString tree = dir.filePath(u"tree"_s);
    for (int i = 0; i < Documents; ++i) {
        const QString folder = tree + u"/folder%1"_s.arg(i % Folders, 3, 10, QChar(u'0'));
        QDir().mkpath(folder);
        QByteArray text = body;
        const QByteArray marker = "Document " + QByteArray::number(i) + (i % 100 == 7 ? " of " + Word : QByteArray());
        text.replace("Address: ", marker + " Address: ");
        package.value().setPart(u"word/document.xml"_s, text);
        if (!package->saveTo(folder + u"/letter%1.docx"_s.arg(i)).ok()) {
            return 1;
        }
    }

    // The run as the search window makes it: the folder or document in hand goes to the status
    // panel, the event loop is let through.
    EngineSearcher searcher;
    int hits = 0;
    QString status;
    SearchRun run({[&status](const QString& text) { status = text; },
                   [&hits](const ResultRow&) { ++hits; },
                   [] { QCoreApplication::processEvents(); },
                   {}},
                  &searcher);
    QElapsedTimer timer;
    timer.start();
    WordSearch search;
    search.words = QString::fromLatin1(Word);
    run.WalkFolder(tree, u"*.Doc"_s, true, search);
    const double ours = static_cast<double>(timer.elapsed()) / 1000.0;
    std::printf("Quillbay+ search run   : %d documents in %6.2f s = %7.0f documents/s, %d hits\n", Documents, ours,
                Documents / ours, hits);
    std::fflush(stdout);

    QProcess pipeline;
    timer.restart();
    pipeline.start(u"/bin/sh"_s, {u"-c"_s,
                                  u"find \"$1\" -name '*.docx' -print0 | "
                                  u"xargs -0 -I{} sh -c 'docx2txt \"{}\" - | grep -qi zanzibar && "
                                  u"echo \"{}\"' | wc -l"_s,
                                  u"sh"_s, tree});
    pipeline.waitForFinished(3600000);
    const double theirs = static_cast<double>(timer.elapsed()) / 1000.0;
    const int theirHits = pipeline.readAllStandardOutput().trimmed().toInt();
    std::printf("docx2txt | grep        : %d documents in %6.2f s = %7.0f documents/s, %d hits\n", Documents, theirs,
                Documents / theirs, theirHits);
    std::printf("ratio (Quillbay+ / pipeline): %.1f\n", theirs / ours);
    return hits == Documents / 100 && theirHits == hits ? 0 : 1;
}
