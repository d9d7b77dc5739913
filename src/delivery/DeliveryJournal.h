#pragma once

#include "core/Result.h"

#include <QDateTime>
#include <QFile>
#include <QList>
#include <QString>

#include <future>
#include <memory>
#include <optional>

// Which run a journal belongs to: a later run of the same contact list, template and subject
// is the same run, and may go on where an interrupted one stopped.
struct RunIdentity
{
    QString source;       // the contact list's file, or the name of the source
    QString templatePath; // the Word template attached to each mail, "" without one
    QString subject;      // the subject box as typed, tokens and all
    int contacts = 0;     // the contacts chosen for the run

    bool sameRunAs(const RunIdentity& other) const
    {
        return source == other.source && templatePath == other.templatePath && subject == other.subject;
    }
};

// What became of one contact of a send run: one line of the journal.
struct ContactDelivery
{
    enum class Kind
    {
        Sent,
        Failed,
        Skipped,
        // The run stopped after the whole message had left and before the server's answer
        // arrived: it most likely went out, and a resumed run does not send it again.
        Unconfirmed
    };

    int row = 0;
    QString address;
    Kind kind = Kind::Sent;
    QString outcome; // "sent", "failed", "skipped: no address", … as the journal writes it
    QString reply;   // the server's last reply line for this contact, or why it was skipped
    QDateTime time = QDateTime::currentDateTime();

    static ContactDelivery sent(int row, const QString& address, const QString& reply);
    static ContactDelivery failed(int row, const QString& address, const QString& reply);
    static ContactDelivery skipped(int row, const QString& address, const QString& why, const QString& detail = {});

    // The one-line form: "sent", "failed: 550 No such user", "skipped: no address".
    QString summary() const;
};

// What the journal of an earlier run says.
class PastRun
{
public:
    static Result<PastRun> read(const QString& journalPath);
    // The newest journal in the folder of a run with the same identity, when that run did not
    // reach its end; none when it did, or when there is none.
    static std::optional<PastRun> latestInterrupted(const QString& folder, const RunIdentity& identity);

    const QString& path() const { return m_path; }
    const RunIdentity& identity() const { return m_identity; }
    // True when the journal marks the contact sent, or in flight when the run stopped.
    bool delivered(int row, const QString& address) const;
    // The contacts marked so.
    int sentCount() const { return static_cast<int>(m_delivered.size()); }
    bool finished() const { return m_ending == u"completed"; }
    // Contacts the run had on the way when it stopped, with no line of their own.
    const QList<ContactDelivery>& unconfirmed() const { return m_unconfirmed; }

private:
    QString m_path;
    RunIdentity m_identity;
    QString m_ending;
    QList<std::pair<int, QString>> m_delivered;
    QList<ContactDelivery> m_unconfirmed;
};

// The delivery journal of a send run: "Runs/<date and time>.csv" in the application folder,
// UTF-8, a header line and one line per contact (row, address, outcome, reply, time). Beside it
// NAME.run says which run it is and, once it is over, how it ended; NAME.inflight names the
// contact whose message is on its way while the server has not answered it.
//
// A kill at any moment leaves a journal that is true up to that moment: each line is written
// before the next contact's message can reach the server, and flushed to disk (fsync) by then
// too; the disk flush runs beside the next contact's merge and envelope, so the journal costs
// the run next to nothing.
class DeliveryJournal
{
public:
    // A new journal's path: the application folder's "Runs" with the date and time.
    static QString newPath();
    static Result<std::unique_ptr<DeliveryJournal>> create(const QString& path, const RunIdentity& identity);
    // Goes on writing the journal of an interrupted run: its lines stay, new ones follow.
    static Result<std::unique_ptr<DeliveryJournal>> resume(const PastRun& run);

    ~DeliveryJournal();
    DeliveryJournal(const DeliveryJournal&) = delete;
    DeliveryJournal& operator=(const DeliveryJournal&) = delete;

    // The whole message of this contact has left but for its end: once the end is sent, the
    // server may deliver it at any moment.
    void messageInFlight(int row, const QString& address);
    void record(const ContactDelivery& delivery);
    // How the run ended: "completed", "cancelled" or "failed".
    void finish(const QString& ending);

    const QString& path() const { return m_path; }

private:
    DeliveryJournal(QString path, RunIdentity identity);
    bool open(bool append);
    bool writeRunFile(const QString& ending) const;
    void awaitDiskFlush();

    QString m_path;
    RunIdentity m_identity;
    QDateTime m_started;
    QFile m_lines;
    QFile m_inFlight;
    std::future<void> m_diskFlush;
};
