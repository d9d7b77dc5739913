#include "SmtpSink.h"
#include "TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;

// Long mail runs of the command-line companion against a real server: killed and resumed, the
// pace and test mail options, and the system's mail transport.
class CliDeliveryTest : public QObject
{
    Q_OBJECT

private:
    static constexpr int Members = 60;
    QTemporaryDir m_dir;
    QString m_contacts;
    QString m_body;

    QString path(const QString& name) const { return m_dir.filePath(name); }

    QStringList mailArguments(const SmtpSink& sink, const QStringList& more) const
    {
        return QStringList{u"mail"_s,      u"--contacts"_s,
                           m_contacts,     u"--skip-first-row"_s,
                           u"--subject"_s, u"News for [[FirstName]]"_s,
                           u"--body"_s,    m_body,
                           u"--from"_s,    u"news@example.com"_s,
                           u"--smtp"_s,    u"127.0.0.1:%1"_s.arg(sink.port()),
                           u"--tls"_s,     u"off"_s} +
               more;
    }

    static int runToEnd(QProcess& cli, const QStringList& arguments, QString* out = nullptr)
    {
        cli.start(QStringLiteral(QUILLBAY_CLI), arguments);
        if (!cli.waitForFinished(120000)) {
            cli.kill();
            cli.waitForFinished();
            return -1;
        }
        if (out != nullptr) {
            *out = QString::fromUtf8(cli.readAllStandardOutput());
        }
        return cli.exitStatus() == QProcess::NormalExit ? cli.exitCode() : -1;
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        QVERIFY(m_dir.isValid());
        QByteArray list = "First Name,Email\r\n";
        for (int i = 1; i <= Members; ++i) {
            list += "Member" + QByteArray::number(i) + ",member" + QByteArray::number(i) + "@example.com\r\n";
        }
        m_contacts = path(u"members.csv"_s);
        m_body = path(u"body.html"_s);
        QVERIFY(TestSupport::writeFile(m_contacts, list));
        QVERIFY(TestSupport::writeFile(m_body, "<p>Dear [[FirstName]],</p><p>the spring letter.</p>"));
    }

    void aKilledRun_resumed_reachesEachContactExactlyOnce()
    {
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        const QString journal = path(u"killed.csv"_s);
        QProcess cli;
        cli.start(QStringLiteral(QUILLBAY_CLI), mailArguments(sink, {u"--journal"_s, journal}));
        QVERIFY(sink.messages(20, 60000).size() >= 20);
        ::kill(static_cast<pid_t>(cli.processId()), SIGKILL);
        QVERIFY(cli.waitForFinished());
        QCOMPARE(cli.exitStatus(), QProcess::CrashExit);

        QProcess resumed;
        QString out;
        QCOMPARE(runToEnd(resumed, mailArguments(sink, {u"--resume"_s, journal}), &out), 0);
        QVERIFY2(out.contains(u"Delivery report: "_s + journal), qPrintable(out.right(300)));
        QMap<QString, int> received;
        for (const SmtpSink::StoredMessage& message : sink.messages(Members, 20000)) {
            ++received[message.envelope.value(u"to"_s).toArray().first().toString()];
        }
        QCOMPARE(received.size(), Members);
        for (auto it = received.cbegin(); it != received.cend(); ++it) {
            QVERIFY2(it.value() == 1, qPrintable(u"%1 got %2 mails"_s.arg(it.key()).arg(it.value())));
        }

        // Another subject is another run: the journal is not taken for it.
        QStringList other = mailArguments(sink, {u"--resume"_s, journal});
        other[other.indexOf(u"News for [[FirstName]]"_s)] = u"Other news"_s;
        QProcess refused;
        QCOMPARE(runToEnd(refused, other), 2);
        QVERIFY(QString::fromUtf8(refused.readAllStandardError()).contains(u"belongs to another run"_s));
    }

