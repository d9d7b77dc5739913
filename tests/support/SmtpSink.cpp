#include "SmtpSink.h"

#include "TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

bool run(const QString& program, const QStringList& arguments, const QString& folder)
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    return process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

} // namespace

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
    if (options.port != 0) {
        arguments << u"--port"_s << QString::number(options.port);
    }
    if (options.dropAtMail > 0) {
        arguments << u"--drop-at"_s << QString::number(options.dropAtMail);
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
    const QString folder = m_folder.path();
    const QString openssl = u"openssl"_s;
    QFile extensions(m_folder.filePath(u"server.ext"_s));
    if (!extensions.open(QIODevice::WriteOnly)) {
        return false;
    }
    extensions.write("subjectAltName=DNS:localhost,IP:127.0.0.1\nbasicConstraints=CA:FALSE\n");
    extensions.close();
    return run(openssl,
               {u"req"_s, u"-x509"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s, u"-days"_s, u"2"_s, u"-subj"_s,
                u"/CN=Quillbay Test Authority"_s, u"-keyout"_s, u"ca.key"_s, u"-out"_s, u"ca.pem"_s},
               folder) &&
           run(openssl,
               {u"req"_s, u"-newkey"_s, u"rsa:2048"_s, u"-nodes"_s, u"-subj"_s, u"/CN=localhost"_s, u"-keyout"_s,
                u"server.key"_s, u"-out"_s, u"server.csr"_s},
               folder) &&
           run(openssl,
               {u"x509"_s, u"-req"_s, u"-in"_s, u"server.csr"_s, u"-CA"_s, u"ca.pem"_s, u"-CAkey"_s, u"ca.key"_s,
                u"-CAcreateserial"_s, u"-days"_s, u"2"_s, u"-extfile"_s, u"server.ext"_s, u"-out"_s, u"server.pem"_s},
               folder);
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
