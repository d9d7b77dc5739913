#include "DocumentText.h"
#include "SmtpSink.h"
#include "TestSupport.h"
#include "ThunderbirdBooks.h"
#include "WabWriter.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "wordlink/DocumentEngine.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using TestSupport::readFile;
using TestSupport::writeFile;

namespace {

// One run of the command-line companion to its end.
struct CliResult
{
    int exitCode = -1; // -1: the program did not end by itself
    QString out;
    QString err;
};

CliResult runCli(const QStringList& arguments, const QProcessEnvironment& environment = {})
{
    QProcess cli;
    if (!environment.isEmpty()) {
        cli.setProcessEnvironment(environment);
    }
    cli.start(QStringLiteral(QUILLBAY_CLI), arguments);
    CliResult result;
    if (cli.waitForFinished(120000) && cli.exitStatus() == QProcess::NormalExit) {
        result.exitCode = cli.exitCode();
    } else {
        cli.kill();
        cli.waitForFinished();
    }
    result.out = QString::fromUtf8(cli.readAllStandardOutput());
    result.err = QString::fromUtf8(cli.readAllStandardError());
    return result;
}

// The date line differs from run to run; everything else of a message is fixed.
QByteArray withoutDate(QByteArray message)
{
    static const QRegularExpression date(u"\r\nDate: [^\r]*\r\n"_s);
    return QString::fromLatin1(message).replace(date, u"\r\nDate: (date)\r\n"_s).toLatin1();
}

} // namespace

class CliTest : public QObject
{
    Q_OBJECT

private:
    static constexpr int Members = 60;
    QTemporaryDir m_dir;
    std::unique_ptr<SmtpSink> m_sink; // for the long runs, kept from one test to the next
    QString m_contacts;
    QString m_body;

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // A command line as typed: words split at blanks, '' an empty one, "@name" that file of the
    // test folder and "@" the folder itself.
    QStringList words(const QString& line) const
    {
        QStringList arguments = line.split(u' ', Qt::SkipEmptyParts);
        for (QString& word : arguments) {
            if (word == u"''"_s) {
                word.clear();
            } else if (word.startsWith(u'@')) {
                word = word.size() == 1 ? m_dir.path() : path(word.mid(1));
            }
        }
        return arguments;
    }

    // The mail options every mail test shares, with the run's target behind them.
    QStringList mailArguments(const QStringList& target) const
    {
        return words(u"mail --contacts @contacts.csv --skip-first-row --body @body.html --from news@example.com"_s) +
               QStringList{u"--subject"_s, u"News for [[FirstName]] [[LastName]]"_s, u"--from-name"_s,
                           u"Quillbay News"_s} +
               target;
    }

    // A mail run of these contacts with a body without a lone dot line (the SMTP server takes the
    // transparency dot off).
    QStringList plainMail(const QStringList& target, const QString& list = u"contacts.csv"_s) const
    {
        QStringList arguments = mailArguments(target);
        arguments[arguments.indexOf(m_body)] = path(u"plain.html"_s);
        arguments[arguments.indexOf(m_contacts)] = path(list);
        return arguments;
    }

    // To the test's server, without encryption.
    QStringList smtp() const { return {u"--smtp"_s, u"127.0.0.1:%1"_s.arg(m_sink->port()), u"--tls"_s, u"off"_s}; }

    // A mail run of Hi to an .eml folder, each contact one message.
    CliResult mailHi(const QString& contacts, const QString& body, const QString& folder, const QString& more = {})
    {
        return runCli(words(u"mail --skip-first-row --subject Hi --contacts %1 --body %2 --eml-dir %3 %4"_s.arg(
            contacts, body, folder, more)));
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        QVERIFY(m_dir.isValid());
        // Lines end in CR LF, as the importer reads them; one company holds a quoted comma.
        m_contacts = path(u"contacts.csv"_s);
        QVERIFY(writeFile(m_contacts, "First Name,Last Name,Email,Company,Region\r\n"
                                      "Ann,Lee,ann@example.com,Acme,North\r\n"
                                      ",Moe,moe@example.com,\"Beta, Inc\",South\r\n"
                                      "Bob,Ray,no-address,Gamma,East\r\n"));
        m_body = path(u"body.html"_s);
        QVERIFY(writeFile(m_body, "<p>Dear [[FirstName]] of [[CompanyName]] ([[Region]])</p>\r\n.\r\n<p>.x</p>"));
        QVERIFY(writeFile(path(u"plain.html"_s), "<p>Dear [[FirstName]] of [[CompanyName]]</p>"));
        QByteArray members = "First Name,Email\r\n";
        for (int i = 1; i <= Members; ++i) {
            members += "Member" + QByteArray::number(i) + ",member" + QByteArray::number(i) + "@example.com\r\n";
        }
        QVERIFY(writeFile(path(u"members.csv"_s), members));
        m_sink = std::make_unique<SmtpSink>(); // each test that needs it says so when it did not start
    }

