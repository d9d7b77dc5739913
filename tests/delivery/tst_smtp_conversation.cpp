#include "FakeRunView.h"
#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "delivery/SmtpConversation.h"
#include "delivery/SmtpSendRun.h"
#include "merge/TokenEngine.h"

#include <QHostInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

// A server that answers from a script: each line the client sends is matched against the next step's command, and the
// step's reply pieces are sent, each as a write of its own 150 ms apart. A step with no command is sent at connection
// (the greeting).
class ScriptedServer : public QObject
{
public:
    struct Step
    {
        QByteArray command; // the beginning of the awaited line
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
        while (socket->canReadLine()) {
            const QByteArray line = socket->readLine().chopped(2);
            lines << line;
            if (onLine) {
                onLine(line);
            }
            if (m_inData && line != ".") {
                continue; // a line of the message
            }
            m_inData = false;
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
    bool m_inData = false;
};

using Script = QList<ScriptedServer::Step>;
const ScriptedServer::Step Greeting{{}, {"220 ready\r\n"}};
const ScriptedServer::Step Hello{"EHLO", {"250 OK\r\n"}};
const ScriptedServer::Step MailFrom{"MAIL FROM", {"250 OK\r\n"}};
const ScriptedServer::Step RcptTo{"RCPT TO", {"250 OK\r\n"}};

// The login, then each message accepted, and QUIT answered.
Script happyScript(int messages)
{
    Script script{Greeting, {"EHLO", {"250-scripted greets you\r\n250-SIZE 1000000\r\n250 HELP\r\n"}}};
    for (int i = 0; i < messages; ++i) {
        script << MailFrom << RcptTo << ScriptedServer::Step{"DATA", {"354 go ahead\r\n"}}
               << ScriptedServer::Step{".", {"250 queued\r\n"}} << ScriptedServer::Step{"RSET", {"250 OK\r\n"}};
    }
    script << ScriptedServer::Step{"QUIT", {"221 bye\r\n"}};
    return script;
}

// A send run with its page recorded.
struct Send
{
    explicit Send(const SmtpAccount& account)
        : run(view, account)
    {
    }
    FakeRunView view;
    SmtpSendRun run;
};

} // namespace

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

    void init() { m_account = SmtpAccount(); }

    void multiLineReplies_passOnTheirFirstLine_andOneConnectionCarriesTheRun()
    {
        // The EHLO reply comes in several reads; with encryption allowed the client looks for STARTTLS in the whole
        // reply, so its late lines cannot be taken for the answer to MAIL FROM.
        Script script = happyScript(2);
        script[1].pieces = {"250-scripted greets you\r\n", "250-SIZE 1000000\r\n", "250 HELP\n"};
        ScriptedServer server(script);
        useServer(server, 5);
        m_account.noEncryption = false;
        Send send(m_account);
        send.run.RunSmtpSend(input(2));
        QCOMPARE(send.run.accepted(), 2);
        QCOMPARE(server.connections, 1);
        QCOMPARE(server.lines.at(0), QByteArray("EHLO ") + QHostInfo::localHostName().toUtf8());
        QCOMPARE(server.lines.at(1), QByteArray("MAIL FROM: news@example.org"));
        QVERIFY(!server.lines.contains("STARTTLS"));
        QCOMPARE(server.lines.last(), QByteArray("QUIT"));
        QCOMPARE(send.view.processes, (QStringList{QString(), u"Sending 1 of 2"_s, u"Sending 2 of 2"_s,
                                                   u"All mails are successfully Sent."_s}));
    }

    void aRefusal_endsTheWaitAtOnce_withTheServersWords()
    {
        // With no reply timeout a refusal that went unrecognised would wait for ever.
        const ScriptedServer::Step offersTls{"EHLO", {"250-ready\r\n250 STARTTLS\r\n"}};
        const ScriptedServer::Step data{"DATA", {"354 go\r\n"}};
        const ScriptedServer::Step spam{".", {"554 looks like spam\r\n"}};
        const struct
        {
            Script script;
            bool startTls;
            QString reply;
        } cases[] = {
            {{{{}, {"554 no service here\r\n"}}}, false, u"554 no service here"_s},
            {{Greeting, offersTls, {"STARTTLS", {"454 no TLS now\r\n"}}}, true, u"454 no TLS now"_s},
            {{Greeting, Hello, MailFrom, {"RCPT TO", {"550-no such\r\n550 user\r\n"}}},
             false,
             u"550-no such 550 user"_s},
            {{Greeting, Hello, MailFrom, RcptTo, data, spam}, false, u"554 looks like spam"_s},
            // A 250 that no command asked for, arriving before the data, is not the answer to it.
            {{Greeting, Hello, MailFrom, RcptTo, {"DATA", {"354 go\r\n250 stray\r\n"}}, spam},
             false,
             u"554 looks like spam"_s},
        };
        for (const auto& one : cases) {
            ScriptedServer server(one.script);
            useServer(server, 0);
            m_account.noEncryption = !one.startTls;
            m_account.tls = one.startTls ? SmtpAccount::Tls::StartTls : SmtpAccount::Tls::ByPort;
            SmtpConversation conversation(m_account, {});
            conversation.setInterval(m_account.interval);
            OutgoingMessage message;
            message.fromEmail = m_account.fromEmail;
            message.to = u"ann@example.com"_s;
            message.body = u"<p>Hello</p>"_s;
            QVERIFY2(conversation.SendSmtpMessage(message, message.to) == MailTransport::Outcome::Failed,
                     qPrintable(one.reply));
            QCOMPARE(conversation.lastReply(), one.reply);
        }
    }

