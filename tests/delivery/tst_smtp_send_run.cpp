#include "FakeRunView.h"
#include "SmtpSink.h"
#include "TestSupport.h"
#include "contacts/ContactTable.h"
#include "delivery/AttachmentSource.h"
#include "delivery/SmtpSendRun.h"
#include "merge/TokenEngine.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QSslCertificate>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The template itself, for every contact.
class TemplateAttachment : public AttachmentSource
{
public:
    explicit TemplateAttachment(QString path)
        : m_path(std::move(path))
    {
    }
    void beginRun() override {}
    Result<QString> attachmentFor(int row) override
    {
        if (row == 2) {
            return Result<QString>::failure(1, u"the copy of \"Offer\" could not be made, sorry"_s);
        }
        return m_path;
    }
    void endRun() override {}

private:
    QString m_path;
};

} // namespace

class SmtpSendRunTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    ContactTable m_table;
    std::unique_ptr<TokenEngine> m_tokens;
    QByteArray m_image;
    std::unique_ptr<SmtpSink> m_sink; // refuses gone@example.com
    SmtpAccount m_account;

    SendRunInput input()
    {
        SendRunInput in;
        for (int i = 1; i <= m_table.count(); ++i) {
            in.addresses << m_table.cell(i, 0);
            in.rows << i;
        }
        in.subjectBox = u"Spring news for [[FirstName]] [[LastName]]"_s;
        in.html = u"<html><body><p>Dear [[FirstName]],</p><img src=\"file://"_s + m_dir.filePath(u"logo.png"_s) +
                  u"\"></body></html>"_s;
        in.tokens = m_tokens.get();
        m_tokens->ScanMailTokens(in.html);
        return in;
    }

    static SmtpAccount accountFor(const SmtpSink& sink)
    {
        SmtpAccount account;
        account.server = u"localhost"_s;
        account.port = sink.port();
        account.interval = 5;
        account.fromName = u"Quillbay News"_s;
        account.fromEmail = u"news@example.org"_s;
        return account;
    }

    // The envelope recipients of the stored messages, in the order they arrived.
    static QStringList recipients(const QList<SmtpSink::StoredMessage>& stored)
    {
        QStringList to;
        for (const SmtpSink::StoredMessage& message : stored) {
            to << message.envelope.value(u"to"_s).toArray().first().toString();
        }
        return to;
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        for (const QString& entry :
             {u"Ann|Lee|ann@example.com"_s, u"Björn|Ström|bjorn@example.com"_s, u"Cy|Low|cy@example.com"_s}) {
            const QStringList parts = entry.split(u'|');
            std::array<QString, 16> cells;
            cells[0] = parts[2];
            cells[1] = parts[0];
            cells[2] = parts[1];
            m_table.addRow(cells);
        }
        m_tokens = std::make_unique<TokenEngine>(m_table);
        m_tokens->setSourceIndex(5);
        m_image = QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(3000, '\x42');
        QVERIFY(TestSupport::writeFile(m_dir.filePath(u"logo.png"_s), m_image));
        m_sink = std::make_unique<SmtpSink>(SmtpSink::Options{false, false, {}, u"gone@example.com"_s});
        QVERIFY2(m_sink->isRunning(), qPrintable(m_sink->errorText()));
    }

    void init() { m_account = accountFor(*m_sink); }

    void threeContacts_reachTheRealServer_withTheirOwnTextsAndTheImage()
    {
        const qsizetype seen = m_sink->messages().size();
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        run.RunSmtpSend(input());
        QCOMPARE(view.process(), u"All mails are successfully Sent."_s);
        const QList<SmtpSink::StoredMessage> stored = m_sink->messages(seen + 3).mid(seen);
        QCOMPARE(recipients(stored), (QStringList{u"ann@example.com"_s, u"bjorn@example.com"_s, u"cy@example.com"_s}));
        for (int i = 0; i < 3; ++i) {
            const QByteArray& content = stored.at(i).content;
            QVERIFY(content.contains("To: " + m_table.cell(i + 1, 0).toUtf8() + "\r\n"));
            const QByteArray html = SmtpSink::decodedHtml(content);
            QVERIFY(html.contains("<p>Dear " + m_table.cell(i + 1, 1).toUtf8() + ",</p>"));
            QVERIFY(html.contains("src=cid:logo.png"));
            QCOMPARE(SmtpSink::decodedPart(content, "Content-ID: <logo.png>"), m_image);
        }
        QVERIFY(stored.at(0).content.contains("Subject: Spring news for Ann Lee\r\n")); // the subject is merged too

        // A test mail goes to the test address alone, with the chosen contact's text.
        const ContactDelivery test = run.SendTest(input(), 2, u"me@example.org"_s);
        QCOMPARE(test.kind, ContactDelivery::Kind::Sent);
        QVERIFY2(test.reply.startsWith(u"250 "_s), qPrintable(test.reply));
        const QList<SmtpSink::StoredMessage> all = m_sink->messages(seen + 5, 300).mid(seen);
        QCOMPARE(recipients(all.mid(3)), QStringList{u"me@example.org"_s});
        QVERIFY(SmtpSink::decodedHtml(all.at(3).content).contains(u"<p>Dear Björn,</p>"_s.toUtf8()));
    }

    void encryption_isUsedWhenOffered_verified_andOnlyTheSettingTurnsItOff()
    {
        SmtpSink sink({true, false, u"mailer:s3cret"_s, {}});
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        SmtpAccount account = accountFor(sink);
        account.interval = 1;
        SendRunInput one = input();
        one.addresses = one.addresses.mid(0, 1);
        one.rows = one.rows.mid(0, 1);
        {
            // Nothing tells the client yet to trust the authority that signed the certificate.
            TestSupport::MessageRecorder messages;
            FakeRunView view;
            SmtpSendRun run(view, account);
            run.RunSmtpSend(one);
            QVERIFY2(
                view.process().startsWith(u"Process Cancelled! The certificate of localhost could not be verified"_s),
                qPrintable(view.process()));
            QCOMPARE(messages.messages().size(), 1);
            QCOMPARE(sink.messages(0, 300).size(), 0);
        }
        SmtpConversation::addTrustedCertificates(QSslCertificate::fromPath(sink.authorityCertificate()));
        account.chkAth = 1;
        account.user = u"mailer"_s;
        account.pwd = u"s3cret"_s;
        FakeRunView view;
        SmtpSendRun secure(view, account);
        QVERIFY(secure.RunSmtpSend(one).completed());
        // Turned off, the connection stays plain though the certificate would be trusted.
        account.chkAth = 0;
        account.noEncryption = true;
        SmtpSendRun plain(view, account);
        QVERIFY(plain.RunSmtpSend(one).completed());
        const QList<SmtpSink::StoredMessage> stored = sink.messages(2);
        QCOMPARE(stored.size(), 2);
        QVERIFY(stored.at(0).envelope.value(u"tls"_s).toBool());
        QVERIFY(stored.at(0).envelope.value(u"authenticated"_s).toBool());
        QVERIFY(!stored.at(1).envelope.value(u"tls"_s).toBool());
    }

    void theJournal_saysWhatBecameOfEachContact()
    {
        const qsizetype seen = m_sink->messages().size();
        const QString templatePath = m_dir.filePath(u"Offer.docx"_s);
        QVERIFY(TestSupport::writeFile(templatePath, "PK\x03\x04 an offer"));
        TemplateAttachment attachment(templatePath); // the second contact's copy fails
        SendRunInput in = input();
        in.attachment = &attachment;
        in.addresses[2] = u"gone@example.com"_s; // refused by the server
        in.addresses << u"ann at home"_s;        // the first contact again, with no usable address
        in.rows << 1;
        const QString path = m_dir.filePath(u"Runs/outcomes.csv"_s);
        const RunIdentity identity{u"/lists/members.csv"_s, templatePath, in.subjectBox, 4};
        auto journal = DeliveryJournal::create(path, identity);
        QVERIFY(journal.ok());
        in.journal = journal.value().get();
        FakeRunView view;
        SmtpSendRun run(view, m_account);
        QVERIFY(run.RunSmtpSend(in).completed());
        QCOMPARE(run.counts().text(), u"1 sent, 1 failed, 2 skipped"_s);

        QFile lines(path);
        QVERIFY(lines.open(QIODevice::ReadOnly));
        const QStringList text = QString::fromUtf8(lines.readAll()).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(text.size(), 5);
        QCOMPARE(text.at(0), u"row,address,outcome,reply,time"_s);
        QVERIFY2(text.at(1).startsWith(u"1,ann@example.com,sent,250 "_s), qPrintable(text.at(1)));
        // A reply with quotes and a comma stays one field.
        QVERIFY2(text.at(2).startsWith(u"2,bjorn@example.com,skipped: no attachment copy,"
                                       u"\"the copy of \"\"Offer\"\" could not be made, sorry\","_s),
                 qPrintable(text.at(2)));
        QVERIFY2(text.at(3).startsWith(u"3,gone@example.com,failed,550 No such user here,"_s), qPrintable(text.at(3)));
        QVERIFY2(text.at(4).startsWith(u"1,ann at home,skipped: no address,,"_s), qPrintable(text.at(4)));
        const QList<SmtpSink::StoredMessage> stored = m_sink->messages(seen + 2, 300).mid(seen);
        QCOMPARE(stored.size(), 1);
        QVERIFY(stored.at(0).content.contains("Content-Disposition: attachment; filename=\"Offer.docx\""));
        QCOMPARE(SmtpSink::decodedPart(stored.at(0).content, "Content-Type: application/msword"),
                 QByteArray("PK\x03\x04 an offer"));

        // A run that reached its end is not offered again.
        const Result<PastRun> past = PastRun::read(path);
        QVERIFY(past.ok());
        QVERIFY(past.value().finished());
        QCOMPARE(past.value().sentCount(), 1);
        QVERIFY(!PastRun::latestInterrupted(m_dir.filePath(u"Runs"_s), identity));
    }

    void thePace_spacesTheMails_aCancelledRunIsResumed_andNobodyGetsTwoMails()
    {
        const qsizetype seen = m_sink->messages().size();
        SmtpAccount& account = m_account;
        // Six a minute: ten seconds between mails, counted down on the run page, cut short by Cancel.
        const QString folder = m_dir.filePath(u"resume"_s);
        SendRunInput in = input();
        const RunIdentity identity{u"/lists/members.csv"_s, {}, in.subjectBox, 3};
        account.mailsPerMinute = 6;
        {
            auto journal = DeliveryJournal::create(folder + u"/first.csv"_s, identity);
            QVERIFY(journal.ok());
            in.journal = journal.value().get();
            FakeRunView view;
            SmtpSendRun run(view, account);
            view.onStatus = [&run](const QString& text) {
                if (text == u"Waiting 9 s for the pace of 6 mails a minute"_s) {
                    run.CmdCancelSend_Click();
                }
            };
            QCOMPARE(run.RunSmtpSend(in).ending, RunOutcome::Ending::Cancelled);
            QCOMPARE(run.counts().text(), u"1 sent, 0 failed, 2 skipped"_s);
            QVERIFY(view.statuses.contains(u"Waiting 10 s for the pace of 6 mails a minute"_s));
        }
        // Another subject is another run; the same one is offered, with what it sent.
        QVERIFY(!PastRun::latestInterrupted(folder, {identity.source, {}, u"Other"_s, 3}));
        const std::optional<PastRun> past = PastRun::latestInterrupted(folder, identity);
        QVERIFY(past);
        QCOMPARE(past->sentCount(), 1);
        QCOMPARE(past->identity().contacts, 3);

        auto journal = DeliveryJournal::resume(*past);
        QVERIFY(journal.ok());
        in.journal = journal.value().get();
        in.resumed = &*past;
        account.mailsPerMinute = 0;
        FakeRunView view;
        SmtpSendRun run(view, account);
        QVERIFY(run.RunSmtpSend(in).completed());
        QCOMPARE(run.counts().text(), u"2 sent, 0 failed, 1 skipped"_s);
        QStringList reached = recipients(m_sink->messages(seen + 3, 300).mid(seen));
        reached.sort();
        QCOMPARE(reached, (QStringList{u"ann@example.com"_s, u"bjorn@example.com"_s, u"cy@example.com"_s}));
        QVERIFY(PastRun::read(past->path()).value().finished());
        QVERIFY(!PastRun::latestInterrupted(folder, identity));
    }

    void aKilledRun_leavesTheMessageOnItsWayUnconfirmed_andNotSentAgain()
    {
        // What a run killed between the end of a message and the server's answer leaves behind.
        const QString folder = m_dir.filePath(u"killed"_s);
        const RunIdentity identity{u"/lists/members.csv"_s, {}, u"News"_s, 3};
        {
            auto journal = DeliveryJournal::create(folder + u"/run.csv"_s, identity);
            QVERIFY(journal.ok());
            journal.value()->record(ContactDelivery::sent(1, u"ann@example.com"_s, u"250 OK"_s));
            journal.value()->messageInFlight(2, u"bjorn@example.com"_s);
            QFile::copy(folder + u"/run.csv"_s, folder + u"/kept.csv"_s);
            QFile::copy(folder + u"/run.run"_s, folder + u"/kept.run"_s);
            QFile::copy(folder + u"/run.inflight"_s, folder + u"/kept.inflight"_s);
        }
        const Result<PastRun> past = PastRun::read(folder + u"/kept.csv"_s);
        QVERIFY(past.ok());
        QVERIFY(!past.value().finished());
        QCOMPARE(past.value().sentCount(), 2);
        QVERIFY(past.value().delivered(2, u"bjorn@example.com"_s));
        QVERIFY(!past.value().delivered(3, u"cy@example.com"_s));
        QCOMPARE(past.value().unconfirmed().size(), 1);
        // Going on writes the unconfirmed line, so the journal reads true from then on.
        DeliveryJournal::resume(past.value()).value()->finish(u"completed"_s);
        QFile lines(folder + u"/kept.csv"_s);
        QVERIFY(lines.open(QIODevice::ReadOnly));
        QVERIFY(lines.readAll().contains("\n2,bjorn@example.com,unconfirmed,"));
        QVERIFY(!QFileInfo::exists(folder + u"/kept.inflight"_s));
    }
};

QTEST_GUILESS_MAIN(SmtpSendRunTest)
#include "tst_smtp_send_run.moc"
