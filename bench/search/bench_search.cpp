// Makes 3,000 .docx documents of two pages in a tree of 60 folders, one document in a hundred
// holding the word that is searched, then searches the tree for it through the program's search
// run and through a plain one-process Python script (zipfile and a regular expression over the
// tags-stripped main part), side by side, ROUNDS times (3 unless told); prints documents per
// second, the run's processor time and peak memory (for a third of the tree and for the whole,
// which shows that memory does not grow with the documents) and the ratio of each round.
// With --docx2txt, a shell pipeline of docx2txt and grep is timed once as well.

#include "../PeakMemory.h"
#include "../contacts/BenchRun.h"
#include "core/LocalTimeZone.h"
#include "search/EngineSearcher.h"
#include "search/SearchRun.h"
#include "wordlink/OoxmlPackage.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Documents = 3000;
constexpr int Folders = 60;
const QByteArray Word = "zanzibar";

struct Figures
{
    int documents = 0;
    int hits = 0;
    qint64 wallMs = 0;
    qint64 cpuMs = 0;
    long peakKb = 0;
};

// The run as the search window makes it: the folder or document in hand goes to the status
// panel, the event loop is let through.
Figures searchTree(const QString& tree)
{
    EngineSearcher searcher;
    Figures figures;
    QString status;
    SearchRun run({[&status](const QString& text) { status = text; },
                   [&figures](const ResultRow&) { ++figures.hits; },
                   [] { QCoreApplication::processEvents(); },
                   {}},
                  &searcher);
    WordSearch search;
    search.words = QString::fromLatin1(Word);
    PeakMemory::restart();
    Stopwatch watch;
    watch.start();
    run.WalkFolder(tree, u"*.Doc"_s, true, search);
    figures.wallMs = qMax<qint64>(watch.wallMs(), 1);
    figures.cpuMs = watch.cpuMs();
    figures.peakKb = PeakMemory::kilobytes();
    return figures;
}

} // namespace

int main(int argc, char* argv[])
{
    LocalTimeZone::loadOnce();
    QCoreApplication app(argc, argv);
    const QStringList arguments = app.arguments();
    const bool withDocx2txt = arguments.contains(u"--docx2txt"_s);
    int rounds = 3;
    for (const QString& argument : arguments.mid(1)) {
        if (argument.toInt() > 0) {
            rounds = argument.toInt();
        }
    }
    const QString source = QStringLiteral(QUILLBAY_SOURCE_DIR);
    QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath(u"data"_s)));
    const QString model = dir.filePath(u"model.docx"_s);
    if (QProcess::execute(u"/usr/bin/python3"_s,
                          {source + u"/tests/support/make_docx.py"_s, u"pages"_s, model, u"2"_s}) != 0) {
        return 1;
    }
    // Every document is the model with a number in its text; one in a hundred also has the word.
    // The first third of the folders stands in a folder of its own, searched alone as well.
    Result<wordlink::OoxmlPackage> package = wordlink::OoxmlPackage::open(model);
    const QByteArray body = package->part(u"word/document.xml"_s).value();
    const QString tree = dir.filePath(u"tree"_s);
    const QString third = tree + u"/a"_s;
    for (int i = 0; i < Documents; ++i) {
        const int folderNumber = i % Folders;
        const QString folder = tree + (folderNumber < Folders / 3 ? u"/a"_s : u"/b"_s) +
                               u"/folder%1"_s.arg(folderNumber, 3, 10, QChar(u'0'));
        QDir().mkpath(folder);
        QByteArray text = body;
        const QByteArray marker = "Document " + QByteArray::number(i) + (i % 100 == 7 ? " of " + Word : QByteArray());
        text.replace("Address: ", marker + " Address: ");
        package.value().setPart(u"word/document.xml"_s, text);
        if (!package->saveTo(folder + u"/letter%1.docx"_s.arg(i)).ok()) {
            return 1;
        }
    }

    const Figures part = searchTree(third);
    std::printf("a third of the tree     : %5d hits, peak memory %ld KB\n", part.hits, part.peakKb);
    bool agreed = true;
    std::vector<double> ratios;
    for (int round = 1; round <= rounds; ++round) {
        const Figures ours = searchTree(tree);
        std::printf("round %d Quillbay+ search: %d documents in %6lld ms (cpu %6lld ms) = %7.0f documents/s, %d hits, "
                    "peak memory %ld KB\n",
                    round, Documents, static_cast<long long>(ours.wallMs), static_cast<long long>(ours.cpuMs),
                    Documents * 1000.0 / static_cast<double>(ours.wallMs), ours.hits, ours.peakKb);
        std::fflush(stdout);

        QProcess python;
        python.start(u"/usr/bin/python3"_s,
                     {source + u"/bench/search/python_zip_search.py"_s, tree, QString::fromLatin1(Word)});
        python.waitForFinished(600000);
        const QList<QByteArray> figures = python.readAllStandardOutput().trimmed().split(' ');
        if (figures.size() != 3) {
            std::fprintf(stderr, "python: %s\n", python.readAllStandardError().constData());
            return 1;
        }
        const double pythonSeconds = figures.at(2).toDouble();
        const double ratio = pythonSeconds * 1000.0 / static_cast<double>(ours.wallMs);
        ratios.push_back(ratio);
        std::printf("round %d Python zipfile  : %d documents in %6.0f ms = %7.0f documents/s, %d hits; ratio %.1f\n",
                    round, figures.at(0).toInt(), pythonSeconds * 1000.0, figures.at(0).toDouble() / pythonSeconds,
                    figures.at(1).toInt(), ratio);
        std::fflush(stdout);
        agreed = agreed && ours.hits == Documents / 100 && figures.at(1).toInt() == ours.hits;
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("ratio to the Python script: %.1f to %.1f, median %.1f\n", ratios.front(), ratios.back(),
                ratios.at(ratios.size() / 2));

    if (withDocx2txt) {
        QProcess pipeline;
        Stopwatch watch;
        watch.start();
        pipeline.start(u"/bin/sh"_s, {u"-c"_s,
                                      u"find \"$1\" -name '*.docx' -print0 | "
                                      u"xargs -0 -I{} sh -c 'docx2txt \"{}\" - | grep -qi zanzibar && "
                                      u"echo \"{}\"' | wc -l"_s,
                                      u"sh"_s, tree});
        pipeline.waitForFinished(3600000);
        const double seconds = static_cast<double>(watch.wallMs()) / 1000.0;
        std::printf("docx2txt | grep          : %d documents in %6.2f s = %7.0f documents/s, %d hits\n", Documents,
                    seconds, Documents / seconds, pipeline.readAllStandardOutput().trimmed().toInt());
    }
    return agreed ? 0 : 1;
}
