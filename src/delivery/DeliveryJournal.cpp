#include "DeliveryJournal.h"

#include "core/AppPaths.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray HeaderLine = "row,address,outcome,reply,time\n";
// The in-flight note is rewritten in place at each message, always this long.
constexpr qsizetype InFlightSize = 512;

QString runFileOf(const QString& journal)
{
    return journal.chopped(QFileInfo(journal).suffix().size() + 1) + u".run"_s;
}

QString inFlightFileOf(const QString& journal)
{
    return journal.chopped(QFileInfo(journal).suffix().size() + 1) + u".inflight"_s;
}

// One field of a line: on one line whatever it holds, quoted when it holds a comma or a quote.
QString csvField(const QString& text)
{
    QString field = text;
    field.replace(u'\r', u' ').replace(u'\n', u' ');
    if (field.contains(u',') || field.contains(u'"')) {
        field = u'"' + field.replace(u"\""_s, u"\"\""_s) + u'"';
    }
    return field;
}

QStringList csvFields(const QString& line)
{
    QStringList fields(1);
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (quoted && c == u'"' && i + 1 < line.size() && line.at(i + 1) == u'"') {
            fields.last() += c;
            ++i;
        } else if (c == u'"') {
            quoted = !quoted;
        } else if (c == u',' && !quoted) {
            fields << QString();
        } else {
            fields.last() += c;
        }
    }
    return fields;
}

QString timeText(const QDateTime& time)
{
    return time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate);
}

std::optional<std::pair<int, QString>> inFlightContact(const QString& journal)
{
    QFile file(inFlightFileOf(journal));
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QString note = QString::fromUtf8(file.readAll()).trimmed();
    const qsizetype tab = note.indexOf(u'\t');
    bool ok = false;
    const int row = note.left(tab).toInt(&ok);
    if (tab < 0 || !ok) {
        return std::nullopt;
    }
    return std::pair{row, note.mid(tab + 1)};
}

} // namespace

ContactDelivery ContactDelivery::sent(int row, const QString& address, const QString& reply)
{
    return {row, address, Kind::Sent, u"sent"_s, reply};
}

ContactDelivery ContactDelivery::failed(int row, const QString& address, const QString& reply)
{
    return {row, address, Kind::Failed, u"failed"_s, reply};
}

ContactDelivery ContactDelivery::skipped(int row, const QString& address, const QString& why, const QString& detail)
{
    return {row, address, Kind::Skipped, u"skipped: "_s + why, detail};
}

QString ContactDelivery::summary() const
{
    if (kind == Kind::Sent || reply.isEmpty()) {
        return outcome;
    }
    return kind == Kind::Skipped ? u"%1 (%2)"_s.arg(outcome, reply) : outcome + u": "_s + reply;
}

Result<PastRun> PastRun::read(const QString& journalPath)
{
    PastRun run;
    run.m_path = journalPath;
    QFile runFile(runFileOf(journalPath));
    QFile lines(journalPath);
    if (!runFile.open(QIODevice::ReadOnly) || !lines.open(QIODevice::ReadOnly)) {
        return Result<PastRun>::failure(ErrorCode::BadInput, u"%1 is not the journal of a send run"_s.arg(journalPath));
    }
    const QJsonObject about = QJsonDocument::fromJson(runFile.readAll()).object();
    run.m_identity = {about.value(u"source"_s).toString(), about.value(u"template"_s).toString(),
                      about.value(u"subject"_s).toString(), about.value(u"contacts"_s).toInt()};
    run.m_ending = about.value(u"ending"_s).toString();
    if (lines.readLine() != HeaderLine) {
        return Result<PastRun>::failure(ErrorCode::BadInput, u"%1 is not the journal of a send run"_s.arg(journalPath));
    }
    while (!lines.atEnd()) {
        const QStringList fields = csvFields(QString::fromUtf8(lines.readLine()).chopped(1));
        const QString outcome = fields.value(2);
        if (outcome == u"sent"_s || outcome == u"unconfirmed"_s) {
            run.m_delivered << std::pair{fields.value(0).toInt(), fields.value(1)};
        }
    }
    if (const auto contact = inFlightContact(journalPath); contact && !run.delivered(contact->first, contact->second)) {
        run.m_unconfirmed << ContactDelivery{contact->first, contact->second, ContactDelivery::Kind::Unconfirmed,
                                             u"unconfirmed"_s,
                                             u"the run stopped before the server answered the end of the message"_s};
        run.m_delivered << *contact;
    }
    return run;
}

std::optional<PastRun> PastRun::latestInterrupted(const QString& folder, const RunIdentity& identity)
{
    // A run's .run file is written when it starts and when it ends: the last run is the one
    // whose file changed last (two runs of one second have names that do not sort by time).
    const QStringList runs = QDir(folder).entryList({u"*.run"_s}, QDir::Files, QDir::Time);
    for (const QString& name : runs) {
        const QString journal = QDir(folder).filePath(name.chopped(4) + u".csv"_s);
        Result<PastRun> run = read(journal);
        if (run.ok() && run.value().identity().sameRunAs(identity)) {
            return run.value().finished() ? std::nullopt : std::optional<PastRun>(run.value());
        }
    }
    return std::nullopt;
}

