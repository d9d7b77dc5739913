#include "CliRun.h"
#include "SmtpSink.h"
#include "TestSupport.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
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

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // A mail run of the contacts in this list to the sink.
    QStringList mailArguments(const SmtpSink& sink, const QString& list, const QStringList& more) const
    {
        return QStringList{u"mail"_s,      u"--contacts"_s,
                           path(list),     u"--skip-first-row"_s,
                           u"--subject"_s, u"News for [[FirstName]]"_s,
                           u"--body"_s,    path(u"body.html"_s),
                           u"--from"_s,    u"news@example.com"_s,
                           u"--smtp"_s,    u"127.0.0.1:%1"_s.arg(sink.port()),
                           u"--tls"_s,     u"off"_s} +
               more;
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
        QVERIFY(TestSupport::writeFile(path(u"members.csv"_s), list));
        QVERIFY(TestSupport::writeFile(path(u"three.csv"_s), "First Name,Email\r\nAnn,ann@example.com\r\n"
                                                             "Noone,nowhere\r\nCy,cy@example.com\r\n"));
        QVERIFY(TestSupport::writeFile(path(u"body.html"_s), "<p>Dear [[FirstName]],</p><p>the spring letter.</p>"));
    }

    void aKilledRun_resumed_reachesEachContactExactlyOnce()
    {
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        const QString journal = path(u"killed.csv"_s);
        QProcess cli;
        cli.start(QStringLiteral(QUILLBAY_CLI), mailArguments(sink, u"members.csv"_s, {u"--journal"_s, journal}));
        QVERIFY(sink.messages(20, 60000).size() >= 20);
        ::kill(static_cast<pid_t>(cli.processId()), SIGKILL);
        QVERIFY(cli.waitForFinished());
        QCOMPARE(cli.exitStatus(), QProcess::CrashExit);

        const CliResult resumed = runCli(mailArguments(sink, u"members.csv"_s, {u"--resume"_s, journal}));
        QCOMPARE(resumed.exitCode, 0);
        QVERIFY2(resumed.out.contains(u"Delivery report: "_s + journal), qPrintable(resumed.out.right(300)));
        QMap<QString, int> received;
        for (const SmtpSink::StoredMessage& message : sink.messages(Members, 20000)) {
            ++received[message.envelope.value(u"to"_s).toArray().first().toString()];
        }
        QCOMPARE(received.size(), Members);
        for (auto it = received.cbegin(); it != received.cend(); ++it) {
            QVERIFY2(it.value() == 1, qPrintable(u"%1 got %2 mails"_s.arg(it.key()).arg(it.value())));
        }

        // Another subject is another run: the journal is not taken for it.
        QStringList other = mailArguments(sink, u"members.csv"_s, {u"--resume"_s, journal});
        other[other.indexOf(u"News for [[FirstName]]"_s)] = u"Other news"_s;
        const CliResult refused = runCli(other);
        QCOMPARE(refused.exitCode, 2);
        QVERIFY(refused.err.contains(u"belongs to another run"_s));
    }

    // The pace and the test mail are the SMTP run's; here only that the options reach it.
    void rateAndTestAddress_reachTheRun()
    {
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(runCli(mailArguments(sink, u"three.csv"_s, {u"--rate"_s, u"120"_s})).exitCode, 0);
        QVERIFY2(clock.elapsed() >= 500, qPrintable(QString::number(clock.elapsed()))); // one wait of 500 ms
        QCOMPARE(sink.messages(2).size(), 2);

        const CliResult test = runCli(mailArguments(sink, u"three.csv"_s, {u"--test-to"_s, u"me@example.com"_s}));
        QCOMPARE(test.exitCode, 0);
        QVERIFY2(test.out.startsWith(u"Test mail of row 1 to me@example.com: sent"_s), qPrintable(test.out));
        const QList<SmtpSink::StoredMessage> stored = sink.messages(3);
        QCOMPARE(stored.size(), 3);
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
        QStringList arguments = mailArguments(sink, u"three.csv"_s, {});
        arguments = arguments.mid(0, arguments.indexOf(u"--smtp"_s));
        arguments << u"--sendmail"_s << u"--sendmail-path"_s << msmtp + u" -C "_s + configuration;
        CliResult result = runCli(arguments);
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.out.startsWith(u"1\tann@example.com\tsent\n2\tnowhere\tskipped: no address\n"
                                       u"3\tcy@example.com\tsent\nAll mails are successfully sent. "
                                       u"(2 sent, 0 failed, 1 skipped)\n"_s),
                 qPrintable(result.out));
        const QList<SmtpSink::StoredMessage> stored = sink.messages(2);
        QCOMPARE(stored.size(), 2);
        QCOMPARE(stored.at(1).envelope.value(u"to"_s).toArray(), QJsonArray{u"cy@example.com"_s});
        QVERIFY(SmtpSink::decodedHtml(stored.at(1).content).contains("<p>Dear Cy,</p>"));

        // A transport that refuses fails its contact; the run goes on.
        arguments.last() = u"/bin/false"_s;
        result = runCli(arguments);
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.out.contains(u"1\tann@example.com\tfailed: /bin/false ended with status 1\n"_s),
                 qPrintable(result.out));
        // One that cannot start ends the run.
        arguments.last() = path(u"no-such-transport"_s);
        result = runCli(arguments);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.out.contains(u"Process Cancelled!"_s), qPrintable(result.out));
    }
};

QTEST_GUILESS_MAIN(CliDeliveryTest)
#include "tst_cli_delivery.moc"
