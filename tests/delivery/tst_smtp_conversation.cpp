#include "FakeRunView.h"
#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "delivery/SmtpConversation.h"
#include "delivery/SmtpSendRun.h"
#include "merge/TokenEngine.h"

#include <QElapsedTimer>
#include <QHostInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

// A server that answers from a script: each received line is matched against the next step's
// command, and the step's reply pieces are sent (each as a write of its own, with a pause
// between them). A step with no command is sent at connection (the greeting).
class ScriptedServer : public QObject
{
public:
    struct Step
    {
        QByteArray command; // the beginning of the awaited line; empty for the greeting
        QList<QByteArray> pieces;
        bool hangUp = false; // close the connection after the pieces
        int pauseMs = 0;     // before the first piece
    };

    explicit ScriptedServer(QList<Step> script)
        : m_script(std::move(script))
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = m_server.nextPendingConnection();
            ++connections;
            m_position = 0;
            m_pending.clear();
            m_inData = false;
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { received(socket); });
            if (!m_script.isEmpty() && m_script.first().command.isEmpty()) {
                play(socket, m_script.at(m_position++));
            }
            if (onLine) {
                onLine({});
            }
        });
    }

    quint16 port() const { return m_server.serverPort(); }
    int connections = 0;
    QList<QByteArray> lines;
    // Called with each line the client sends, and with an empty one when it connects.
    std::function<void(const QByteArray&)> onLine;

private:
    void received(QTcpSocket* socket)
    {
        m_pending += socket->readAll();
        qsizetype end = 0;
        while ((end = m_pending.indexOf("\r\n")) >= 0) {
            const QByteArray line = m_pending.left(end);
            m_pending.remove(0, end + 2);
            lines << line;
            if (onLine) {
                onLine(line);
            }
            if (m_inData) {
                m_inData = line != ".";
                if (m_inData) {
                    continue;
                }
            }
            if (m_position < m_script.size() && line.startsWith(m_script.at(m_position).command)) {
                const Step step = m_script.at(m_position++);
                m_inData = step.command == "DATA" && !step.hangUp;
                play(socket, step);
            }
        }
    }

    void play(QTcpSocket* socket, const Step& step)
    {
        int delay = step.pauseMs;
        for (const QByteArray& piece : step.pieces) {
            QTimer::singleShot(delay, socket, [socket, piece] {
                socket->write(piece);
                socket->flush();
            });
            delay += 150;
        }
        if (step.hangUp) {
            QTimer::singleShot(delay, socket, [socket] { socket->disconnectFromHost(); });
        }
    }

    QTcpServer m_server;
    QList<Step> m_script;
    qsizetype m_position = 0;
    QByteArray m_pending;
    bool m_inData = false;
};

QList<ScriptedServer::Step> happyScript(int messages)
{
    QList<ScriptedServer::Step> script{{{}, {"220 scripted ready\r\n"}},
                                       {"EHLO", {"250-scripted greets you\r\n250-SIZE 1000000\r\n250 HELP\r\n"}}};
    for (int i = 0; i < messages; ++i) {
        script << ScriptedServer::Step{"MAIL FROM", {"250 OK\r\n"}} << ScriptedServer::Step{"RCPT TO", {"250 OK\r\n"}}
               << ScriptedServer::Step{"DATA", {"354 go ahead\r\n"}} << ScriptedServer::Step{".", {"250 queued\r\n"}}
               << ScriptedServer::Step{"RSET", {"250 OK\r\n"}};
    }
    script << ScriptedServer::Step{"QUIT", {"221 bye\r\n"}};
    return script;
}

} // namespace

Q_DECLARE_METATYPE(ScriptedServer::Step)

class SmtpConversationTest : public QObject
{
    Q_OBJECT

private:
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_tokens;
    SmtpAccount m_account;

    SendRunInput input(int contacts)
    {
        SendRunInput in;
        for (int i = 1; i <= contacts; ++i) {
            in.addresses << m_table.cell(i, 0);
            in.rows << i;
        }
        in.subjectBox = u"News for [[FirstName]]"_s;
        in.html = u"<p>Dear [[FirstName]]</p>"_s;
        in.tokens = m_tokens.get();
        return in;
    }

