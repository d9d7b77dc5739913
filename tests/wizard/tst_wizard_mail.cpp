#include "SmtpSink.h"
#include "WizardFixture.h"
#include "composer/ComposePage.h"
#include "core/AppPaths.h"
#include "delivery/FrmSmtp.h"

#include <QApplication>
#include <QFileInfo>
#include <QTcpServer>
#include <QTimer>
#include <QUrl>

// The wizard's sending: cancels, the settings asked for, resumed runs, the test mail and the outbox.
class WizardMailTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    // From the source page to the composer with the comma file, and on to the way of sending.
    void composeFor(const QString& html)
    {
        toTemplatePage(m_dir.filePath(u"list.csv"_s));
        m_wizard->CmdNext_Click();
        m_wizard->composePage()->txtSubject->setText(u"Your [[CompanyName]] invitation"_s);
        m_wizard->composePage()->setDocumentHTML(html);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::SendWay));
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        QVERIFY(TestSupport::writeFile(m_dir.filePath(u"list.csv"_s), "First Name,Email,Company\r\n"
                                                                      "Ann,ann@example.com,Acme\r\n"
                                                                      ",nobody@example.com,Nord\r\n"
                                                                      "Cy,cy@example.com,Ceta\r\n"));
    }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    // A server that accepts and never says a word, with no timeout: only Cancel, or closing the
    // wizard, ends the wait for its greeting; meanwhile the window handles input.
    void aSilentServer_leavesTheWindowResponsive_andCancelOrClosingEndsTheRun()
    {
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        saveAccount(silent.serverPort(), 0);
        composeFor(u"<p>Hello [[FirstName]]</p>"_s);
        m_wizard->sendPage()->OptSMTP->setChecked(true);
        FinishPage* page = m_wizard->finishPage();
        QStringList during;
        bool stayedOpen = false;
        connect(&silent, &QTcpServer::newConnection, this, [&] {
            if (during.isEmpty()) {
                during << page->lblheader->text() << page->lblstatus->text() << m_wizard->CmdNext()->text();
                QVERIFY(!m_wizard->CmdBack()->isEnabled());
                QVERIFY(!m_wizard->CmdNext()->isEnabled());
                QVERIFY(!page->lblSendProcess->isVisibleTo(page));
                QTest::mouseClick(page->CmdCancelSend, Qt::LeftButton);
            } else {
                m_wizard->close();
                stayedOpen = m_wizard->isVisible();
            }
        });
        m_wizard->CmdNext_Click();
        QCOMPARE(during, (QStringList{u"Sending Mails via Quillbay+ SMTP"_s, u"Connecting 127.0.0.1"_s, u"Finish"_s}));
        QCOMPARE(page->lblSendProcess->text(), u"Process Cancelled!"_s);
        QVERIFY(page->lblSendProcess->isVisibleTo(page));
        QVERIFY(!page->CmdCancelSend->isEnabled());
        QVERIFY(m_wizard->CmdBack()->isEnabled());
        QVERIFY(!m_wizard->CmdNext()->isEnabled());

        // Closing the wizard during a run cancels it; the window stays until the run has ended.
        m_wizard->CmdBack_Click();
        page->lblSendProcess->clear();
        m_wizard->CmdNext_Click();
        QVERIFY(stayedOpen);
        QCOMPARE(page->lblSendProcess->text(), u"Process Cancelled!"_s);
        QVERIFY(m_wizard->isVisible());
    }

    void anIncompleteAccount_opensTheSettingsModally_andTheRunUsesWhatWasEntered()
    {
        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        composeFor(u"<p>Hello [[FirstName]]</p>"_s);
        m_wizard->sendPage()->OptSMTP->setChecked(true);
        bool answered = false;
        QTimer watcher;
        connect(&watcher, &QTimer::timeout, this, [&] {
            auto* dialog = qobject_cast<FrmSmtp*>(QApplication::activeModalWidget());
            if (dialog == nullptr || answered) {
                return;
            }
            answered = true;
            dialog->txtFromMail->setText(u"events@example.org"_s);
            dialog->txtSmtp->setText(u"127.0.0.1"_s);
            dialog->txtSMTPPort->setText(QString::number(sink.port()));
            dialog->cmdOk[0]->click();
        });
        watcher.start(50);
        m_wizard->CmdNext_Click();
        QVERIFY(answered);
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"All mails are successfully Sent."_s);
        QCOMPARE(GetSetting(u"SMTP"_s, u"SMTPServer"_s), u"127.0.0.1"_s);
        QCOMPARE(sink.messages(3).size(), 3);
    }

    void anInterruptedRun_isOfferedAgain_andTheTestMailGoesToTheSenderAlone()
    {
        QTcpServer probe; // a loopback port nothing listens on: the run stops before its first mail
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        saveAccount(probe.serverPort(), 0);
        probe.close();
        TestSupport::MessageRecorder messages;
        QDir(AppPaths::file(u"Runs"_s)).removeRecursively(); // the journals of the runs before
        composeFor(u"<p>Hello [[FirstName]]</p>"_s);
        QCheckBox* resume = m_wizard->sendPage()->ChkResume;
        QVERIFY(!resume->isVisibleTo(m_wizard->sendPage()));
        m_wizard->sendPage()->OptSMTP->setChecked(true);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"Process Cancelled!"_s);
        QVERIFY(m_wizard->finishPage()->lblCounts->text().startsWith(u"0 sent, 1 failed, 2 skipped &nbsp;"_s));
        QVERIFY(messages.lastText().startsWith(u"Error in Sending Mails Via Quillbay+ SMTP : "_s));
        m_wizard->CmdBack_Click();
        QVERIFY(resume->isVisibleTo(m_wizard->sendPage()));
        QVERIFY(resume->isChecked());
        QCOMPARE(resume->text(), u"Resume the interrupted run (0 of 3 sent)"_s);

        SmtpSink sink;
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        SmtpAccount::current().port = sink.port();
        m_wizard->composePage()->CboPTo->setCurrentIndex(2);
        m_wizard->sendPage()->CmdTestSend->click();
        QVERIFY2(
            messages.lastText().startsWith(u"The mail of cy@example.com went to events@example.org alone.\n\nsent"_s),
            qPrintable(messages.lastText()));
        QVERIFY(sink.messages(1).first().content.contains("Subject: Your Ceta invitation\r\n"));

        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"All mails are successfully Sent."_s);
        const QString counts = m_wizard->finishPage()->lblCounts->text();
        QVERIFY2(counts.startsWith(u"3 sent, 0 failed, 0 skipped &nbsp; <a href=\"file://"_s), qPrintable(counts));
        QVERIFY(QFileInfo(QUrl(counts.section(u'"', 1, 1)).toLocalFile()).isFile()); // the run's journal
        QCOMPARE(sink.messages(4).size(), 4);
        // The run reached its end: nothing is offered any more.
        m_wizard->CmdBack_Click();
        QVERIFY(!resume->isVisibleTo(m_wizard->sendPage()));
    }

    void theOutbox_handsTheMailsToTheSystemsTransport()
    {
        // A transport that keeps each mail it is handed as a file of its own.
        const QDir outbox(m_dir.filePath(u"outbox"_s));
        QVERIFY(outbox.mkpath(u"."_s));
        const QString transport = TestSupport::writeShellScript(m_dir.filePath(u"transport.sh"_s),
                                                                "cat > '" + outbox.path().toUtf8() + "/mail.'$$\n");
        SettingsStore::instance().setValue(Keys::SendmailPath, transport);
        const QString logo = m_dir.filePath(u"logo.gif"_s);
        QVERIFY(TestSupport::writeFile(logo, QByteArray("GIF89a", 6) + QByteArray(500, '\x07')));
        composeFor(u"<p>Hello [[FirstName]]</p><img src=\"file://"_s + logo + u"\">"_s);
        m_wizard->sendPage()->OptOutbox->setChecked(true);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->finishPage()->lblheader->text(), u"Sending Mails via Outlook Outbox"_s);
        QCOMPARE(m_wizard->finishPage()->lblSendProcess->text(), u"All mails are successfully sent."_s);
        const QStringList mails = outbox.entryList(QDir::Files);
        QCOMPARE(mails.size(), 3);
        // The picture keeps its file reference.
        const QByteArray mail = TestSupport::readFile(outbox.filePath(mails.first()));
        QVERIFY(SmtpSink::decodedHtml(mail).contains("src=\"file://" + logo.toUtf8()));
    }
};

QTEST_MAIN(WizardMailTest)
#include "tst_wizard_mail.moc"
