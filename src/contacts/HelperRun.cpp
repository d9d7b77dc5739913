#include "HelperRun.h"

#include <QCoreApplication>
#include <QFileInfo>

using namespace Qt::StringLiterals;

HelperRun::HelperRun(const QString& program, const QStringList& arguments, int silenceLimitMs)
    : m_silenceLimitMs(silenceLimitMs)
{
    m_process.setProgram(program);
    m_process.setArguments(arguments);
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_process.setStandardErrorFile(QProcess::nullDevice());
    m_process.start(QIODevice::ReadOnly);
}

HelperRun::~HelperRun()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

bool HelperRun::started()
{
    return m_process.waitForStarted();
}

std::optional<QByteArray> HelperRun::next()
{
    for (;;) {
        const qsizetype colon = m_buffer.indexOf(':', m_position);
        if (colon >= 0) {
            bool ok = false;
            const qsizetype length = QByteArrayView(m_buffer).sliced(m_position, colon - m_position).toLongLong(&ok);
            if (!ok || length < 0) {
                return std::nullopt;
            }
            if (m_buffer.size() - colon - 1 >= length) {
                QByteArray bytes = m_buffer.mid(colon + 1, length);
                m_position = colon + 1 + length;
                return bytes;
            }
        } else if (m_buffer.size() - m_position > 20) {
            return std::nullopt; // no length is that long
        }
        if (!readMore()) {
            return std::nullopt;
        }
    }
}

std::optional<int> HelperRun::nextNumber()
{
    const std::optional<QByteArray> text = next();
    bool ok = false;
    const int value = text ? text->toInt(&ok) : 0;
    return ok && value >= 0 ? std::optional<int>(value) : std::nullopt;
}

bool HelperRun::readMore()
{
    if (m_position > (1 << 20)) {
        m_buffer.remove(0, m_position);
        m_position = 0;
    }
    if (m_process.bytesAvailable() == 0 && !m_process.waitForReadyRead(m_silenceLimitMs)) {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
        const QByteArray rest = m_process.readAllStandardOutput();
        m_buffer += rest;
        return !rest.isEmpty();
    }
    m_buffer += m_process.readAllStandardOutput();
    return true;
}

QString helperProgram(const QString& fromBin, const QString& built)
{
    const QString installed = QCoreApplication::applicationDirPath() + u"/"_s + fromBin;
    return QFileInfo(installed).isExecutable() ? installed : built;
}