    void aConnectionLostOrGarbled_endsTheRun()
    {
        // None fails one contact and connects again for the next: the run ends at once.
        const Script cases[] = {
            {{{}, {"220 ready\r\n"}, true}},     // hang-up after the greeting
            {{{}, {QByteArray(10 << 20, '2')}}}, // a reply without end
            {Greeting, Hello, MailFrom, RcptTo, {"DATA", {"354 go ahead\r\n"}, true}},
        };
        for (const Script& script : cases) {
            ScriptedServer server(script);
            useServer(server, 1);
            Send send(m_account);
            send.run.RunSmtpSend(input(3));
            QCOMPARE(send.run.accepted(), 0);
            QCOMPARE(server.connections, 1);
            QCOMPARE(send.view.process(), u"Process Cancelled!"_s);
        }
    }

    void aCancel_endsTheWaitAtOnce()
    {
        // Without a timeout a silent server is waited for until Cancel, which is seen before the time-out text could be
        // written.
        ScriptedServer silent(Script{});
        useServer(silent, 0);
        Send waiting(m_account);
        silent.onLine = [&waiting](const QByteArray&) {
            waiting.run.CmdCancelSend_Click();
        };
        waiting.run.RunSmtpSend(input(3));
        QCOMPARE(waiting.view.process(), u"Process Cancelled!"_s);
        QVERIFY(!waiting.view.processes.contains(u"SMTP service error, unable to get a response!"_s));
        QCOMPARE(waiting.view.bar, 1.0);
    }

    void aTimeoutOnRcptTo_leavesTheTransactionOpen_andTheNextContactGoesOn()
    {
        // The answer to RCPT TO comes after its wait ran out, before the answer to the next command: it is passed over,
        // not taken for that answer.
        ScriptedServer server(Script{Greeting,
                                     Hello,
                                     MailFrom,
                                     {"RCPT TO", {"550 too late\r\n"}, false, 1300},
                                     {"MAIL FROM", {"250 OK\r\n"}, false, 900},
                                     RcptTo,
                                     {"DATA", {"354 go\r\n"}},
                                     {".", {"250 done\r\n"}},
                                     {"RSET", {"250 OK\r\n"}},
                                     {"QUIT", {"221 bye\r\n"}}});
        useServer(server, 1);
        Send send(m_account);
        send.run.RunSmtpSend(input(2));
        QCOMPARE(send.run.accepted(), 1);
        QCOMPARE(server.connections, 1);
        const qsizetype rcpt = server.lines.indexOf("RCPT TO: ann@example.com");
        QVERIFY(rcpt > 0);
        QCOMPARE(server.lines.at(rcpt + 1),
                 QByteArray("MAIL FROM: news@example.org")); // no RSET between
        // The silence is reported, and replaced by the next contact's progress.
        const QStringList& processes = send.view.processes;
        const qsizetype silent = processes.indexOf(u"SMTP service error, unable to get a response!"_s);
        QVERIFY(silent > 0);
        QCOMPARE(processes.at(silent + 1), u"Sending 2 of 2"_s);
        QCOMPARE(send.view.process(), u"All mails are successfully Sent."_s);
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
        m_account.fromEmail = u"news@example.org"_s; // no timeout: the error, not a timer, ends the wait
        TestSupport::MessageRecorder messages;
        Send send(m_account);
        send.run.RunSmtpSend(input(3));
        QCOMPARE(messages.messages().size(), 1);
        QVERIFY(messages.lastText().startsWith(u"Error in Sending Mails Via Quillbay+ SMTP : "_s));
        QVERIFY(messages.lastText().size() > 45); // the socket's own description follows
        QCOMPARE(messages.messages().first().icon, MessageIcon::Critical);
        QVERIFY(!send.view.processes.contains(u"Sending 2 of 3"_s));
        QCOMPARE(send.view.process(), u"Process Cancelled!"_s);
    }

    void runsThatCannotStart_andABodyOfBlanks_callNobody()
    {
        ScriptedServer server(happyScript(1));
        useServer(server, 1);
        Send send(m_account);
        SendRunInput in = input(2);
        in.html = u"<p>Hi</p><img src=\"file:///nowhere/missing.gif\">"_s;
        send.run.RunSmtpSend(in);
        QCOMPARE(server.connections, 0);
        QCOMPARE(send.view.process(), u"Process Cancelled!"_s);
        QVERIFY(!send.view.processes.contains(u"Sending 1 of 2"_s));
        QVERIFY(send.view.backEnabled);
        // A body of blanks skips every contact in silence, and the run ends well.
        SendRunInput blanks = input(3);
        blanks.html = u"   "_s;
        Send silent(m_account);
        silent.run.RunSmtpSend(blanks);
        QCOMPARE(silent.view.process(), u"All mails are successfully Sent."_s);
        QCOMPARE(server.connections, 0);

        // An incomplete account shows the settings first.
        const SmtpAccount none;
        Send incomplete(none);
        TestSupport::MessageRecorder messages;
        incomplete.run.RunSmtpSend(input(0));
        QCOMPARE(incomplete.view.settingsShown, 1);
    }
};

QTEST_GUILESS_MAIN(SmtpConversationTest)
#include "tst_smtp_conversation.moc"