    void useServer(const ScriptedServer& server, int interval)
    {
        m_account.server = u"127.0.0.1"_s;
        m_account.port = server.port();
        m_account.interval = interval;
        m_account.fromEmail = u"news@example.org"_s;
        m_account.noEncryption = true;
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        for (const QString& name : {u"Ann"_s, u"Bob"_s, u"Cy"_s}) {
            std::array<QString, 16> cells;
            cells[0] = name.toLower() + u"@example.com"_s;
            cells[1] = name;
            m_table.addRow(cells);
        }
        m_tokens = std::make_unique<TokenEngine>(m_table);
        m_tokens->setSourceIndex(5);
        m_tokens->ScanMailTokens(u"[[FirstName]]"_s);
    }

    void multiLineReplies_passOnTheirFirstLine_andOneConnectionCarriesTheRun()
    {
        ScriptedServer server(happyScript(2));
        useServer(server, 5);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(2));
        QCOMPARE(run.accepted(), 2);
        QCOMPARE(server.connections, 1);
        QVERIFY(server.lines.contains("MAIL FROM: news@example.org"));
        QVERIFY(server.lines.contains("RCPT TO: bob@example.com"));
        QCOMPARE(server.lines.last(), QByteArray("QUIT"));
        QCOMPARE(view.process(), u"All mails are successfully Sent."_s);
        QCOMPARE(view.header, u"Sending Mails via Quillbay+ SMTP"_s);
        QCOMPARE(view.runPage, u"Send Mail"_s);
        QCOMPARE(view.processes, (QStringList{QString(), u"Sending 1 of 2"_s, u"Sending 2 of 2"_s,
                                              u"All mails are successfully Sent."_s}));
        // The login ends by showing the first address again; each later contact shows its own.
        QCOMPARE(view.statuses, (QStringList{QString(), u"Connecting 127.0.0.1"_s, u"Connected"_s, u"ann@example.com"_s,
                                             u"bob@example.com"_s, QString()}));
        QVERIFY(view.processVisible);
        QVERIFY(!view.waitCursor);
        QCOMPARE(view.bar, 1.0);
        QVERIFY(view.backEnabled);
        QVERIFY(!view.cancelEnabled);
        QCOMPARE(view.nextCaption, u"Finish"_s);
    }

    void aMultiLineHelloInSeveralReads_isReadWhole_beforeTheFirstCommand()
    {
        // With encryption allowed the client looks for STARTTLS in the whole EHLO reply, so the
        // late lines of that reply cannot be taken for the answer to MAIL FROM.
        QList<ScriptedServer::Step> script = happyScript(2);
        script[1].pieces = {"250-scripted greets you\r\n", "250-SIZE 1000000\r\n", "250 HELP\r\n"};
        ScriptedServer server(script);
        useServer(server, 5);
        m_account.noEncryption = false;
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(2));
        QCOMPARE(run.accepted(), 2);
        QCOMPARE(server.lines.at(0), QByteArray("EHLO ") + QHostInfo::localHostName().toUtf8());
        QCOMPARE(server.lines.at(1), QByteArray("MAIL FROM: news@example.org"));
        QVERIFY(!server.lines.contains("STARTTLS"));
    }

    void aRefusal_endsTheWaitAtOnce_withTheServersWords_data()
    {
        QTest::addColumn<QList<ScriptedServer::Step>>("script");
        QTest::addColumn<bool>("startTls");
        QTest::addColumn<QString>("reply");
        const ScriptedServer::Step greeting{{}, {"220 ready\r\n"}};
        const ScriptedServer::Step hello{"EHLO", {"250-ready\r\n250 STARTTLS\r\n"}};
        const ScriptedServer::Step mailFrom{"MAIL FROM", {"250 OK\r\n"}};
        const ScriptedServer::Step rcptTo{"RCPT TO", {"250 OK\r\n"}};
        QTest::newRow("greeting") << QList<ScriptedServer::Step>{{{}, {"554 no service here\r\n"}}} << false
                                  << u"554 no service here"_s;
        QTest::newRow("EHLO") << QList<ScriptedServer::Step>{greeting, {"EHLO", {"502 not today\r\n"}}} << false
                              << u"502 not today"_s;
        QTest::newRow("STARTTLS") << QList<ScriptedServer::Step>{greeting, hello, {"STARTTLS", {"454 no TLS now\r\n"}}}
                                  << true << u"454 no TLS now"_s;
        QTest::newRow("RCPT TO") << QList<ScriptedServer::Step>{greeting,
                                                                hello,
                                                                mailFrom,
                                                                {"RCPT TO", {"550-no such\r\n550 user\r\n"}}}
                                 << false << u"550-no such 550 user"_s;
        QTest::newRow("after the data") << QList<ScriptedServer::Step>{greeting,
                                                                       hello,
                                                                       mailFrom,
                                                                       rcptTo,
                                                                       {"DATA", {"354 go\r\n"}},
                                                                       {".", {"554 looks like spam\r\n"}}}
                                        << false << u"554 looks like spam"_s;
        // A 250 that no command asked for, arriving before the data, is not the answer to it.
        QTest::newRow("stray 250") << QList<ScriptedServer::Step>{greeting,
                                                                  hello,
                                                                  mailFrom,
                                                                  rcptTo,
                                                                  {"DATA", {"354 go\r\n250 stray\r\n"}},
                                                                  {".", {"554 looks like spam\r\n"}}}
                                   << false << u"554 looks like spam"_s;
    }

    void aRefusal_endsTheWaitAtOnce_withTheServersWords()
    {
        // With no reply timeout a refusal that went unrecognised would wait for ever.
        QFETCH(QList<ScriptedServer::Step>, script);
        QFETCH(bool, startTls);
        QFETCH(QString, reply);
        ScriptedServer server(script);
        useServer(server, 0);
        if (startTls) {
            m_account.noEncryption = false;
            m_account.tls = SmtpAccount::Tls::StartTls;
        }
        SmtpConversation conversation(m_account, {});
        conversation.setInterval(m_account.interval);
        OutgoingMessage message;
        message.fromEmail = m_account.fromEmail;
        message.to = u"ann@example.com"_s;
        message.body = u"<p>Hello</p>"_s;
        const MailTransport::Outcome outcome = conversation.SendSmtpMessage(message, message.to);
        m_account.tls = SmtpAccount::Tls::ByPort;
        QCOMPARE(outcome, MailTransport::Outcome::Failed);
        QCOMPARE(conversation.lastReply(), reply);
    }

    void aConnectionLostOrGarbled_endsTheRun_data()
    {
        QTest::addColumn<QList<ScriptedServer::Step>>("script");
        QTest::newRow("hang-up after the greeting") << QList<ScriptedServer::Step>{{{}, {"220 ready\r\n"}, true}};
        QTest::newRow("a reply without end") << QList<ScriptedServer::Step>{{{}, {QByteArray(10 << 20, '2')}}};
    }

    void aConnectionLostOrGarbled_endsTheRun()
    {
        // Neither fails one contact and connects again for the next: the run ends at once.
        QFETCH(QList<ScriptedServer::Step>, script);
        ScriptedServer server(script);
        useServer(server, 0);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(3));
        QCOMPARE(run.accepted(), 0);
        QCOMPARE(server.connections, 1);
        QCOMPARE(view.process(), u"Process Cancelled!"_s);
    }

    void aSilentServer_givesTheServiceErrorText_andTheEventLoopRunsMeanwhile()
    {
        ScriptedServer server(QList<ScriptedServer::Step>{});
        useServer(server, 1);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        int ticks = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&ticks] { ++ticks; });
        ticker.start(0);
        run.RunSmtpSend(input(1));
        QVERIFY(view.processes.contains(u"SMTP service error, unable to get a response!"_s));
        QVERIFY(ticks >= 10);
    }

    void withoutTimeout_aSilentServerWaitsUntilCancel()
    {
        ScriptedServer server(QList<ScriptedServer::Step>{});
        useServer(server, 0);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        server.onLine = [&run](const QByteArray&) {
            run.CmdCancelSend_Click();
        };
        run.RunSmtpSend(input(3));
        QCOMPARE(view.process(), u"Process Cancelled!"_s);
        // Cancel is seen before the time-out text could be written.
        QVERIFY(!view.processes.contains(u"SMTP service error, unable to get a response!"_s));
        QCOMPARE(view.bar, 1.0);
    }

    void repliesInAnyPieces_andWithBareLineFeeds_areReadWhole()
    {
        QList<ScriptedServer::Step> script = happyScript(1);
        script[0].pieces = {"2", "2", "0 rea", "dy\r", "\n"};
        script[1].pieces = {"250-scripted\n250-SIZE 1000000\n", "250 HELP\n"};
        script[2].pieces = {"2", "50 OK\r\n"};
        ScriptedServer server(script);
        useServer(server, 0);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(1));
        QCOMPARE(run.accepted(), 1);
        QCOMPARE(view.process(), u"All mails are successfully Sent."_s);
    }

    void aWrongPassword_isNotRecognised_andEachContactLogsInAgain()
    {
        QList<ScriptedServer::Step> script{{{}, {"220 ready\r\n"}},
                                           {"EHLO", {"250 OK\r\n"}},
                                           {"AUTH LOGIN", {"334 VXNlcm5hbWU6\r\n"}},
                                           {"dXNlcg==", {"334 UGFzc3dvcmQ6\r\n"}},
                                           {"d3Jvbmc=", {"535 authentication failed\r\n"}}};
        ScriptedServer server(script);
        useServer(server, 1);
        m_account.chkAth = 1;
        m_account.user = u"user"_s;
        m_account.pwd = u"wrong"_s;
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(2));
        m_account.chkAth = 0;
        QCOMPARE(run.accepted(), 0);
        QCOMPARE(server.connections, 2);
        QVERIFY(view.statuses.contains(u"Authenticating..."_s));
        QCOMPARE(view.process(), u"All mails are successfully Sent."_s);
    }

    void aConnectionDroppedDuringData_endsTheRun()
    {
        QList<ScriptedServer::Step> script = happyScript(0);
        script.removeLast();
        script << ScriptedServer::Step{"MAIL FROM", {"250 OK\r\n"}} << ScriptedServer::Step{"RCPT TO", {"250 OK\r\n"}}
               << ScriptedServer::Step{"DATA", {"354 go ahead\r\n"}, true};
        ScriptedServer server(script);
        useServer(server, 1);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(3));
        QCOMPARE(run.accepted(), 0);
        QCOMPARE(view.process(), u"Process Cancelled!"_s);
        QVERIFY(!view.processes.contains(u"Sending 3 of 3"_s));
    }

    void aTimeoutOnRcptTo_leavesTheTransactionOpen_andTheNextContactGoesOn()
    {
        // The answer to RCPT TO comes after its wait ran out, before the answer to the next
        // command: it is passed over, not taken for that answer.
        QList<ScriptedServer::Step> script{{{}, {"220 ready\r\n"}},
                                           {"EHLO", {"250 OK\r\n"}},
                                           {"MAIL FROM", {"250 OK\r\n"}},
                                           {"RCPT TO", {"550 too late\r\n"}, false, 1300},
                                           {"MAIL FROM", {"250 OK\r\n"}, false, 900},
                                           {"RCPT TO", {"250 OK\r\n"}},
                                           {"DATA", {"354 go\r\n"}},
                                           {".", {"250 done\r\n"}},
                                           {"RSET", {"250 OK\r\n"}},
                                           {"QUIT", {"221 bye\r\n"}}};
        ScriptedServer server(script);
        useServer(server, 1);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(2));
        QCOMPARE(run.accepted(), 1);
        QCOMPARE(server.connections, 1);
        const qsizetype rcpt = server.lines.indexOf("RCPT TO: ann@example.com");
        QVERIFY(rcpt > 0);
        QCOMPARE(server.lines.at(rcpt + 1), QByteArray("MAIL FROM: news@example.org")); // no RSET between
        // The silence is reported, and replaced by the next contact's progress.
        const qsizetype silent = view.processes.indexOf(u"SMTP service error, unable to get a response!"_s);
        QVERIFY(silent > 0);
        QCOMPARE(view.processes.at(silent + 1), u"Sending 2 of 2"_s);
        QCOMPARE(view.process(), u"All mails are successfully Sent."_s);
    }

    void quitGoesOutOnceAfterTheLastContact_andAMissing221CostsTheWaitSilently()
    {
        QList<ScriptedServer::Step> script = happyScript(1);
        script.last().pieces.clear(); // QUIT is never answered
        ScriptedServer server(script);
        useServer(server, 1);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        SendRunInput in = input(2);
        in.addresses[1] = u"bob at example.com"_s; // the last contact is skipped
        QElapsedTimer timer;
        timer.start();
        run.RunSmtpSend(in);
        const qint64 quitWait = timer.elapsed();
        QCOMPARE(run.accepted(), 1);
        QCOMPARE(server.lines.count("QUIT"), 1);
        QCOMPARE(server.lines.last(), QByteArray("QUIT"));
        QCOMPARE(server.lines.at(server.lines.size() - 2), QByteArray("RSET"));
        QVERIFY2(quitWait >= 900, qPrintable(QString::number(quitWait)));
        QVERIFY(!view.processes.contains(u"SMTP service error, unable to get a response!"_s));
        QCOMPARE(view.process(), u"All mails are successfully Sent."_s);
    }

    void aSocketError_isShownInABox_andEndsTheRunWithoutQuit()
    {
        quint16 closedPort = 0;
        {
            QTcpServer probe;
            QVERIFY(probe.listen(QHostAddress::LocalHost));
            closedPort = probe.serverPort();
        }
        m_account.server = u"127.0.0.1"_s;
        m_account.port = closedPort;
        m_account.interval = 0; // the error, not a timer, ends the wait
        m_account.fromEmail = u"news@example.org"_s;
        TestSupport::MessageRecorder messages;
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input(3));
        QCOMPARE(messages.messages().size(), 1);
        QVERIFY(messages.lastText().startsWith(u"Error in Sending Mails Via Quillbay+ SMTP : "_s));
        QVERIFY(messages.lastText().size() > 45); // the socket's own description follows
        QCOMPARE(messages.messages().first().icon, MessageIcon::Critical);
        QCOMPARE(messages.messages().first().title, u"Quillbay+"_s);
        QVERIFY(!view.processes.contains(u"Sending 2 of 3"_s));
        QCOMPARE(view.process(), u"Process Cancelled!"_s);
        QCOMPARE(view.bar, 1.0);
    }

    void aCancelledRun_sendsNoQuit_andTheNextRunLogsInAfresh()
    {
        QList<ScriptedServer::Step> script = happyScript(0);
        script.removeLast();
        script << ScriptedServer::Step{"MAIL FROM", {"250 OK\r\n"}} << ScriptedServer::Step{"RCPT TO", {"250 OK\r\n"}}
               << ScriptedServer::Step{"DATA", {}};
        ScriptedServer server(script);
        useServer(server, 0);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        server.onLine = [&run](const QByteArray& line) {
            if (line == "DATA") {
                run.CmdCancelSend_Click();
            }
        };
        run.RunSmtpSend(input(2));
        QCOMPARE(view.process(), u"Process Cancelled!"_s);
        QVERIFY(!view.processes.contains(u"Sending 2 of 2"_s));
        QCOMPARE(server.lines.last(), QByteArray("DATA"));
        QVERIFY(!server.lines.contains("QUIT"));
        QVERIFY(view.backEnabled);
        QVERIFY(!view.cancelEnabled);

        // The same run again: the flag of the finished login is cleared, so it connects anew.
        server.onLine = nullptr;
        m_account.interval = 1;
        run.RunSmtpSend(input(1));
        QCOMPARE(server.connections, 2);
        QCOMPARE(server.lines.count("EHLO " + QHostInfo::localHostName().toUtf8()), 2);
    }

    void anUnreadableImage_endsTheRunBeforeAnyContact()
    {
        ScriptedServer server(happyScript(1));
        useServer(server, 1);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        SendRunInput in = input(2);
        in.html = u"<p>Hi</p><img src=\"file:///nowhere/missing.gif\">"_s;
        run.RunSmtpSend(in);
        QCOMPARE(server.connections, 0);
        QCOMPARE(view.process(), u"Process Cancelled!"_s);
        QVERIFY(!view.processes.contains(u"Sending 1 of 2"_s));
        QCOMPARE(view.bar, 1.0);
        QVERIFY(view.backEnabled);
    }

    void contactsWithoutAnAt_areSkipped_andAnEmptyListRunsNoTurn()
    {
        ScriptedServer server(happyScript(1));
        useServer(server, 2);
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        SendRunInput in = input(2);
        in.addresses[0] = u"no address"_s;
        run.RunSmtpSend(in);
        QCOMPARE(run.accepted(), 1);
        QVERIFY(!server.lines.contains("RCPT TO: no address"));
        QCOMPARE(server.lines.last(), QByteArray("QUIT"));

        FakeRunView empty;
        SmtpSendRun none(empty, m_account);
        none.RunSmtpSend(input(0));
        QCOMPARE(empty.process(), u"All mails are successfully Sent."_s);
        QCOMPARE(server.connections, 1);

        // A body of blanks only: every contact is skipped in silence, and nobody is called.
        FakeRunView blank;
        SmtpSendRun silent(blank, m_account);
        SendRunInput blanks = input(3);
        blanks.html = u"   "_s;
        silent.RunSmtpSend(blanks);
        QCOMPARE(server.connections, 1);
        QCOMPARE(silent.accepted(), 0);
        QVERIFY(blank.processes.contains(u"Sending 3 of 3"_s));
        QCOMPARE(blank.process(), u"All mails are successfully Sent."_s);
    }

    void anIncompleteAccount_showsTheSettingsFirst()
    {
        SmtpAccount incomplete;
        FakeRunView view;
        SmtpSendRun run(view, incomplete);
        TestSupport::MessageRecorder messages;
        run.RunSmtpSend(input(0));
        QCOMPARE(view.settingsShown, 1);
    }
};

QTEST_GUILESS_MAIN(SmtpConversationTest)
#include "tst_smtp_conversation.moc"