    void init() { TestSupport::resetSettings(); }

    void badArguments_endWithStatusTwoAndOneLine_helpWithZero()
    {
        QVERIFY(writeFile(path(u"noColumns.csv"_s), "\r\nAnn,ann@example.com\r\n"));
        QVERIFY(writeFile(path(u"headerOnly.csv"_s), "Name,Email\r\n"));
        QVERIFY(writeFile(path(u"strangeColumns.csv"_s), "Nick,Mail\r\nAl,al@example.com\r\n"));
        QVERIFY(writeFile(path(u"picture.html"_s), "<img src=\"file://" + path(u"gone.png"_s).toUtf8() + "\">"));
        QVERIFY(writeFile(path(u"cut.vcf"_s), "BEGIN:VCARD\r\nFN:Ann\r\n"));
        // A pipe nobody writes to would hold the run for ever; a folder or an empty file is no list.
        QVERIFY(::mkfifo(QFile::encodeName(path(u"pipe.html"_s)).constData(), 0600) == 0);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path(u"letter.docx"_s), u"Dear [[FirstName]]"_s));
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, path(u"people.xls"_s)));
        const QString run = u"mail --contacts @contacts.csv --subject Hi --body @body.html "_s;
        const QString mail = run + u"--eml-dir @never "_s;
        const QString smtp = run + u"--smtp localhost "_s;
        const QString access = mail + u"--kind access "_s;
        const auto mailOf = [&mail](const QString& contacts) {
            return QString(mail).replace(u"@contacts.csv"_s, contacts);
        };
        const auto withBody = [&mail](const QString& body) {
            return QString(mail).replace(u"@body.html"_s, body);
        };
        const QString letters = u"letters --contacts @contacts.csv --template @letter.docx "_s;

        const std::pair<QString, QString> rows[] = {
            {u"no command given"_s, {}},
            {u"unknown command \"merge\""_s, u"merge"_s},
            {u"Unknown option 'colour'"_s, u"mail --colour"_s},
            {u"unexpected argument \"extra\""_s, u"search --folder @ extra"_s},
            {u"--contacts FILE is required"_s, u"mail --subject Hi --eml-dir @never"_s},
            {u"unknown --kind \"tsv\""_s, mail + u"--kind tsv"_s},
            {u"the workbook has no sheet \"Third\" (its sheets: People, Second)"_s,
             mailOf(u"@people.xls"_s) + u"--sheet Third"_s},
            {u"--db-password-env belongs to --kind access"_s, mail + u"--db-password-env HOME"_s},
            {u"give the password either with --password or with --db-password-env"_s,
             access + u"--password x --db-password-env HOME"_s},
            {u"--db-password-env: the environment variable QB_NOT_SET_ANYWHERE is not set"_s,
             access + u"--db-password-env QB_NOT_SET_ANYWHERE"_s},
            {u"--skip-first-row does not apply to --kind access"_s, access + u"--skip-first-row"_s},
            {u"File Doesn't Exists: "_s + path(u"people.vcf"_s),
             u"letters --contacts @people.vcf --template @letter.docx --out-dir @never"_s},
            {u"Choose a Valid file!"_s, mail + u"--kind addressbook"_s},
            {u"--map belongs to the kinds with columns"_s, mailOf(u"@cut.vcf"_s) + u"--map FirstName=FN"_s},
            {u"the mail client has no default address book"_s,
             u"mail --kind mailclient --subject Hi --body @body.html --eml-dir @never"_s},
            {u"--sheet belongs to --kind excel"_s, mail + u"--sheet S"_s},
            {u"File Doesn't Exists"_s, mailOf(u"@absent.csv"_s)},
            {u"names no columns"_s, mailOf(u"@noColumns.csv"_s)},
            {u"holds no contacts"_s, mailOf(u"@headerOnly.csv"_s) + u"--skip-first-row"_s},
            {u"Please Map any Field"_s, mailOf(u"@strangeColumns.csv"_s)},
            {u"no merge field is called \"Nick\""_s, mail + u"--map Nick=Region"_s},
            {u"the contact list has no column \"Nickname\""_s, mail + u"--map FirstName=Nickname"_s},
            {u"--map wants FIELD=COLUMN"_s, mail + u"--map FirstName"_s},
            {u"at most three --custom fields"_s,
             mail + u"--custom A=Region --custom B=Region --custom C=Region --custom D=Region"_s},
            {u"--blank wants FirstName, LastName"_s, mail + u"--blank WebPage=x"_s},
            {u"--subject TEXT is required"_s, u"mail --contacts @contacts.csv --body @body.html --eml-dir @never"_s},
            {u"Please Specify a Subject"_s, QString(mail).replace(u"Hi"_s, u"''"_s)},
            {u"cannot read the body"_s, withBody(u"@absent.html"_s)},
            {u"names an image that cannot be read"_s, withBody(u"@picture.html"_s)},
            {u"is not a plain file"_s, withBody(u"@pipe.html"_s)},
            {u"Select a Valid Template File"_s, mail + u"--attach @absent.docx"_s},
            {u"give one of --eml-dir DIR, --smtp HOST[:PORT] and --sendmail"_s, run},
            {u"--smtp wants HOST or HOST:PORT"_s, run + u"--smtp localhost:99999"_s},
            {u"--tls wants auto, starttls, ssl or off"_s, smtp + u"--tls always"_s},
            {u"the environment variable QB_NOT_SET_ANYWHERE is not set"_s,
             smtp + u"--password-env QB_NOT_SET_ANYWHERE"_s},
            {u"no sender address"_s, smtp},
            {u"give either --out-dir DIR or --combined FILE"_s, letters},
            {u"Document Name Invalid"_s, letters + u"--combined @letter.docx"_s},
            {u"Select a Valid Template File"_s, u"letters --contacts @contacts.csv --out-dir @never"_s},
            {u"--folder DIR must name an existing folder"_s, u"search --words x"_s},
            {u"--replace needs --words TEXT"_s, u"search --folder @ --replace y"_s},
        };
        for (const auto& [expected, line] : rows) {
            const CliResult result = runCli(words(line));
            QVERIFY2(result.exitCode == 2 && result.out.isEmpty() && result.err.startsWith(u"quillbay-cli: "_s) &&
                         result.err.count(u'\n') == 1 && result.err.endsWith(u'\n') && result.err.contains(expected),
                     qPrintable(expected + u" / "_s + result.err));
        }
        // Nothing was written and no map was remembered.
        QVERIFY(!QFileInfo::exists(path(u"never/00001.eml"_s)));
        SettingsStore::instance().reload();
        QCOMPARE(SettingsStore::instance().value(Keys::CommaFile), QString());

        // Asked for, a command's usage goes to the standard output with status 0.
        const CliResult help = runCli({u"mail"_s, u"--help"_s});
        QVERIFY2(help.exitCode == 0 && help.out.startsWith(u"Usage: quillbay-cli mail"_s), qPrintable(help.out));
    }

    void mailToEmlDir_writesTheBytesThatFollowData()
    {
        const QString folder = path(u"eml"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path(u"offer.docx"_s),
                                      u"Offer for [[FirstName]] [[LastName]]|of [[CompanyName]]"_s));
        CliResult result = runCli(mailArguments(
            words(u"--custom Region=Region --reply-to answers@example.com --attach @offer.docx --eml-dir @eml"_s)));
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.out.startsWith(u"1\tann@example.com\tsent\n"
                                       u"2\tmoe@example.com\tsent\n"
                                       u"3\tno-address\tskipped: no address\n"
                                       u"All mails are successfully Sent. (2 sent, 0 failed, 1 skipped)\n"
                                       u"Delivery report: "_s),
                 qPrintable(result.out));
        QCOMPARE(QDir(folder).entryList(QDir::Files), (QStringList{u"00001.eml"_s, u"00002.eml"_s}));
        // The empty first name of a mapped source takes the stored blank text ("Sir" by default);
        // the quoted comma stays inside the company; the lone dot line gets its zero character.
        const QByteArray second = readFile(folder + u"/00002.eml"_s);
        QVERIFY2(second.startsWith("Reply-To: answers@example.com\r\nFrom: Quillbay News<news@example.com>\r\n"
                                   "To: moe@example.com\r\nDate: "),
                 second.constData());
        QVERIFY(second.contains("\r\nSubject: News for Sir Moe\r\n"));
        QVERIFY(
            second.contains(QByteArrayLiteral("\r\n\r\n<p>Dear Sir of Beta, Inc (South)</p>\r\n.\0\r\n<p>.x</p>\r\n")));
        QVERIFY(readFile(folder + u"/00001.eml"_s).contains("<p>Dear Ann of Acme (North)</p>"));
        // Each contact gets a copy of the template of its own, where the row's text stands as it is
        // (no blank text for Moe's first name); the template stays as it was.
        QVERIFY(writeFile(path(u"copy.docx"_s),
                          SmtpSink::decodedPart(second, "Content-Type: application/msword; name=\"offer.docx\"\r\n")));
        const QString copy = TestSupport::documentText(path(u"copy.docx"_s));
        QVERIFY2(copy.startsWith(u"Offer for  Moe\r"_s), qPrintable(copy));
        QVERIFY(TestSupport::documentText(path(u"offer.docx"_s)).startsWith(u"Offer for [[FirstName]] [[LastName]]"_s));

        // A blank text given for the run is taken trimmed.
        result = runCli(mailArguments({u"--blank"_s, u"FirstName=  Friend "_s, u"--eml-dir"_s, path(u"given"_s)}));
        QCOMPARE(result.exitCode, 0);
        QVERIFY(readFile(path(u"given/00002.eml"_s)).contains("Subject: News for Friend Moe\r\n"));
    }

    void mail_withAMap_replacesTheStandardFields()
    {
        // "Mail" and "Firm" are in no alias list; "Name" would be guessed for the first name.
        QVERIFY(writeFile(path(u"list.csv"_s), "Name,Mail,Firm\r\nAl,al@example.com,Zeta\r\n"));
        QVERIFY(writeFile(path(u"fields.html"_s), "[[FirstName]]|[[CompanyName]]"));
        // The guessed first name is gone, so its blank text shows.
        const CliResult result =
            mailHi(u"@list.csv"_s, u"@fields.html"_s, u"@r1"_s, u"--map Email1Address=Mail --map CompanyName=Firm"_s);
        QCOMPARE(result.out.section(u'\n', 0, 0), u"1\tal@example.com\tsent"_s);
        QVERIFY(readFile(path(u"r1/00001.eml"_s)).endsWith("\r\n\r\nSir|Zeta\r\n"));
    }

    void mail_fromAWorkbook_readsTheSheetThroughTheWizardsImporter()
    {
        QVERIFY(TestSupport::makeWorkbook(u"xlsx"_s, path(u"contacts.xlsx"_s)));
        QVERIFY(writeFile(path(u"book.html"_s), "[[FirstName]]|[[CompanyName]]|[[Joined]]|[[Amount]]"));
        const CliResult result = mailHi(u"@contacts.xlsx"_s, u"@book.html"_s, u"@book1"_s,
                                        u"--sheet Contacts --custom Joined=Joined --custom Amount=Amount"_s);
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QVERIFY(readFile(path(u"book1/00001.eml"_s)).endsWith("\r\n\r\nAnn|Acme|1/15/2024|12\r\n"));
    }

    void mail_aTemplateThatCannotBeRead_stopsBeforeTheFirstMail_andEachContactHasOneLine()
    {
        // A template that cannot be read stops the run before the first mail.
        const QString broken = path(u"broken-offer.docx"_s);
        QVERIFY(writeFile(broken, "no package at all"));
        CliResult result = runCli(mailArguments({u"--attach"_s, broken, u"--eml-dir"_s, path(u"never-sent"_s)}));
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.err.startsWith(u"quillbay-cli: the attachment template "_s), qPrintable(result.err));
        QVERIFY(QDir(path(u"never-sent"_s)).entryList(QDir::Files).isEmpty());

        // A quoted address with a line break cannot add a line of its own to the report.
        const QString forged = path(u"forged.csv"_s);
        QVERIFY(writeFile(forged, "Name,Email\nAnn,\"ann@example.com\nFAKE-ROW\tvictim@example.com\tsent\"\n"));
        QStringList arguments = mailArguments({u"--eml-dir"_s, path(u"forged"_s)});
        arguments[arguments.indexOf(m_contacts)] = forged;
        const QStringList lines = runCli(arguments).out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3); // the contact, the closing line and the journal's
        QVERIFY2(lines.at(0).startsWith(u"1\tann@example.com FAKE-ROW victim@example.com sent\t"_s),
                 qPrintable(lines.at(0)));
    }

    void mailOverSmtp_tlsModes()
    {
        const struct
        {
            const char* mode;
            SmtpSink::Options server;
            QString error;
        } cases[] = {
            // Offered STARTTLS and a login: the server gets what the folder holds.
            {"auto", {true, false, u"mailer:s3cret"_s, {}}, {}},
            {"off", {true, false, {}, {}}, {}}, // the offer is ignored
            {"starttls", {}, u"offers no STARTTLS"_s},
            {"ssl", {false, true, {}, {}}, {}}, // TLS from the first byte on any port
        };
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QB_MAIL_PASSWORD"_s, u"s3cret"_s);
        for (const auto& one : cases) {
            SmtpSink sink(one.server);
            QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
            environment.insert(u"SSL_CERT_FILE"_s, sink.authorityCertificate());
            const QString mode = QString::fromLatin1(one.mode);
            QStringList options{u"--smtp"_s, u"localhost:%1"_s.arg(sink.port()), u"--tls"_s, mode};
            if (!one.server.login.isEmpty()) {
                options << u"--user"_s << u"mailer"_s << u"--password-env"_s << u"QB_MAIL_PASSWORD"_s;
            }
            const CliResult result = runCli(plainMail(options), environment);
            if (!one.error.isEmpty()) {
                QCOMPARE(result.exitCode, 1);
                QVERIFY2(result.err.contains(one.error) && result.err.count(u'\n') == 1, qPrintable(result.err));
                // The contact that met the refusal failed; the ones after it were not reached.
                QVERIFY2(result.out.contains(
                             u"\tskipped: not reached\nProcess Cancelled! (0 sent, 1 failed, 2 skipped)\n"_s),
                         qPrintable(result.out));
                QCOMPARE(sink.messages(0, 200).size(), 0);
                continue;
            }
            QVERIFY2(result.exitCode == 0 && result.err.isEmpty(), qPrintable(result.err));
            const QList<SmtpSink::StoredMessage> received = sink.messages(2);
            QCOMPARE(received.size(), 2);
            QCOMPARE(received.at(0).envelope.value(u"tls"_s).toBool(), mode != u"off"_s);
            if (!one.server.login.isEmpty()) {
                QVERIFY(received.at(1).envelope.value(u"authenticated"_s).toBool());
                QCOMPARE(received.at(1).envelope.value(u"to"_s).toArray(), QJsonArray{u"moe@example.com"_s});
                QCOMPARE(received.at(1).envelope.value(u"from"_s).toString(), u"news@example.com"_s);
                const CliResult written = runCli(plainMail({u"--eml-dir"_s, path(u"same"_s)}));
                QCOMPARE(written.out.section(u"Delivery report: "_s, 0, 0),
                         result.out.section(u"Delivery report: "_s, 0, 0));
                QCOMPARE(withoutDate(received.at(1).content), withoutDate(readFile(path(u"same/00002.eml"_s))));
            }
        }
    }

    void mailOverSmtp_aSignalCutsTheRunOff_asItsCancelWould()
    {
        // A server that never greets, with the stored timeout of 0 (wait without end): SIGTERM
        // cuts the run off as its Cancel button would.
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        QProcess cli;
        cli.start(QStringLiteral(QUILLBAY_CLI),
                  mailArguments({u"--smtp"_s, u"127.0.0.1:%1"_s.arg(silent.serverPort())}));
        QVERIFY(cli.waitForStarted(30000));
        QVERIFY(silent.waitForNewConnection(30000));
        QCOMPARE(cli.state(), QProcess::Running);
        cli.terminate();
        QVERIFY(cli.waitForFinished(30000));
        QCOMPARE(cli.exitStatus(), QProcess::NormalExit);
        QCOMPARE(cli.exitCode(), 1);
        QCOMPARE(QString::fromUtf8(cli.readAllStandardError()), u"quillbay-cli: the run was cut off by a signal\n"_s);
        QVERIFY(QString::fromUtf8(cli.readAllStandardOutput()).contains(u"Process Cancelled!"_s));
    }

    void mail_fromAnAddressBook_hasNoBlankTexts()
    {
        WabWriter writer;
        writer.addRecord({WabWriter::text(0x3001, u"Ann Lee"_s), WabWriter::text(0x3A11, u"Lee"_s),
                          WabWriter::text(0x3003, u"ann@example.com"_s), WabWriter::text(0x3A16, u"Acme"_s)});
        writer.addRecord({WabWriter::text(0x3001, u"Moe"_s), WabWriter::text(0x3A11, u"Moe"_s),
                          WabWriter::text(0x3003, u"moe@example.com"_s)});
        const QString book = path(u"friends.wab"_s);
        QVERIFY(writeFile(book, writer.bytes()));
        QStringList arguments = mailArguments({u"--eml-dir"_s, path(u"fromBook"_s)});
        arguments.removeOne(u"--skip-first-row"_s);
        arguments[arguments.indexOf(m_contacts)] = book;
        const CliResult result = runCli(arguments);
        QCOMPARE(result.err, QString());
        QCOMPARE(QDir(path(u"fromBook"_s)).entryList(QDir::Files), (QStringList{u"00001.eml"_s, u"00002.eml"_s}));
        QVERIFY(readFile(path(u"fromBook/00001.eml"_s)).contains("Subject: News for Ann Lee\r\n"));
        // Blank-field texts belong to the mapped sources: Moe's empty first name stays empty.
        QVERIFY(readFile(path(u"fromBook/00002.eml"_s)).contains("Subject: News for  Moe\r\n"));
    }

    void mail_fromTheMailClient_byDefaultOrByName()
    {
        QTemporaryDir home;
        QVERIFY(TestSupport::writeFile(home.filePath(u".thunderbird/profiles.ini"_s),
                                       "[Profile0]\nName=default\nIsRelative=1\nPath=p.default\n"));
        QVERIFY(TestSupport::writeFile(home.filePath(u".thunderbird/p.default/prefs.js"_s),
                                       "user_pref(\"ldap_2.servers.x.filename\", \"clients.sqlite\");\n"
                                       "user_pref(\"ldap_2.servers.x.description\", \"Clients\");\n"));
        QVERIFY(ThunderbirdBooks::writeBook(home.filePath(u".thunderbird/p.default/abook.sqlite"_s),
                                            {{u"1"_s, {{u"PrimaryEmail"_s, u"ann@example.com"_s}}},
                                             {u"2"_s, {{u"PrimaryEmail"_s, u"bo@example.com"_s}}}},
                                            {u"Everyone"_s}));
        QVERIFY(ThunderbirdBooks::writeBook(home.filePath(u".thunderbird/p.default/clients.sqlite"_s),
                                            {{u"1"_s,
                                              {{u"_vCard"_s, u"BEGIN:VCARD\r\nVERSION:4.0\r\nN:Berg;Cy;;;\r\n"
                                                             u"EMAIL:cy@example.com\r\nEND:VCARD\r\n"_s}}}}));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, home.path());
        const QString mail = u"mail --kind mailclient --subject Hi --body @body.html --eml-dir "_s;
        CliResult result = runCli(words(mail + u"@client1"_s), environment);
        QCOMPARE(result.err, QString());
        QCOMPARE(QDir(path(u"client1"_s)).entryList(QDir::Files), (QStringList{u"00001.eml"_s, u"00002.eml"_s}));
        result = runCli(words(mail + u"@client2 --contacts Clients"_s), environment);
        QCOMPARE(result.exitCode, 0);
        QVERIFY(readFile(path(u"client2/00001.eml"_s)).contains("<p>Dear Cy of"));
        result = runCli(words(mail + u"@client3 --contacts Friends"_s), environment);
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains(u"no address book \"Friends\"; it has \"Personal Address Book\""_s),
                 qPrintable(result.err));
    }

    void letters_inAFolderAndCombined()
    {
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path(u"post.docx"_s),
                                      u"Dear [[FirstName]] [[LastName]]|[[CompanyName]], [[Region]]"_s));
        const QString source =
            u"letters --contacts @contacts.csv --skip-first-row --custom Region=Region --template @post.docx "_s;
        const QString folder = path(u"post/letters"_s);
        CliResult result = runCli(words(source + u"--out-dir @post/letters"_s));
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out, folder + u"/Quillbay+1.docx\n"_s + folder + u"/Quillbay+2.docx\n"_s + folder +
                                 u"/Quillbay+3.docx\nFiles are Saved Successfully\n"_s);
        // No blank text in a letter: Moe's empty first name simply goes.
        QCOMPARE(TestSupport::documentText(folder + u"/Quillbay+2.docx"_s), u"Dear  Moe\rBeta, Inc, South\r"_s);

        const QString combined = path(u"post/all.docx"_s);
        result = runCli(words(source + u"--combined @post/all.docx"_s));
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out, combined + u"\nall.docx is Successfully Stored\n"_s);
        const QString text = TestSupport::documentText(combined);
        QVERIFY2(text.startsWith(u"Dear Ann Lee\rAcme, North\r"_s), qPrintable(text));
        QCOMPARE(text.count(u'\f'), 2); // three letters, one a page

        // A template the document engine cannot open stops the run at the first letter, with its reason.
        QVERIFY(writeFile(path(u"broken.docx"_s), "this is no zip package"));
        result =
            runCli(words(QString(source).replace(u"@post.docx"_s, u"@broken.docx"_s) + u"--out-dir @brokenLetters"_s));
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.out, u"0 of 3 letters written\n"_s);
        QVERIFY2(result.err.startsWith(u"quillbay-cli: the run stopped at letter 1: not a Word 2007 document"_s),
                 qPrintable(result.err));
        QCOMPARE(QDir(path(u"brokenLetters"_s)).entryList(QDir::Files), QStringList());
    }

    void letters_fromAnAccessTable_withThePasswordFromTheEnvironment()
    {
        QB_REQUIRE_ACCESS_FIXTURE(nwind, "nwind.mdb");
        const QString database = path(u"access/shop.mdb"_s);
        QVERIFY(QDir().mkpath(path(u"access"_s)));
        QVERIFY(TestSupport::makeProtectedMdb(nwind, database, u"Nord;wind 1"_s));
        QVERIFY(
            TestSupport::makeDocx(u"plain"_s, path(u"access/letter.docx"_s), u"[[CompanyName]]: [[Business-Phone]]"_s));
        const QString letters = u"letters --template @access/letter.docx --out-dir @access/out --contacts "_s;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"SHOP_PASSWORD"_s, u"Nord;wind 1"_s);

        // The kind comes from the file's ending; without the password the database stays shut.
        CliResult result = runCli(words(letters + u"@access/shop.mdb --table Shippers"_s));
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains(u"Please enter a valid password!"_s), qPrintable(result.err));
        // The dictionary takes CompanyName and Phone; no address column is needed for letters.
        result = runCli(words(letters + u"@access/shop.mdb --table Shippers --db-password-env SHOP_PASSWORD"_s),
                        environment);
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out.count(u".docx\n"_s), 3);
        QCOMPARE(TestSupport::documentText(path(u"access/out/Quillbay+2.docx"_s)),
                 u"United Package: (503) 555-3199\r"_s);
    }

    void aKilledRun_resumed_reachesEachContactExactlyOnce()
    {
        QVERIFY2(m_sink->isRunning(), qPrintable(m_sink->errorText()));
        const qsizetype seen = m_sink->messages().size();
        const QString journal = path(u"killed.csv"_s);
        QProcess cli;
        cli.start(QStringLiteral(QUILLBAY_CLI),
                  plainMail(smtp() + QStringList{u"--journal"_s, journal}, u"members.csv"_s));
        QVERIFY(m_sink->messages(seen + 20, 60000).size() >= seen + 20);
        ::kill(static_cast<pid_t>(cli.processId()), SIGKILL);
        QVERIFY(cli.waitForFinished());
        QCOMPARE(cli.exitStatus(), QProcess::CrashExit);

        const CliResult resumed = runCli(plainMail(smtp() + QStringList{u"--resume"_s, journal}, u"members.csv"_s));
        QCOMPARE(resumed.exitCode, 0);
        QVERIFY2(resumed.out.contains(u"Delivery report: "_s + journal), qPrintable(resumed.out.right(300)));
        QMap<QString, int> received;
        for (const SmtpSink::StoredMessage& message : m_sink->messages(seen + Members, 20000).mid(seen)) {
            ++received[message.envelope.value(u"to"_s).toArray().first().toString()];
        }
        QCOMPARE(received.size(), Members);
        for (auto it = received.cbegin(); it != received.cend(); ++it) {
            QVERIFY2(it.value() == 1, qPrintable(u"%1 got %2 mails"_s.arg(it.key()).arg(it.value())));
        }

        // Another subject is another run: the journal is not taken for it.
        QStringList other = plainMail(smtp() + QStringList{u"--resume"_s, journal}, u"members.csv"_s);
        other[other.indexOf(u"News for [[FirstName]] [[LastName]]"_s)] = u"Other news"_s;
        const CliResult refused = runCli(other);
        QCOMPARE(refused.exitCode, 2);
        QVERIFY(refused.err.contains(u"belongs to another run"_s));
    }

    void rateAndTestAddress_reachTheRun()
    {
        QVERIFY2(m_sink->isRunning(), qPrintable(m_sink->errorText()));
        // The pace and the test mail are the SMTP run's; here only that the options reach it.
        const qsizetype seen = m_sink->messages().size();
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(runCli(plainMail(smtp() + QStringList{u"--rate"_s, u"120"_s})).exitCode, 0);
        QVERIFY2(clock.elapsed() >= 500, qPrintable(QString::number(clock.elapsed()))); // one wait of 500 ms
        QCOMPARE(m_sink->messages(seen + 2).size(), seen + 2);

        const CliResult test = runCli(plainMail(smtp() + QStringList{u"--test-to"_s, u"me@example.com"_s}));
        QCOMPARE(test.exitCode, 0);
        QVERIFY2(test.out.startsWith(u"Test mail of row 1 to me@example.com: sent"_s), qPrintable(test.out));
        const QList<SmtpSink::StoredMessage> stored = m_sink->messages(seen + 3);
        QCOMPARE(stored.size(), seen + 3);
        QCOMPARE(stored.last().envelope.value(u"to"_s).toArray(), QJsonArray{u"me@example.com"_s});
    }

    void theOutbox_handsEachMailToTheSystemsTransport()
    {
        const QString msmtp = QStandardPaths::findExecutable(u"msmtp"_s);
        if (msmtp.isEmpty()) {
            QSKIP("msmtp is not installed (scripts/install-deps.sh installs it)");
        }
        QVERIFY2(m_sink->isRunning(), qPrintable(m_sink->errorText()));
        const qsizetype seen = m_sink->messages().size();
        const QString configuration = path(u"msmtprc"_s);
        QVERIFY(TestSupport::writeFile(configuration, "account default\nhost 127.0.0.1\nport " +
                                                          QByteArray::number(m_sink->port()) +
                                                          "\nfrom news@example.com\nauth off\ntls off\n"));
        QFile::setPermissions(configuration, QFile::ReadOwner | QFile::WriteOwner);
        QStringList arguments = plainMail({});
        arguments << u"--sendmail"_s << u"--sendmail-path"_s << msmtp + u" -C "_s + configuration;
        CliResult result = runCli(arguments);
        QCOMPARE(result.exitCode, 0);
        QVERIFY2(result.out.startsWith(u"1\tann@example.com\tsent\n2\tmoe@example.com\tsent\n"
                                       u"3\tno-address\tskipped: no address\nAll mails are successfully sent. "
                                       u"(2 sent, 0 failed, 1 skipped)\n"_s),
                 qPrintable(result.out));
        const QList<SmtpSink::StoredMessage> stored = m_sink->messages(seen + 2).mid(seen);
        QCOMPARE(stored.size(), 2);
        QCOMPARE(stored.at(1).envelope.value(u"to"_s).toArray(), QJsonArray{u"moe@example.com"_s});
        QVERIFY(SmtpSink::decodedHtml(stored.at(1).content).contains("<p>Dear Sir of Beta, Inc</p>"));

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

    void search_byNameAndWords()
    {
        // A folder: alpha and beta, a subfolder with gamma, Word's lock file and a text file.
        const QString root = path(u"tree"_s);
        QVERIFY(QDir().mkpath(root + u"/sub"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, root + u"/alpha.docx"_s, u"hello zanzibar"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, root + u"/beta.docx"_s, u"hello world"_s));
        QVERIFY(TestSupport::makeDocx(u"plain"_s, root + u"/sub/gamma.docx"_s, u"zanzibar twice zanzibar"_s));
        QVERIFY(QFile::copy(root + u"/alpha.docx"_s, root + u"/~$alpha.docx"_s));
        QVERIFY(writeFile(root + u"/notes.txt"_s, "zanzibar"));
        const std::pair<QStringList, QStringList> cases[] = {
            {{}, {u"alpha.docx"_s, u"beta.docx"_s}},
            {{u"--subfolders"_s}, {u"alpha.docx"_s, u"beta.docx"_s, u"gamma.docx"_s}},
            {{u"--pattern"_s, u"*.txt"_s}, {}},
            {{u"--subfolders"_s, u"--words"_s, u" zanzibar "_s}, {u"alpha.docx"_s, u"gamma.docx"_s}},
            {{u"--subfolders"_s, u"--words"_s, u"Zanzibar"_s, u"--match-case"_s}, {}},
            {{u"--subfolders"_s, u"--words"_s, u"zanz"_s, u"--whole-word"_s}, {}},
        };
        static const QRegularExpression row(
            u"^(\\S+)\t(\\S+)\t\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d [AP]M\t\\d+ KB\t.+$"_s);
        for (const auto& [options, names] : cases) {
            const CliResult result = runCli(QStringList{u"search"_s, u"--folder"_s, root} + options);
            QVERIFY2(result.exitCode == 0 && result.err.isEmpty(), qPrintable(result.err));
            QStringList rows = result.out.split(u'\n', Qt::SkipEmptyParts);
            QCOMPARE(rows.takeLast(), names.isEmpty() ? u"0 Items"_s : u"%1 items"_s.arg(names.size()));
            QStringList found;
            for (const QString& line : std::as_const(rows)) {
                const QRegularExpressionMatch match = row.match(line);
                QVERIFY2(match.hasMatch(), qPrintable(line));
                found << match.captured(1);
                QCOMPARE(match.captured(2), found.last() == u"gamma.docx"_s ? root + u"/sub"_s : root);
            }
            found.sort();
            QCOMPARE(found, names);
        }

        // Documents that cannot be searched are named, one line each, and the run ends with status 1.
        const QByteArray betaBefore = readFile(root + u"/beta.docx"_s);
        const QDateTime betaTime = QFileInfo(root + u"/beta.docx"_s).lastModified();
        CliResult result = runCli(
            {u"search"_s, u"--folder"_s, root, u"--words"_s, u"[a-"_s, u"--wildcards"_s, u"--replace"_s, u"x"_s});
        QCOMPARE(result.exitCode, 1);
        QVERIFY(result.out.endsWith(u"0 Items\n"_s));
        const QStringList errors = result.err.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(errors.size(), 3); // Word's lock file beside alpha is no document either
        QVERIFY2(errors.at(0).startsWith(u"quillbay-cli: "_s + root + u"/alpha.docx: "_s), qPrintable(errors.at(0)));
        QVERIFY(errors.at(1).contains(u"beta.docx: the wildcard text is not valid"_s));

        // A replace changes only the documents hit; what a save cut off by a killed run left
        // behind is cleared.
        QVERIFY(writeFile(root + u"/beta.docx.quillbay-saving"_s, "half a package"));
        result = runCli({u"search"_s, u"--folder"_s, root, u"--subfolders"_s, u"--words"_s, u"zanzibar"_s,
                         u"--replace"_s, u"Paris"_s});
        QCOMPARE(result.exitCode, 0);
        QVERIFY(result.out.endsWith(u"2 items\n"_s));
        QVERIFY2(result.err.startsWith(u"Originals kept in "_s), qPrintable(result.err));
        QCOMPARE(TestSupport::documentText(root + u"/alpha.docx"_s), u"hello Paris\r"_s);
        QCOMPARE(TestSupport::documentText(root + u"/sub/gamma.docx"_s), u"Paris twice Paris\r"_s);
        QCOMPARE(readFile(root + u"/beta.docx"_s), betaBefore);
        QCOMPARE(QFileInfo(root + u"/beta.docx"_s).lastModified(), betaTime);
        QVERIFY(!QFile::exists(root + u"/beta.docx.quillbay-saving"_s));
    }
};

QTEST_GUILESS_MAIN(CliTest)
#include "tst_cli.moc"
