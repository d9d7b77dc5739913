// Sends 2,000 personalised messages (an HTML body of about 5 KB and one inline image of 30 KB)
// over one connection to a local aiosmtpd sink that accepts and discards them, through the
// program's SMTP send run; then the very same message bytes through a plain Python smtplib loop
// to the same kind of sink; and prints messages per second and the ratio.

#include "contacts/ContactTable.h"
#include "delivery/InlineImages.h"
#include "delivery/MessageLayout.h"
#include "wizard/RunView.h"
#include "delivery/SmtpSendRun.h"
#include "wizard/TokenEngine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int Messages = 2000;

class QuietView : public RunView
{
public:
    void setHeader(const QString&) override {}
    void setFolderText(const QString&) override {}
    void setStatus(const QString&) override {}
    void setProcess(const QString& text) override { m_process = text; }
    QString process() const override { return m_process; }
    void setProcessVisible(bool) override {}
    void setBarWidth(double twips) override { m_bar = twips; }
    double barWidth() const override { return m_bar; }
    void setCancelEnabled(bool) override {}
    void setBackEnabled(bool) override {}
    void setNext(const QString&, bool) override {}
    void showRunPage(const QString&) override {}
    void setWaitCursor(bool) override {}
    void showSmtpSettings() override {}
    void pumpEvents() override { QCoreApplication::processEvents(); }

private:
    QString m_process;
    double m_bar = 0;
};

// A discarding sink; gives back its port, or 0.
quint16 startSink(QProcess& sink, const QString& source, const QString& folder)
{
    sink.start(u"/usr/bin/python3"_s, {source + u"/tests/support/smtp_sink.py"_s, u"--dir"_s, folder, u"--discard"_s});
    if (!sink.waitForReadyRead(20000)) {
        return 0;
    }
    return static_cast<quint16>(sink.readLine().trimmed().toUInt());
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
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

    ContactTable table;
    std::vector<Contact> rows(Messages);
    for (int i = 0; i < Messages; ++i) {
        rows[static_cast<size_t>(i)].cells[0] = u"member%1@example.com"_s.arg(i);
        rows[static_cast<size_t>(i)].cells[1] = u"Member%1"_s.arg(i);
    }
    table.appendRows(std::move(rows));
    TokenEngine tokens(table);
    tokens.setSourceIndex(5);
    const QString paragraph =
        u"<p>Dear [[FirstName]], this is the spring letter of the club. "_s + QString(180, u'x') + u"</p>\r\n"_s;
    const QString html =
        u"<html><body>"_s + paragraph.repeated(22) + u"<img src=\"file://"_s + imagePath + u"\"></body></html>"_s;
    tokens.ScanMailTokens(html);
    SendRunInput input;
    for (int i = 1; i <= Messages; ++i) {
        input.addresses << table.cell(i, 0);
        input.rows << i;
    }
    input.subjectBox = u"Spring letter for [[FirstName]]"_s;
    input.html = html;
    input.tokens = &tokens;

    QProcess sink;
    SmtpAccount account;
    account.server = u"127.0.0.1"_s;
    account.port = startSink(sink, source, dir.filePath(u"ours"_s));
    account.interval = 30;
    account.fromEmail = u"club@example.org"_s;
    if (account.port == 0) {
        std::fprintf(stderr, "the sink did not start\n");
        return 1;
    }
    QuietView view;
    SmtpSendRun run(view, account);
    QElapsedTimer timer;
    timer.start();
    run.RunSmtpSend(input);
    const double ours = static_cast<double>(timer.elapsed()) / 1000.0;
    sink.closeWriteChannel();
    sink.waitForFinished(5000);
    std::printf("Quillbay+ SMTP run : %d of %d messages accepted in %.2f s = %7.0f messages/s  (%s)\n", run.accepted(),
                Messages, ours, run.accepted() / ours, qPrintable(view.process()));

    // The same messages for the peer, byte for byte as the run composed them.
    const QString messagesPath = dir.filePath(u"messages.bin"_s);
    QFile messages(messagesPath);
    if (!messages.open(QIODevice::WriteOnly)) {
        return 1;
    }
    const EmbeddedHtml embedded = InlineImages::Embed(html);
    OutgoingMessage message;
    message.fromEmail = account.fromEmail;
    message.inlineImagePaths = InlineImages::paths(embedded.InlineImageList);
    message.inlineImageData = InlineImages::LoadInlineImages(embedded.InlineImageList).value();
    for (int i = 1; i <= Messages; ++i) {
        message.to = table.cell(i, 0);
        message.subject = tokens.mergedSubject(i, input.subjectBox);
        message.body = tokens.mergedBody(i, embedded.html);
        const QByteArray bytes = MessageLayout::bytes(message, QDateTime::currentDateTime());
        messages.write(message.to.toUtf8() + ' ' + QByteArray::number(bytes.size()) + '\n' + bytes);
    }
    messages.close();

    QProcess peerSink;
    const quint16 peerPort = startSink(peerSink, source, dir.filePath(u"peer"_s));
    QProcess peer;
    peer.start(u"/usr/bin/python3"_s,
               {source + u"/bench/delivery/smtplib_send.py"_s, QString::number(peerPort), messagesPath});
    peer.waitForFinished(600000);
    const QList<QByteArray> figures = peer.readAllStandardOutput().trimmed().split(' ');
    peerSink.closeWriteChannel();
    peerSink.waitForFinished(5000);
    if (figures.size() != 2) {
        std::fprintf(stderr, "the smtplib peer failed: %s\n", peer.readAllStandardError().constData());
        return 1;
    }
    const double theirs = figures.at(1).toDouble();
    std::printf("Python smtplib loop: %d messages in %.2f s = %7.0f messages/s\n", figures.at(0).toInt(), theirs,
                figures.at(0).toInt() / theirs);
    std::printf("ratio (Quillbay+ / smtplib): %.2f\n", (run.accepted() / ours) / (figures.at(0).toInt() / theirs));
    return run.accepted() == Messages ? 0 : 1;
}
