#include "SendmailTransport.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QProcess>

using namespace Qt::StringLiterals;

namespace {

// However long the transport takes with one message, the run does not wait for ever.
constexpr int MessageLimitMs = 120000;

} // namespace

SendmailTransport::SendmailTransport(const QString& command)
{
    m_arguments = QProcess::splitCommand(command);
    m_program = m_arguments.isEmpty() ? QString() : m_arguments.takeFirst();
    m_arguments << u"-t"_s << u"-oi"_s;
}

MailTransport::Outcome SendmailTransport::SendSmtpMessage(const OutgoingMessage& message, const QString&)
{
    m_reply.clear();
    QProcess transport;
    transport.start(m_program, m_arguments);
    if (!transport.waitForStarted()) {
        m_failure = u"the mail transport %1 cannot be started: %2"_s.arg(m_program, transport.errorString());
        return Outcome::Raised;
    }
    // The transport reads the message as a text file of the system: lines end with LF.
    QByteArray text = MessageLayout::bytes(message, QDateTime::currentDateTime());
    text.replace("\r\n", "\n");
    transport.write(text);
    while (transport.bytesToWrite() > 0 && transport.waitForBytesWritten(1000)) {
    }
    endOfData();
    transport.closeWriteChannel();
    QElapsedTimer waited;
    waited.start();
    while (!transport.waitForFinished(100)) {
        if (m_cancelled || waited.elapsed() > MessageLimitMs) {
            transport.kill();
            transport.waitForFinished();
            return Outcome::Failed;
        }
    }
    const QString said = QString::fromLocal8Bit(transport.readAllStandardError()).trimmed();
    if (transport.exitStatus() == QProcess::NormalExit && transport.exitCode() == 0) {
        m_reply = u"handed to "_s + m_program;
        return Outcome::Accepted;
    }
    m_reply = said.isEmpty() ? u"%1 ended with status %2"_s.arg(m_program).arg(transport.exitCode())
                             : said.section(u'\n', -1);
    return Outcome::Failed;
}

void SendmailTransport::endRun()
{
    m_cancelled = false;
    m_failure.clear();
}
