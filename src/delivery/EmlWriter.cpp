#include "EmlWriter.h"

#include <QDateTime>
#include <QFile>

using namespace Qt::StringLiterals;

EmlWriter::EmlWriter(QString folder)
    : m_folder(std::move(folder))
{
}

MailTransport::Outcome EmlWriter::SendSmtpMessage(const OutgoingMessage& message, const QString&)
{
    QFile file(m_folder + u"/%1.eml"_s.arg(m_written + 1, 5, 10, QChar(u'0')));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        m_failure = file.errorString();
        return Outcome::Raised;
    }
    file.write(MessageLayout::bytes(message, QDateTime::currentDateTime()));
    ++m_written;
    return Outcome::Accepted;
}
