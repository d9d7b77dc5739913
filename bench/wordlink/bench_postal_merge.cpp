// A postal merge of 1,000 contacts into one letter each, from a two-page .docx template with a
// table, a picture and twelve tokens (some split over several runs): through the program's
// postal run (the in-process engine), with its processor time and peak memory, and again for
// 3,000 contacts (the same peak shows that memory does not grow with the contacts), and for
// 1,000 contacts into one combined document; through the office bridge (a sample, scaled); and
// through a plain python-docx script that replaces the text of the runs. Prints letters per
// second and the ratios.

#include "../PeakMemory.h"
#include "../contacts/BenchRun.h"
#include "contacts/ContactTable.h"
#include "core/LocalTimeZone.h"
#include "merge/PostalMergeRun.h"
#include "merge/TokenEngine.h"
#include "merge/WindowlessRunView.h"
#include "wordlink/BridgeDocument.h"
#include "wordlink/OfficeBridge.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Letters = 1000;
constexpr int MoreLetters = 3000;
constexpr int BridgeSample = 30;

// The first `letters` contacts of the table, one letter each, into a folder of their own, or
// (`combined`) into one document.
double postalRun(ContactTable& table, const TokenEngine& tokens, const QString& templatePath, const QString& target,
                 int letters, bool combined = false)
{
    for (int row = 1; row <= table.count(); ++row) {
        table.setChecked(row, row <= letters);
    }
    if (!combined) {
        QDir().mkpath(target);
    }
    WindowlessRunView view;
    PostalMergeRun run(view);
    PeakMemory::restart();
    Stopwatch watch;
    watch.start();
    const RunOutcome outcome = combined ? run.run({&table, &tokens, templatePath, target, letters}, QString())
                                        : run.run({&table, &tokens, templatePath, QString(), letters}, target);
    const double seconds = static_cast<double>(qMax<qint64>(watch.wallMs(), 1)) / 1000.0;
    const long peak = PeakMemory::kilobytes();
    const int written = combined ? outcome.done : static_cast<int>(QDir(target).entryList(QDir::Files).size());
    std::printf("Quillbay+ %s: %4d letters in %7.2f s (cpu %5.2f s) = %8.1f letters/s, peak memory %ld KB "
                "(%s)\n",
                combined ? "combined    " : "postal run  ", written, seconds,
                static_cast<double>(watch.cpuMs()) / 1000.0, written / seconds, peak, qPrintable(view.process()));
    std::fflush(stdout);
    return written == letters ? written / seconds : 0.0;
}

