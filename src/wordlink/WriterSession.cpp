#include "WriterSession.h"

#include "HelperScript.h"
#include "core/AppPaths.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QScopeGuard>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

enum SessionError
{
    NotStarted = 50,
    NoAnswer,
    Failed
};

} // namespace

WriterSession::WriterSession()
{
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &WriterSession::readLines);
    // A helper that ends unasked (it crashed, or it was ended for not answering) ends the
    // session as the writer's own end does.
    connect(&m_process, &QProcess::finished, this, [this] {
        if (!m_quitting) {
            m_events << QJsonObject{{u"event"_s, u"quit"_s}};
            QTimer::singleShot(0, this, &WriterSession::deliverEvents);
        }
    });
}

WriterSession::~WriterSession()
{
    m_quitting = true;
    // The helper learns of the program's end by its closed input and leaves the window with
    // the user.
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
}

void WriterSession::readLines()
{
    m_pending += m_process.readAllStandardOutput();
    qsizetype end;
    while ((end = m_pending.indexOf('\n')) >= 0) {
        const QJsonObject message = QJsonDocument::fromJson(m_pending.left(end)).object();
        m_pending.remove(0, end + 1);
        if (message.contains(u"event"_s)) {
            m_events << message;
            QTimer::singleShot(0, this, &WriterSession::deliverEvents);
        } else {
            m_answers << message;
        }
    }
}

void WriterSession::deliverEvents()
{
    // An event's handler may call the helper, whose answer lets more events in: they wait for
    // the handler's end, so that the events keep their order. None is handled while a call
    // waits, so that a handler's own call cannot take the answer meant for the waiting one.
    if (m_delivering || m_calling > 0) {
        return;
    }
    m_delivering = true;
    while (!m_events.isEmpty()) {
        emit event(m_events.takeFirst());
    }
    m_delivering = false;
}

Status WriterSession::start(const QString& profile, const QString& extension)
{
    m_process.start(u"/usr/bin/python3"_s,
                    {helperScript(u"writer_session.py"_s), u"--profile"_s, profile, u"--extension"_s, extension,
                     u"--app-folder"_s, AppPaths::applicationFolder()});
    if (!m_process.waitForStarted(10000)) {
        return Error{NotStarted, u"the writer's helper cannot start: "_s + m_process.errorString()};
    }
    const Result<QJsonObject> ready = call({}, 120000);
    if (!ready.ok()) {
        return ready.error();
    }
    return {};
}

Result<QJsonObject> WriterSession::call(const QJsonObject& request, int timeoutMs)
{
    ++m_calling;
    const auto done = qScopeGuard([this] {
        --m_calling;
        if (!m_events.isEmpty()) {
            QTimer::singleShot(0, this, &WriterSession::deliverEvents);
        }
    });
    // An empty request waits for the greeting the helper writes when its writer is up.
    if (!request.isEmpty()) {
        m_process.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
    }
    QEventLoop loop;
    QTimer timeout;
    timeout.setSingleShot(true);
    connect(&timeout, &QTimer::timeout, &loop, &QEventLoop::quit);
    connect(&m_process, &QProcess::readyReadStandardOutput, &loop, &QEventLoop::quit, Qt::QueuedConnection);
    connect(&m_process, &QProcess::finished, &loop, &QEventLoop::quit);
    timeout.start(timeoutMs);
    while (m_answers.isEmpty()) {
        if (m_process.state() != QProcess::Running) {
            return Error{NoAnswer, u"the writer's helper has ended"_s};
        }
        if (!timeout.isActive()) {
            // A late answer would be taken for the next call's: the helper is ended (its writer
            // stays with the user).
            m_process.kill();
            m_process.waitForFinished(3000);
            return Error{NoAnswer, u"the writer did not answer in time"_s};
        }
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    const QJsonObject answer = m_answers.takeFirst();
    if (!answer.value(u"ok"_s).toBool()) {
        return Error{Failed, answer.value(u"error"_s).toString(u"the writer failed"_s)};
    }
    return answer;
}

void WriterSession::quit()
{
    m_quitting = true;
    if (m_process.state() == QProcess::Running) {
        call({{u"op"_s, u"quit"_s}}, 30000);
    }
    if (!m_process.waitForFinished(10000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
}

} // namespace wordlink
