// Sends 2,000 personalised messages (an HTML body of about 5 KB and one inline image of 30 KB)
// over one connection to a local aiosmtpd sink that accepts and discards them, through the
// program's SMTP send run, once without and once with a delivery journal; then the very same message bytes through a
// plain Python smtplib loop over one connection to the same sink; and prints messages per second and the ratio.
//
//   bench_smtp_send [ROUNDS]
//
// The two clients take turns for ROUNDS rounds (3 unless told): on a shared machine the load of
// other programs comes and goes, and turns spread it over both. Each round's figures are
// printed; the summary compares the best round of each and gives the median of the per-round
// ratios.

#include "contacts/ContactTable.h"
#include "delivery/DeliveryJournal.h"
#include "delivery/InlineImages.h"
#include "delivery/MessageLayout.h"
#include "delivery/SmtpSendRun.h"
#include "merge/TokenEngine.h"
#include "merge/WindowlessRunView.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int Messages = 2000;

// The CPU seconds this process has used so far.
double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

struct Workload
{
    ContactTable table;
    std::unique_ptr<TokenEngine> tokens;
    SendRunInput input;
};

// 2,000 contacts, a letter of 22 paragraphs with the first name in each, and the picture.
void prepare(Workload& work, const QString& imagePath)
{
    std::vector<Contact> rows(Messages);
    for (int i = 0; i < Messages; ++i) {
        rows[static_cast<size_t>(i)].cells[0] = u"member%1@example.com"_s.arg(i);
        rows[static_cast<size_t>(i)].cells[1] = u"Member%1"_s.arg(i);
    }
    work.table.appendRows(std::move(rows));
    work.tokens = std::make_unique<TokenEngine>(work.table);
    work.tokens->setSourceIndex(5);
    const QString paragraph =
        u"<p>Dear [[FirstName]], this is the spring letter of the club. "_s + QString(180, u'x') + u"</p>\r\n"_s;
    const QString html =
        u"<html><body>"_s + paragraph.repeated(22) + u"<img src=\"file://"_s + imagePath + u"\"></body></html>"_s;
    work.tokens->ScanMailTokens(html);
    for (int i = 1; i <= Messages; ++i) {
        work.input.addresses << work.table.cell(i, 0);
        work.input.rows << i;
    }
    work.input.subjectBox = u"Spring letter for [[FirstName]]"_s;
    work.input.html = html;
    work.input.tokens = work.tokens.get();
}

