#pragma once

#include "core/Result.h"

#include <QJsonObject>
#include <QObject>
#include <QProcess>

namespace wordlink {

// The client of the office bridge: a Python helper that drives its own hidden LibreOffice with a
// private profile, spoken to in JSON lines. It is started on first use and kept warm for the
// rest of the program; when it is missing or has crashed, the call fails with an error value
// and the next call starts it again. While a call waits, the event loop keeps running.
class OfficeBridge : public QObject
{
    Q_OBJECT

public:
    // The bridge the program shares.
    static OfficeBridge& instance();
    // A bridge of its own, for work that must not wait behind the shared one, such as the
    // explorer's preview on its own thread. It lives and is called on the thread that made it.
    OfficeBridge();
    ~OfficeBridge() override;

    // One operation; the answer's fields, or the error it gave.
    Result<QJsonObject> call(const QJsonObject& request, int timeoutMs = 120000);

    // Ends the helper and its office suite.
    void shutdown();

    // Counts the starts of the helper: a document belongs to the start it was opened in, and
    // is gone when the helper has ended since.
    int generation() const { return m_generation; }
    bool isServing(int generation) const;

private:
    Status ensureStarted();
    Result<QJsonObject> awaitAnswer(int timeoutMs);
    void stopProcess();

    QProcess m_process;
    QByteArray m_pending;
    bool m_busy = false;
    int m_generation = 0;
};

} // namespace wordlink