// The file system alone: as many files of a letter's size written under a temporary name and
// renamed, one after another, as the folder form writes letters. Right after thousands of files
// were deleted (other benchmarks, a test run), ext4 hands out new ones many times slower; this
// line says what the disk allowed at the time.
void fileSystemAlone(const QString& folder, int files, qint64 bytes)
{
    QDir().mkpath(folder);
    const QByteArray content(bytes, 'x');
    Stopwatch watch;
    watch.start();
    for (int i = 1; i <= files; ++i) {
        const QString name = folder + u"/file%1.docx"_s.arg(i);
        QFile file(name + u".saving"_s);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != bytes) {
            return;
        }
        file.close();
        QFile::rename(file.fileName(), name);
    }
    const double seconds = static_cast<double>(qMax<qint64>(watch.wallMs(), 1)) / 1000.0;
    std::printf("file system alone      : %4d files   in %7.2f s (cpu %5.2f s) = %8.1f files/s of %lld KB\n", files,
                seconds, static_cast<double>(watch.cpuMs()) / 1000.0, files / seconds,
                static_cast<long long>(bytes / 1024));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char* argv[])
{
    LocalTimeZone::loadOnce();
    QCoreApplication app(argc, argv);
    const QString source = QStringLiteral(QUILLBAY_SOURCE_DIR);
    QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath(u"data"_s)));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath(u"config"_s)));
    const QString templatePath = dir.filePath(u"letter.docx"_s);
    if (QProcess::execute(u"/usr/bin/python3"_s,
                          {source + u"/tests/support/make_docx.py"_s, u"pages"_s, templatePath, u"2"_s}) != 0) {
        std::fprintf(stderr, "the template could not be made\n");
        return 1;
    }

    ContactTable table;
    std::vector<Contact> rows(MoreLetters);
    QFile contacts(dir.filePath(u"contacts.tsv"_s));
    if (!contacts.open(QIODevice::WriteOnly)) {
        return 1;
    }
    for (int i = 0; i < MoreLetters; ++i) {
        Contact& row = rows[static_cast<size_t>(i)];
        row.cells = {u"member%1@example.com"_s.arg(i),
                     u"First%1"_s.arg(i),
                     u"Last%1"_s.arg(i),
                     u"Treasurer"_s,
                     u"Company %1"_s.arg(i % 40),
                     u"%1 High Street"_s.arg(i),
                     u"Leeds"_s,
                     u"West Yorkshire"_s,
                     u"LS%1"_s.arg(i % 30),
                     u"United Kingdom"_s,
                     u"+44 113 555 %1"_s.arg(i),
                     u"+44 113 555 0000"_s,
                     u"www.example.org"_s,
                     {},
                     {},
                     {}};
        QStringList fields;
        for (int cell = 0; cell < 13; ++cell) {
            fields << row.cells[static_cast<size_t>(cell)];
        }
        if (i < Letters) {
            contacts.write(fields.join(u'\t').toUtf8() + '\n');
        }
    }
    contacts.close();
    table.appendRows(std::move(rows));
    TokenEngine tokens(table);
    tokens.setSourceIndex(4);

    fileSystemAlone(dir.filePath(u"disk"_s), Letters, QFileInfo(templatePath).size());
    const double ourRate = postalRun(table, tokens, templatePath, dir.filePath(u"ours"_s), Letters);
    postalRun(table, tokens, templatePath, dir.filePath(u"ours-more"_s), MoreLetters);
    postalRun(table, tokens, templatePath, dir.filePath(u"combined.docx"_s), Letters, true);

    // The office suite, through the bridge, on a sample of the same letters (it is warmed first).
    const QString bridgeFolder = dir.filePath(u"bridge"_s);
    QDir().mkpath(bridgeFolder);
    wordlink::BridgeDocument::fromTemplate(templatePath).value()->Close();
    QElapsedTimer timer;
    timer.start();
    for (int i = 1; i <= BridgeSample; ++i) {
        auto letter = wordlink::BridgeDocument::fromTemplate(templatePath);
        if (!letter.ok()) {
            std::fprintf(stderr, "bridge: %s\n", qPrintable(letter.error().message));
            return 1;
        }
        for (const auto& [token, value] : tokens.allFieldReplacements(i)) {
            letter.value()->ReplaceAll(token, value, {});
        }
        letter.value()->SaveAs(bridgeFolder + u"/Quillbay+%1.docx"_s.arg(i));
        letter.value()->Close();
    }
    const double bridgeSeconds = static_cast<double>(timer.elapsed()) / 1000.0;
    const double bridgeRate = BridgeSample / bridgeSeconds;
    std::printf("office bridge          : %4d letters in %7.2f s = %8.1f letters/s  (a sample of %d)\n", BridgeSample,
                bridgeSeconds, bridgeRate, BridgeSample);
    wordlink::OfficeBridge::instance().shutdown();

    const QString pythonFolder = dir.filePath(u"python"_s);
    QDir().mkpath(pythonFolder);
    QProcess python;
    python.start(u"/usr/bin/python3"_s,
                 {source + u"/bench/wordlink/python_docx_merge.py"_s, templatePath, contacts.fileName(), pythonFolder});
    python.waitForFinished(1800000);
    const QList<QByteArray> figures = python.readAllStandardOutput().trimmed().split(' ');
    if (figures.size() != 2) {
        std::fprintf(stderr, "python-docx: %s\n", python.readAllStandardError().constData());
        return 1;
    }
    const double pythonRate = figures.at(0).toDouble() / figures.at(1).toDouble();
    std::printf("python-docx script     : %4d letters in %7.2f s = %8.1f letters/s\n", figures.at(0).toInt(),
                figures.at(1).toDouble(), pythonRate);
    std::printf("ratio to the office bridge: %.0f x   ratio to python-docx: %.1f x\n", ourRate / bridgeRate,
                ourRate / pythonRate);
    return ourRate > 0 ? 0 : 1;
}
