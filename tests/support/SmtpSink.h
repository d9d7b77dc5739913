#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A real SMTP server for the tests (aiosmtpd through Debian's Python), on a free loopback port,
// storing every message it accepts.
class SmtpSink
{
public:
    struct Options
    {
        bool starttls = false;
        bool implicitTls = false;
        QString login;         // "user:password" to accept AUTH LOGIN
        QString rejectAddress; // refuses this recipient with 550
    };

    struct StoredMessage
    {
        QByteArray content; // the bytes that followed DATA
        QJsonObject envelope;
    };

    explicit SmtpSink(const Options& options);
    SmtpSink();
    ~SmtpSink();
    SmtpSink(const SmtpSink&) = delete;
    SmtpSink& operator=(const SmtpSink&) = delete;

    bool isRunning() const { return m_port != 0; }
    quint16 port() const { return m_port; }
    QString errorText() const { return m_error; }
    // The certificate authority that signed the server's certificate (with a TLS option).
    QString authorityCertificate() const { return m_folder.filePath(QStringLiteral("ca.pem")); }

    // The messages stored so far, in the order they arrived; waits up to timeoutMs for `atLeast`.
    QList<StoredMessage> messages(int atLeast = 0, int timeoutMs = 5000) const;

    // The decoded Base64 data of the MIME part whose headers hold `headerLine` (the lines
    // between the part's empty line and the next boundary); empty when there is no such part.
    static QByteArray decodedPart(const QByteArray& message, const QByteArray& headerLine);

    // The HTML text of a message as a reader shows it: the body of a message without parts, or
    // the text/html part, undone from quoted-printable when the part says it is so encoded.
    static QByteArray decodedHtml(const QByteArray& message);

private:
    bool makeCertificates();

    QTemporaryDir m_folder;
    QProcess m_process;
    quint16 m_port = 0;
    QString m_error;
};