bool PastRun::delivered(int row, const QString& address) const
{
    return m_delivered.contains(std::pair{row, address});
}

QString DeliveryJournal::newPath()
{
    const QString folder = AppPaths::file(u"Runs"_s);
    const QString stamp = QDateTime::currentDateTime().toString(u"yyyy-MM-dd HH-mm-ss"_s);
    QString path = folder + u'/' + stamp + u".csv"_s;
    for (int again = 2; QFileInfo::exists(path); ++again) {
        path = folder + u'/' + stamp + u" (%1).csv"_s.arg(again);
    }
    return path;
}

DeliveryJournal::DeliveryJournal(QString path, RunIdentity identity)
    : m_path(std::move(path))
    , m_identity(std::move(identity))
    , m_started(QDateTime::currentDateTime())
{
}

DeliveryJournal::~DeliveryJournal()
{
    awaitDiskFlush();
}

Result<std::unique_ptr<DeliveryJournal>> DeliveryJournal::create(const QString& path, const RunIdentity& identity)
{
    std::unique_ptr<DeliveryJournal> journal(new DeliveryJournal(path, identity));
    if (!QDir().mkpath(QFileInfo(path).absolutePath()) || !journal->writeRunFile({}) || !journal->open(false)) {
        return Result<std::unique_ptr<DeliveryJournal>>::failure(ErrorCode::CannotWrite,
                                                                 u"cannot write the journal %1"_s.arg(path));
    }
    return journal;
}

Result<std::unique_ptr<DeliveryJournal>> DeliveryJournal::resume(const PastRun& run)
{
    std::unique_ptr<DeliveryJournal> journal(new DeliveryJournal(run.path(), run.identity()));
    if (!journal->writeRunFile({}) || !journal->open(true)) {
        return Result<std::unique_ptr<DeliveryJournal>>::failure(ErrorCode::CannotWrite,
                                                                 u"cannot write the journal %1"_s.arg(run.path()));
    }
    for (const ContactDelivery& contact : run.unconfirmed()) {
        journal->record(contact);
    }
    return journal;
}

bool DeliveryJournal::open(bool append)
{
    m_lines.setFileName(m_path);
    m_inFlight.setFileName(inFlightFileOf(m_path));
    const QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::Unbuffered;
    if (!m_lines.open(mode | (append ? QIODevice::Append : QIODevice::Truncate)) ||
        !m_inFlight.open(mode | QIODevice::Truncate)) {
        return false;
    }
    return append || m_lines.write(HeaderLine) == HeaderLine.size();
}

bool DeliveryJournal::writeRunFile(const QString& ending) const
{
    QJsonObject about{{u"source"_s, m_identity.source},
                      {u"template"_s, m_identity.templatePath},
                      {u"subject"_s, m_identity.subject},
                      {u"contacts"_s, m_identity.contacts},
                      {u"started"_s, timeText(m_started)}};
    if (!ending.isEmpty()) {
        about.insert(u"ending"_s, ending);
    }
    QSaveFile file(runFileOf(m_path));
    return file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(about).toJson()) >= 0 && file.commit();
}

void DeliveryJournal::awaitDiskFlush()
{
    if (m_diskFlush.valid()) {
        m_diskFlush.wait();
    }
}

void DeliveryJournal::messageInFlight(int row, const QString& address)
{
    // The line of the contact before is on disk before this message can be delivered.
    awaitDiskFlush();
    QByteArray note = QString::number(row).toUtf8() + '\t' + QString(address).replace(u'\n', u' ').toUtf8();
    note = note.left(InFlightSize - 1).leftJustified(InFlightSize - 1, ' ') + '\n';
    m_inFlight.seek(0);
    m_inFlight.write(note);
}

void DeliveryJournal::record(const ContactDelivery& delivery)
{
    awaitDiskFlush();
    const QString line = QStringList{QString::number(delivery.row), csvField(delivery.address),
                                     csvField(delivery.outcome), csvField(delivery.reply), timeText(delivery.time)}
                             .join(u',');
    m_lines.write(line.toUtf8() + '\n');
    m_inFlight.seek(0);
    m_inFlight.write(QByteArray(InFlightSize - 1, ' ') + '\n');
    const int descriptor = m_lines.handle();
    m_diskFlush = std::async(std::launch::async, [descriptor] { ::fsync(descriptor); });
}

void DeliveryJournal::finish(const QString& ending)
{
    awaitDiskFlush();
    ::fsync(m_lines.handle());
    m_lines.close();
    m_inFlight.close();
    QFile::remove(inFlightFileOf(m_path));
    writeRunFile(ending);
}