    // The pace and the test mail are the SMTP run's; here only that the options reach it.
    void rateAndTestAddress_reachTheRun()
    {
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        const QString three = path(u"three.csv"_s);
        QVERIFY(TestSupport::writeFile(
            three, "First Name,Email\r\nA,a@example.com\r\nB,b@example.com\r\nC,c@example.com\r\n"));
        QStringList arguments = mailArguments(sink, {u"--rate"_s, u"240"_s});
        arguments[arguments.indexOf(m_contacts)] = three;
        QElapsedTimer clock;
        clock.start();
        QProcess paced;
        QCOMPARE(runToEnd(paced, arguments), 0);
        QVERIFY2(clock.elapsed() >= 500, qPrintable(QString::number(clock.elapsed()))); // two waits of 250 ms
        QCOMPARE(sink.messages(3).size(), 3);

        QProcess test;
        QString out;
        QCOMPARE(runToEnd(test, mailArguments(sink, {u"--test-to"_s, u"me@example.com"_s}), &out), 0);
        QVERIFY2(out.startsWith(u"Test mail of row 1 to me@example.com: sent"_s), qPrintable(out));
        const QList<SmtpSink::StoredMessage> stored = sink.messages(4);
        QCOMPARE(stored.size(), 4);
        QCOMPARE(stored.last().envelope.value(u"to"_s).toArray(), QJsonArray{u"me@example.com"_s});
    }

    void theOutbox_handsEachMailToTheSystemsTransport()
    {
        const QString msmtp = QStandardPaths::findExecutable(u"msmtp"_s);
        if (msmtp.isEmpty()) {
            QSKIP("msmtp is not installed (scripts/install-deps.sh installs it)");
        }
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        const QString configuration = path(u"msmtprc"_s);
        QVERIFY(TestSupport::writeFile(configuration, "account default\nhost 127.0.0.1\nport " +
                                                          QByteArray::number(sink.port()) +
                                                          "\nfrom news@example.com\nauth off\ntls off\n"));
        QFile::setPermissions(configuration, QFile::ReadOwner | QFile::WriteOwner);
        const QString five = path(u"outbox.csv"_s);
        QVERIFY(TestSupport::writeFile(
            five, "First Name,Email\r\nAnn,ann@example.com\r\nNoone,nowhere\r\nCy,cy@example.com\r\n"));
        QStringList arguments = mailArguments(sink, {});
        arguments = arguments.mid(0, arguments.indexOf(u"--smtp"_s));
        arguments[arguments.indexOf(m_contacts)] = five;
        arguments << u"--sendmail"_s << u"--sendmail-path"_s << msmtp + u" -C "_s + configuration;
        QProcess cli;
        QString out;
        QCOMPARE(runToEnd(cli, arguments, &out), 0);
        QVERIFY2(out.startsWith(u"1\tann@example.com\tsent\n2\tnowhere\tskipped: no address\n"
                                u"3\tcy@example.com\tsent\nAll mails are successfully sent. "
                                u"(2 sent, 0 failed, 1 skipped)\n"_s),
                 qPrintable(out));
        const QList<SmtpSink::StoredMessage> stored = sink.messages(2);
        QCOMPARE(stored.size(), 2);
        QCOMPARE(stored.at(1).envelope.value(u"to"_s).toArray(), QJsonArray{u"cy@example.com"_s});
        QVERIFY(SmtpSink::decodedHtml(stored.at(1).content).contains("<p>Dear Cy,</p>"));

        // A transport that refuses fails its contact; the run goes on.
        arguments.last() = u"/bin/false"_s;
        QCOMPARE(runToEnd(cli, arguments, &out), 0);
        QVERIFY2(out.contains(u"1\tann@example.com\tfailed: /bin/false ended with status 1\n"_s), qPrintable(out));
        // One that cannot start ends the run.
        arguments.last() = path(u"no-such-transport"_s);
        QCOMPARE(runToEnd(cli, arguments, &out), 1);
        QVERIFY2(out.contains(u"Process Cancelled!"_s), qPrintable(out));
    }
};

QTEST_GUILESS_MAIN(CliDeliveryTest)
#include "tst_cli_delivery.moc"
