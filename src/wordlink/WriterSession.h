#pragma once

#include "core/Result.h"

#include <QJsonObject>
#include <QObject>
#include <QProcess>

namespace wordlink {

// The client of the editing session's helper: a Python program that starts a visible writer
// with the profile it is given and speaks JSON lines, like the office bridge. Besides the
// answers to its calls, the helper reports what happens in the writer as events (a menu entry
// chosen, a close asked for, the writer gone); they are handed on through `event` one at a time
// from the event loop, never inside a call. A helper that ends unasked is reported as the
// writer's end ("quit").
class WriterSession : public QObject
{
    Q_OBJECT

public:
    WriterSession();
    ~WriterSession() override;

    // Starts the helper and its writer; `extension` is the .oxt file the profile gets ("" for
    // none). Returns once the writer answers.
    Status start(const QString& profile, const QString& extension);
    Result<QJsonObject> call(const QJsonObject& request, int timeoutMs = 60000);
    // Ends the writer and the helper ("quit"), or the helper alone when it no longer answers.
    void quit();
    bool isRunning() const { return m_process.state() == QProcess::Running; }

signals:
    void event(const QJsonObject& message);

private:
    void readLines();
    void deliverEvents();

    QProcess m_process;
    QByteArray m_pending;
    QList<QJsonObject> m_answers;
    QList<QJsonObject> m_events;
    bool m_delivering = false;
    bool m_quitting = false;
    int m_calling = 0;
};

} // namespace wordlink