// The messages for the peer, byte for byte as the run composes them, as
// "<recipient> <length>\n<bytes>" one after another.
bool writePeerMessages(const Workload& work, const QString& fromEmail, const QString& path)
{
    QFile messages(path);
    if (!messages.open(QIODevice::WriteOnly)) {
        return false;
    }
    const EmbeddedHtml embedded = InlineImages::Embed(work.input.html);
    OutgoingMessage message;
    message.fromEmail = fromEmail;
    message.inlineImagePaths = InlineImages::paths(embedded.InlineImageList);
    message.inlineImageData = InlineImages::LoadInlineImages(embedded.InlineImageList).value();
    for (int i = 1; i <= Messages; ++i) {
        message.to = work.table.cell(i, 0);
        message.subject = work.tokens->mergedSubject(i, work.input.subjectBox);
        message.body = work.tokens->mergedBody(i, embedded.html);
        const QByteArray bytes = MessageLayout::bytes(message, QDateTime::currentDateTime());
        messages.write(message.to.toUtf8() + ' ' + QByteArray::number(bytes.size()) + '\n' + bytes);
    }
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int rounds = argc > 1 ? std::max(1, QByteArray(argv[1]).toInt()) : 3;
    const QString source = QStringLiteral(QUILLBAY_SOURCE_DIR);
    QTemporaryDir dir;
    QByteArray pixels(30 * 1024, Qt::Uninitialized);
    for (char& byte : pixels) {
        byte = static_cast<char>(QRandomGenerator::global()->bounded(256));
    }
    const QString imagePath = dir.filePath(u"logo.png"_s);
    QFile image(imagePath);
    if (!image.open(QIODevice::WriteOnly)) {
        return 1;
    }
    image.write(pixels);
    image.close();

    Workload work;
    prepare(work, imagePath);
    const QString messagesPath = dir.filePath(u"messages.bin"_s);
    const QString fromEmail = u"club@example.org"_s;
    if (!writePeerMessages(work, fromEmail, messagesPath)) {
        return 1;
    }

    // One discarding sink serves both clients.
    QProcess sink;
    sink.start(u"/usr/bin/python3"_s,
               {source + u"/tests/support/smtp_sink.py"_s, u"--dir"_s, dir.filePath(u"sink"_s), u"--discard"_s});
    const quint16 port =
        sink.waitForReadyRead(20000) ? static_cast<quint16>(sink.readLine().trimmed().toUInt()) : quint16(0);
    if (port == 0) {
        std::fprintf(stderr, "the sink did not start\n");
        return 1;
    }
    SmtpAccount account;
    account.server = u"127.0.0.1"_s;
    account.port = port;
    account.interval = 30;
    account.fromEmail = fromEmail;

    std::vector<double> ours;
    std::vector<double> journalled;
    std::vector<double> theirs;
    std::vector<double> ratios;
    bool allAccepted = true;
    // One run of the program's client, with a delivery journal or without; its rate.
    const auto sendRun = [&](int round, const QString& journalPath) {
        std::unique_ptr<DeliveryJournal> journal;
        if (!journalPath.isEmpty()) {
            journal = std::move(DeliveryJournal::create(journalPath, {u"bench"_s, {}, u"bench"_s, Messages}).value());
        }
        work.input.journal = journal.get();
        WindowlessRunView view;
        SmtpSendRun run(view, account);
        const double cpuBefore = cpuSeconds();
        QElapsedTimer timer;
        timer.start();
        run.RunSmtpSend(work.input);
        const double seconds = static_cast<double>(timer.elapsed()) / 1000.0;
        const double cpu = cpuSeconds() - cpuBefore;
        allAccepted = allAccepted && run.accepted() == Messages;
        std::printf("round %d  Quillbay+ SMTP run%s: %d of %d accepted in %6.2f s = %5.0f messages/s"
                    "  (client CPU %.2f s; %s)\n",
                    round, journal ? " with journal" : "             ", run.accepted(), Messages, seconds,
                    run.accepted() / seconds, cpu, qPrintable(view.process()));
        return run.accepted() / seconds;
    };
    for (int round = 1; round <= rounds; ++round) {
        ours.push_back(sendRun(round, {}));
        journalled.push_back(sendRun(round, dir.filePath(u"journal-%1.csv"_s.arg(round))));

        QProcess peer;
        peer.start(u"/usr/bin/python3"_s,
                   {source + u"/bench/delivery/smtplib_send.py"_s, QString::number(port), messagesPath});
        peer.waitForFinished(600000);
        const QList<QByteArray> figures = peer.readAllStandardOutput().trimmed().split(' ');
        if (figures.size() != 2) {
            std::fprintf(stderr, "the smtplib peer failed: %s\n", peer.readAllStandardError().constData());
            return 1;
        }
        const int sent = figures.at(0).toInt();
        const double peerSeconds = figures.at(1).toDouble();
        theirs.push_back(sent / peerSeconds);
        ratios.push_back(ours.back() / theirs.back());
        std::printf("round %d  Python smtplib loop             : %d messages          in %6.2f s = %5.0f messages/s\n",
                    round, sent, peerSeconds, theirs.back());
        std::fflush(stdout);
    }
    sink.closeWriteChannel();
    sink.waitForFinished(5000);

    const double bestOurs = *std::max_element(ours.begin(), ours.end());
    const double bestTheirs = *std::max_element(theirs.begin(), theirs.end());
    std::printf("best round: Quillbay+ %.0f messages/s, smtplib %.0f messages/s, ratio (Quillbay+ / smtplib) %.2f\n",
                bestOurs, bestTheirs, bestOurs / bestTheirs);
    std::printf("median of the per-round ratios: %.2f\n", median(ratios));
    const double bestJournalled = *std::max_element(journalled.begin(), journalled.end());
    std::printf("with the delivery journal (a line and a disk flush per mail): best round %.0f messages/s, "
                "%.1f %% below the best round without it\n",
                bestJournalled, 100.0 * (bestOurs - bestJournalled) / bestOurs);
    return allAccepted ? 0 : 1;
}
