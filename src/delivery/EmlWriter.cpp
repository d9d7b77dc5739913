#include "EmlWriter.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSaveFile>

using namespace Qt::StringLiterals;

EmlWriter::EmlWriter(QString folder)
    : m_folder(std::move(folder))
{
}

MailTransport::Outcome EmlWriter::SendSmtpMessage(const OutgoingMessage& message, const QString&)
{
    // A file of an earlier run under the same name is replaced only by a complete new one.
    QSaveFile file(m_folder + u"/%1.eml"_s.arg(m_written + 1, 5, 10, QChar(u'0')));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(MessageLayout::bytes(message, QDateTime::currentDateTime()));
        endOfData();
        if (file.commit()) {
            ++m_written;
            m_reply = u"written to %1"_s.arg(QFileInfo(file.fileName()).fileName());
            return Outcome::Accepted;
        }
    }
    m_failure = file.errorString();
    m_reply = m_failure;
    return Outcome::Raised;
}
