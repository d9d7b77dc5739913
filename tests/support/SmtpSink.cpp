#include "SmtpSink.h"

#include "TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QThread>

using namespace Qt::StringLiterals;

SmtpSink::SmtpSink()
    : SmtpSink(Options{})
{
}

SmtpSink::SmtpSink(const Options& options)
{
    QStringList arguments{TestSupport::sourceDir() + u"/tests/support/smtp_sink.py"_s, u"--dir"_s,
                          m_folder.filePath(u"messages"_s)};
    if (options.starttls || options.implicitTls) {
        if (!makeCertificates()) {
            m_error = u"openssl could not make the test certificates"_s;
            return;
        }
        arguments << (options.starttls ? u"--starttls"_s : u"--implicit-tls"_s) << m_folder.filePath(u"server.pem"_s)
                  << m_folder.filePath(u"server.key"_s);
    }
    if (!options.login.isEmpty()) {
        arguments << u"--auth"_s << options.login;
    }
    if (!options.rejectAddress.isEmpty()) {
        arguments << u"--reject"_s << options.rejectAddress;
    }
    m_process.start(QString::fromLatin1(TestSupport::DebianPython), arguments);
    if (!m_process.waitForStarted(10000) || !m_process.waitForReadyRead(20000)) {
        m_error = u"the SMTP server did not start: "_s + QString::fromUtf8(m_process.readAllStandardError());
        return;
    }
    m_port = static_cast<quint16>(m_process.readLine().trimmed().toUInt());
    if (m_port == 0) {
        m_error = u"the SMTP server gave no port: "_s + QString::fromUtf8(m_process.readAllStandardError());
    }
}

SmtpSink::~SmtpSink()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(2000);
        }
    }
}

bool SmtpSink::makeCertificates()
{
    QFile extensions(m_folder.filePath(u"server.ext"_s));
    if (!extensions.open(QIODevice::WriteOnly)) {
        return false;
    }
    extensions.write("subjectAltName=DNS:localhost,IP:127.0.0.1\nbasicConstraints=CA:FALSE\n");
    extensions.close();
    // An authority, then the server's key and request, then the request signed by the authority.
    const QString steps[] = {
        u"req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=Quillbay-Test-Authority -keyout ca.key -out ca.pem"_s,
        u"req -newkey rsa:2048 -nodes -subj /CN=localhost -keyout server.key -out server.csr"_s,
        u"x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 -extfile server.ext "
        u"-out server.pem"_s,
    };
    for (const QString& step : steps) {
        QProcess openssl;
        openssl.setWorkingDirectory(m_folder.path());
        openssl.start(u"openssl"_s, step.split(u' '));
        if (!openssl.waitForFinished(30000) || openssl.exitStatus() != QProcess::NormalExit ||
            openssl.exitCode() != 0) {
            return false;
        }
    }
    return true;
}

QList<SmtpSink::StoredMessage> SmtpSink::messages(int atLeast, int timeoutMs) const
{
    const QDir folder(m_folder.filePath(u"messages"_s));
    QElapsedTimer timer;
    timer.start();
    QStringList envelopes;
    do {
        envelopes = folder.entryList({u"*.json"_s}, QDir::Files, QDir::Name);
        if (envelopes.size() >= atLeast) {
            break;
        }
        QThread::msleep(20);
    } while (timer.elapsed() < timeoutMs);
    QList<StoredMessage> stored;
    for (const QString& name : envelopes) {
        QFile envelope(folder.filePath(name));
        QFile content(folder.filePath(QString(name).replace(u".json"_s, u".eml"_s)));
        if (envelope.open(QIODevice::ReadOnly) && content.open(QIODevice::ReadOnly)) {
            stored << StoredMessage{content.readAll(), QJsonDocument::fromJson(envelope.readAll()).object()};
        }
    }
    return stored;
}

QByteArray SmtpSink::decodedPart(const QByteArray& message, const QByteArray& headerLine)
{
    const qsizetype start = message.indexOf(headerLine);
    if (start < 0) {
        return {};
    }
    const qsizetype body = message.indexOf("\r\n\r\n", start) + 4;
    const qsizetype end = message.indexOf("\r\n--NextMimePart", body);
    return QByteArray::fromBase64(message.mid(body, end - body).replace("\r\n", ""));
}

QByteArray SmtpSink::decodedHtml(const QByteArray& message)
{
    const qsizetype part = message.indexOf("Content-Type: text/html");
    const qsizetype body = message.indexOf("\r\n\r\n", part) + 4;
    const qsizetype end = message.indexOf("\r\n--NextMimePart", body);
    const QByteArray text = message.mid(body, end < 0 ? -1 : end - body);
    if (!message.mid(part, body - part).contains("Content-Transfer-Encoding: quoted-printable")) {
        return text;
    }
    QByteArray decoded;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text.at(i) != '=') {
            decoded.append(text.at(i));
        } else if (text.mid(i + 1, 2) == "\r\n") {
            i += 2; // a soft line break
        } else {
            decoded.append(char(text.mid(i + 1, 2).toInt(nullptr, 16)));
            i += 2;
        }
    }
    return decoded;
}
