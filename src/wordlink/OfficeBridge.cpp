#include "OfficeBridge.h"

#include "HelperScript.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QJsonDocument>
#include <QThread>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace wordlink {

namespace {

enum BridgeError
{
    NotStarted = 40,
    NoAnswer,
    Failed,
    Busy
};

} // namespace

OfficeBridge& OfficeBridge::instance()
{
    static OfficeBridge bridge;
    return bridge;
}

OfficeBridge::OfficeBridge()
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    if (QCoreApplication::instance() != nullptr) {
        QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &OfficeBridge::shutdown);
    }
}

OfficeBridge::~OfficeBridge()
{
    shutdown();
}

Status OfficeBridge::ensureStarted()
{
    if (m_process.state() == QProcess::Running) {
        return {};
    }
    m_pending.clear();
    ++m_generation;
    m_process.start(u"/usr/bin/python3"_s, {helperScript(u"office_bridge.py"_s)});
    if (!m_process.waitForStarted(10000)) {
        return Error{NotStarted, u"the office bridge cannot start: "_s + m_process.errorString()};
    }
    const Result<QJsonObject> ready = awaitAnswer(120000);
    if (!ready.ok()) {
        shutdown();
        return ready.error();
    }
    return {};
}

Result<QJsonObject> OfficeBridge::awaitAnswer(int timeoutMs)
{
    QEventLoop loop;
    QTimer timeout;
    timeout.setSingleShot(true);
    QObject::connect(&timeout, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &loop, &QEventLoop::quit);
    QObject::connect(&m_process, &QProcess::finished, &loop, &QEventLoop::quit);
    timeout.start(timeoutMs);
    while (true) {
        m_pending += m_process.readAllStandardOutput();
        const qsizetype end = m_pending.indexOf('\n');
        if (end >= 0) {
            const QByteArray line = m_pending.left(end);
            m_pending.remove(0, end + 1);
            const QJsonObject answer = QJsonDocument::fromJson(line).object();
            if (answer.value(u"fatal"_s).toBool()) {
                // The office suite crashed and the helper is ending: the next use starts afresh.
                if (!m_process.waitForFinished(20000)) {
                    stopProcess();
                }
            }
            if (!answer.value(u"ok"_s).toBool()) {
                return Error{Failed, answer.value(u"error"_s).toString(u"the office bridge failed"_s)};
            }
            return answer;
        }
        if (m_process.state() != QProcess::Running) {
            return Error{NoAnswer,
                         u"the office bridge ended: "_s + QString::fromUtf8(m_process.readAllStandardError())};
        }
        if (QThread::currentThread()->isInterruptionRequested()) {
            // The thread of a bridge of its own is ending: the helper goes with it, at once.
            stopProcess();
            return Error{NoAnswer, u"the office bridge was stopped"_s};
        }
        if (!timeout.isActive()) {
            // The helper is stuck: it is ended and started afresh on the next use.
            stopProcess();
            return Error{NoAnswer, u"the office bridge did not answer in time"_s};
        }
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
}

Result<QJsonObject> OfficeBridge::call(const QJsonObject& request, int timeoutMs)
{
    if (m_busy) {
        return Error{Busy, u"the office bridge is busy"_s};
    }
    m_busy = true;
    Result<QJsonObject> answer = Error{NotStarted, QString()};
    const Status started = ensureStarted();
    if (!started.ok()) {
        answer = started.error();
    } else {
        m_process.write(QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n');
        answer = awaitAnswer(timeoutMs);
    }
    m_busy = false;
    return answer;
}

bool OfficeBridge::isServing(int generation) const
{
    return generation == m_generation && m_process.state() == QProcess::Running;
}

void OfficeBridge::shutdown()
{
    if (m_process.state() == QProcess::NotRunning) {
        return;
    }
    m_process.write("{\"op\":\"quit\"}\n");
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(20000)) {
        stopProcess();
    }
}

void OfficeBridge::stopProcess()
{
    // A terminated helper takes its office suite with it; a killed one could not.
    m_process.terminate();
    if (!m_process.waitForFinished(3000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
}

} // namespace wordlink
