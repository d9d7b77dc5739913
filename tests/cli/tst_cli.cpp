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
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

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

using TestSupport::readFile;
using TestSupport::writeFile;
// The date line differs from run to run; everything else of a message is fixed.
QByteArray withoutDate(QByteArray message)
{
    static const QRegularExpression date(u"\r\nDate: [^\r]*\r\n"_s);
    return QString::fromLatin1(message).replace(date, u"\r\nDate: (date)\r\n"_s).toLatin1();
}

QStringList sortedLines(const QString& text)
{
    QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
    lines.sort();
    return lines;
}

} // namespace

class CliTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_contacts;
    QString m_body;

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // The mail options every mail test shares, with the run's target behind them.
    QStringList mailArguments(const QStringList& target) const
    {
        return QStringList{u"mail"_s,        u"--contacts"_s,
                           m_contacts,       u"--skip-first-row"_s,
                           u"--subject"_s,   u"News for [[FirstName]] [[LastName]]"_s,
                           u"--body"_s,      m_body,
                           u"--from"_s,      u"news@example.com"_s,
                           u"--from-name"_s, u"Quillbay News"_s} +
               target;
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
    }

    void init() { TestSupport::resetSettings(); }

    void help_ofEveryCommand()
    {
        for (const QString& command : {u"mail"_s, u"letters"_s, u"search"_s}) {
            const CliResult result = runCli({command, u"--help"_s});
            QCOMPARE(result.exitCode, 0);
            QVERIFY2(result.out.startsWith(u"Usage: quillbay-cli "_s + command), qPrintable(result.out));
        }
        const CliResult overview = runCli({u"--help"_s});
        QCOMPARE(overview.exitCode, 0);
        QVERIFY(overview.out.contains(u"mail"_s) && overview.out.contains(u"letters"_s));
    }

    void badArguments_endWithStatusTwoAndOneLine()
    {
        const QString csv = path(u"contacts.csv"_s);
        const QString body = path(u"body.html"_s);
        const QStringList toFolder = {u"--eml-dir"_s, path(u"never"_s)};
        // A mail run of these contacts, or with this body, to a folder.
        const auto mailOf = [&](const QString& contacts, const QString& bodyFile = {}) {
            return QStringList{u"mail"_s,
                               u"--contacts"_s,
                               contacts,
                               u"--subject"_s,
                               u"Hi"_s,
                               u"--body"_s,
                               bodyFile.isEmpty() ? body : bodyFile} +
                   toFolder;
        };
        const QStringList mail = mailOf(csv);
        QList<std::pair<QStringList, QString>> rows;
        const auto row = [&rows](const char*, const QStringList& arguments, const QString& expected) {
            rows.append({arguments, expected});
        };
        QVERIFY(writeFile(path(u"noColumns.csv"_s), "\r\nAnn,ann@example.com\r\n"));
        QVERIFY(writeFile(path(u"headerOnly.csv"_s), "Name,Email\r\n"));
        QVERIFY(writeFile(path(u"strangeColumns.csv"_s), "Nick,Mail\r\nAl,al@example.com\r\n"));
        QVERIFY(writeFile(path(u"picture.html"_s), "<img src=\"file://" + path(u"gone.png"_s).toUtf8() + "\">"));
        QVERIFY(writeFile(path(u"cut.vcf"_s), "BEGIN:VCARD\r\nFN:Ann\r\n"));
        // A pipe nobody writes to would hold the run for ever; a folder or an empty file is no list.
        QVERIFY(::mkfifo(QFile::encodeName(path(u"pipe.html"_s)).constData(), 0600) == 0);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, path(u"letter.docx"_s), u"Dear [[FirstName]]"_s));
        QVERIFY(TestSupport::makeWorkbook(u"xls"_s, path(u"people.xls"_s)));
        const QStringList letters = {u"letters"_s, u"--contacts"_s, csv, u"--template"_s, path(u"letter.docx"_s)};
        const QStringList smtp = {u"--smtp"_s, u"localhost"_s};
        const QStringList mailSmtp = mail.mid(0, mail.size() - 2) + smtp;

        row("no command", {}, u"no command given"_s);
        row("unknown command", {u"merge"_s}, u"unknown command \"merge\""_s);
        row("unknown option", {u"mail"_s, u"--colour"_s}, u"Unknown option 'colour'"_s);
        row("stray argument", {u"search"_s, u"--folder"_s, m_dir.path(), u"extra"_s},
            u"unexpected argument \"extra\""_s);
        row("no contacts", QStringList{u"mail"_s, u"--subject"_s, u"Hi"_s} + toFolder,
            u"--contacts FILE is required"_s);
        row("unknown kind", mail + QStringList{u"--kind"_s, u"tsv"_s}, u"unknown --kind \"tsv\""_s);
        row("a text file read as a workbook", mail + QStringList{u"--kind"_s, u"excel"_s, u"--sheet"_s, u"Sheet1"_s},
            u"cannot read the workbook: %1 is not an Excel workbook"_s.arg(csv));
        row("a sheet the workbook lacks", mailOf(path(u"people.xls"_s)) + QStringList{u"--sheet"_s, u"Third"_s},
            u"the workbook has no sheet \"Third\" (its sheets: People, Second)"_s);
        row("password from the environment, for a text file", mail + QStringList{u"--db-password-env"_s, u"HOME"_s},
            u"--db-password-env belongs to --kind access"_s);
        row("two passwords",
            mail + QStringList{u"--kind"_s, u"access"_s, u"--password"_s, u"x"_s, u"--db-password-env"_s, u"HOME"_s},
            u"give the password either with --password or with --db-password-env"_s);
        row("password variable not set",
            mail + QStringList{u"--kind"_s, u"access"_s, u"--db-password-env"_s, u"QUILLBAY_TEST_NO_SUCH_VARIABLE"_s},
            u"--db-password-env: the environment variable QUILLBAY_TEST_NO_SUCH_VARIABLE is not set"_s);
        row("no heading row in a table", mail + QStringList{u"--kind"_s, u"access"_s, u"--skip-first-row"_s},
            u"--skip-first-row does not apply to --kind access"_s);
        row("address book by its ending",
            {u"letters"_s, u"--contacts"_s, path(u"people.vcf"_s), u"--template"_s, path(u"letter.docx"_s),
             u"--out-dir"_s, path(u"never"_s)},
            u"File Doesn't Exists: "_s + path(u"people.vcf"_s));
        row("address book of another ending", mail + QStringList{u"--kind"_s, u"addressbook"_s},
            u"Choose a Valid file!"_s);
        row("map of an address book", mailOf(path(u"cut.vcf"_s)) + QStringList{u"--map"_s, u"FirstName=FN"_s},
            u"--map belongs to the kinds with columns"_s);
        row("no mail client",
            QStringList{u"mail"_s, u"--kind"_s, u"mailclient"_s, u"--subject"_s, u"Hi"_s, u"--body"_s, body} + toFolder,
            u"the mail client has no default address book"_s);
        row("sheet of a text file", mail + QStringList{u"--sheet"_s, u"S"_s}, u"--sheet belongs to --kind excel"_s);
        row("missing file", mailOf(path(u"absent.csv"_s)), u"File Doesn't Exists"_s);
        row("first line empty", mailOf(path(u"noColumns.csv"_s)), u"names no columns"_s);
        row("no rows", mailOf(path(u"headerOnly.csv"_s)) + QStringList{u"--skip-first-row"_s}, u"holds no contacts"_s);
        row("nothing guessed", mailOf(path(u"strangeColumns.csv"_s)), u"Please Map any Field"_s);
        row("map of no field", mail + QStringList{u"--map"_s, u"Nick=Region"_s},
            u"no merge field is called \"Nick\""_s);
        row("map of no column", mail + QStringList{u"--map"_s, u"FirstName=Nickname"_s},
            u"the contact list has no column \"Nickname\""_s);
        row("map without =", mail + QStringList{u"--map"_s, u"FirstName"_s}, u"--map wants FIELD=COLUMN"_s);
        row("four customs",
            mail + QStringList{u"--custom"_s, u"A=Region"_s, u"--custom"_s, u"B=Region"_s, u"--custom"_s, u"C=Region"_s,
                               u"--custom"_s, u"D=Region"_s},
            u"at most three --custom fields"_s);
        row("blank of a field without one", mail + QStringList{u"--blank"_s, u"WebPage=x"_s},
            u"--blank wants FirstName, LastName"_s);
        row("no subject", QStringList{u"mail"_s, u"--contacts"_s, csv, u"--body"_s, body} + toFolder,
            u"--subject TEXT is required"_s);
        QStringList emptySubject = mail;
        emptySubject[emptySubject.indexOf(u"Hi"_s)] = QString();
        row("empty subject", emptySubject, u"Please Specify a Subject"_s);
        row("unreadable body", mailOf(csv, path(u"absent.html"_s)), u"cannot read the body"_s);
        row("missing picture", mailOf(csv, path(u"picture.html"_s)), u"names an image that cannot be read"_s);
        row("missing attachment", mail + QStringList{u"--attach"_s, path(u"absent.docx"_s)},
            u"Select a Valid Template File"_s);
        row("no target", mail.mid(0, mail.size() - 2),
            u"give one of --eml-dir DIR, --smtp HOST[:PORT] and --sendmail"_s);
        row("bad port", mail.mid(0, mail.size() - 2) + QStringList{u"--smtp"_s, u"localhost:99999"_s},
            u"--smtp wants HOST or HOST:PORT"_s);
        row("bad tls", mailSmtp + QStringList{u"--tls"_s, u"always"_s}, u"--tls wants auto, starttls, ssl or off"_s);
        row("password variable unset", mailSmtp + QStringList{u"--password-env"_s, u"QB_NOT_SET_ANYWHERE"_s},
            u"the environment variable QB_NOT_SET_ANYWHERE is not set"_s);
        row("no sender", mailSmtp, u"no sender address"_s);
        row("letters without target", letters, u"give either --out-dir DIR or --combined FILE"_s);
        row("letters over the template", letters + QStringList{u"--combined"_s, path(u"letter.docx"_s)},
            u"Document Name Invalid"_s);
        row("letters without template", {u"letters"_s, u"--contacts"_s, csv, u"--out-dir"_s, path(u"never"_s)},
            u"Select a Valid Template File"_s);
        row("body is a pipe", mailOf(csv, path(u"pipe.html"_s)), u"is not a plain file"_s);
        row("contacts is a folder", mailOf(m_dir.path()), u"is a folder, not a file"_s);
        row("search without folder", {u"search"_s, u"--words"_s, u"x"_s},
            u"--folder DIR must name an existing folder"_s);
        row("replace without words", {u"search"_s, u"--folder"_s, m_dir.path(), u"--replace"_s, u"y"_s},
            u"--replace needs --words TEXT"_s);

        for (const auto& [arguments, expected] : rows) {
            const CliResult result = runCli(arguments);
            QVERIFY2(result.exitCode == 2 && result.out.isEmpty() && result.err.startsWith(u"quillbay-cli: "_s) &&
                         result.err.count(u'\n') == 1 && result.err.endsWith(u'\n') && result.err.contains(expected),
                     qPrintable(expected + u" / "_s + result.err));
        }
        // Nothing was written and no map was remembered.
        QVERIFY(!QFileInfo::exists(path(u"never/00001.eml"_s)));
        SettingsStore::instance().reload();
        QCOMPARE(SettingsStore::instance().value(Keys::CommaFile), QString());
    }

    void mailToEmlDir_writesTheBytesThatFollowData()
    {
        const QString folder = path(u"eml"_s);
        const CliResult result = runCli(mailArguments(
            {u"--custom"_s, u"Region=Region"_s, u"--reply-to"_s, u"answers@example.com"_s, u"--eml-dir"_s, folder}));
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
        QVERIFY2(second.contains("\r\nDate: "), second.constData());
        static const char expected[] = "Reply-To: answers@example.com\r\n"
                                       "From: Quillbay News<news@example.com>\r\n"
                                       "To: moe@example.com\r\n"
                                       "Date: (date)\r\n"
                                       "Subject: News for Sir Moe\r\n"
                                       "Content-Type: text/html;\tcharset=us-ascii\r\n"
                                       "\r\n"
                                       "<p>Dear Sir of Beta, Inc (South)</p>\r\n"
                                       ".\0\r\n"
                                       "<p>.x</p>\r\n";
        QCOMPARE(withoutDate(second), QByteArray(expected, sizeof(expected) - 1));
        QVERIFY(readFile(folder + u"/00001.eml"_s).contains("<p>Dear Ann of Acme (North)</p>"));
    }

    void mail_aGivenBlankText_isTakenTrimmed()
    {
        const CliResult result =
            runCli(mailArguments({u"--blank"_s, u"FirstName=  Friend "_s, u"--eml-dir"_s, path(u"given"_s)}));
        QCOMPARE(result.exitCode, 0);
        QVERIFY(readFile(path(u"given/00002.eml"_s)).contains("Subject: News for Friend Moe\r\n"));
    }

    void mail_withoutMap_remembersTheMapOfThatFileOnly()
    {
        // "Mail" and "Firm" are in no alias list; "Name" is guessed for the first name.
        const QByteArray list = "Name,Mail,Firm\r\nAl,al@example.com,Zeta\r\n";
        const QString first = path(u"remembered/list.csv"_s);
        const QString copy = path(u"remembered/copy.csv"_s);
        QVERIFY(writeFile(first, list));
        QVERIFY(writeFile(copy, list));
        QVERIFY(writeFile(path(u"remembered/body.html"_s), "[[FirstName]]|[[CompanyName]]"));
        const auto run = [this](const QString& contacts, const QStringList& more, const QString& folder) {
            return runCli(QStringList{u"mail"_s, u"--contacts"_s, contacts, u"--skip-first-row"_s, u"--subject"_s,
                                      u"Hi"_s, u"--body"_s, path(u"remembered/body.html"_s), u"--eml-dir"_s,
                                      path(folder)} +
                          more);
        };

        // --map replaces the standard fields: the guessed first name is gone, so its blank text shows.
        CliResult result =
            run(first, {u"--map"_s, u"Email1Address=Mail"_s, u"--map"_s, u"CompanyName=Firm"_s}, u"r1"_s);
        QCOMPARE(result.out.section(u'\n', 0, 0), u"1\tal@example.com\tsent"_s);
        QVERIFY(readFile(path(u"r1/00001.eml"_s)).endsWith("\r\n\r\nSir|Zeta\r\n"));

        result = run(first, {}, u"r2"_s);
        QCOMPARE(result.out.section(u'\n', 0, 0), u"1\tal@example.com\tsent"_s);
        QVERIFY(readFile(path(u"r2/00001.eml"_s)).endsWith("\r\n\r\nSir|Zeta\r\n"));

        // Another file with the same columns gets the dictionary guess: no address column.
        result = run(copy, {}, u"r3"_s);
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out.section(u'\n', 0, 0), u"1\t\tskipped: no address"_s);
    }

    void mail_fromAWorkbook_readsTheSheetThroughTheWizardsImporter()
    {
        const QString book = path(u"workbook/contacts.xlsx"_s);
        QVERIFY(QDir().mkpath(path(u"workbook"_s)));
        QVERIFY(TestSupport::makeWorkbook(u"xlsx"_s, book));
        QVERIFY(writeFile(path(u"workbook/body.html"_s), "[[FirstName]]|[[CompanyName]]|[[Joined]]|[[Amount]]"));
        const auto run = [this, &book](const QStringList& more, const QString& folder) {
            return runCli(QStringList{u"mail"_s, u"--contacts"_s, book, u"--skip-first-row"_s, u"--subject"_s, u"Hi"_s,
                                      u"--body"_s, path(u"workbook/body.html"_s), u"--eml-dir"_s, path(folder)} +
                          more);
        };
        CliResult result =
            run({u"--sheet"_s, u"Contacts"_s, u"--custom"_s, u"Joined=Joined"_s, u"--custom"_s, u"Amount=Amount"_s},
                u"workbook/one"_s);
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QVERIFY(readFile(path(u"workbook/one/00001.eml"_s)).endsWith("\r\n\r\nAnn|Acme|1/15/2024|12\r\n"));

        // Without --sheet the first sheet is read; the map remembered for this workbook and sheet
        // comes back with its custom fields.
        result = run({}, u"workbook/two"_s);
        QCOMPARE(result.exitCode, 0);
        QVERIFY(
            readFile(path(u"workbook/two/00002.eml"_s)).endsWith("\r\n\r\nBj\xC3\xB6rn|Nord, AB|12/31/1999|0.1\r\n"));
    }

    void mailWithAttachment_eachContactGetsItsOwnCopy()
    {
        const QString offer = path(u"offer.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, offer, u"Offer for [[FirstName]] [[LastName]]|of [[CompanyName]]"_s));
        const QString folder = path(u"attached"_s);
        const CliResult result = runCli(mailArguments({u"--attach"_s, offer, u"--eml-dir"_s, folder}));
        QCOMPARE(result.exitCode, 0);
        const QList<QByteArray> expected = {"Offer for Ann Lee", "Offer for  Moe"};
        for (int k = 0; k < expected.size(); ++k) {
            const QByteArray message = readFile(folder + u"/0000%1.eml"_s.arg(k + 1));
            const QByteArray copy =
                SmtpSink::decodedPart(message, "Content-Type: application/msword; name=\"offer.docx\"\r\n");
            QVERIFY2(!copy.isEmpty(), message.left(600).constData());
            const QString copyPath = path(u"copy%1.docx"_s.arg(k));
            QVERIFY(writeFile(copyPath, copy));
            // In a document the row's text stands as it is: no blank text for Moe's first name.
            QVERIFY2(TestSupport::documentText(copyPath).startsWith(QString::fromLatin1(expected.at(k)) + u'\r'),
                     qPrintable(TestSupport::documentText(copyPath)));
        }
        QVERIFY(TestSupport::documentText(offer).startsWith(u"Offer for [[FirstName]] [[LastName]]"_s));
    }

    void mail_aTemplateThatCannotBeRead_stopsBeforeTheFirstMail_andEachContactHasOneLine()
    {
        const QString broken = path(u"broken-offer.docx"_s);
        QVERIFY(writeFile(broken, "no package at all"));
        const CliResult stopped = runCli(mailArguments({u"--attach"_s, broken, u"--eml-dir"_s, path(u"never-sent"_s)}));
        QCOMPARE(stopped.exitCode, 1);
        QVERIFY2(stopped.err.startsWith(u"quillbay-cli: the attachment template "_s), qPrintable(stopped.err));
        QVERIFY(QDir(path(u"never-sent"_s)).entryList(QDir::Files).isEmpty());

        // A quoted address with a line break cannot add a line of its own to the report.
        const QString forged = path(u"forged.csv"_s);
        QVERIFY(writeFile(forged, "Name,Email\nAnn,\"ann@example.com\nFAKE-ROW\tvictim@example.com\tsent\"\n"));
        QStringList arguments = mailArguments({u"--eml-dir"_s, path(u"forged"_s)});
        arguments[arguments.indexOf(m_contacts)] = forged;
        const CliResult report = runCli(arguments);
        const QStringList lines = report.out.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3); // the contact, the closing line and the journal's
        QVERIFY2(lines.at(0).startsWith(u"1\tann@example.com FAKE-ROW victim@example.com sent\t"_s),
                 qPrintable(lines.at(0)));
    }

    void mailOverSmtp_theServerGetsWhatTheFolderHolds()
    {
        SmtpSink sink({true, false, u"mailer:s3cret"_s, 0, 0, {}});
        QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
        const QString body = path(u"plain.html"_s);
        QVERIFY(writeFile(body, "<p>Dear [[FirstName]] of [[CompanyName]]</p>"));
        QStringList arguments = mailArguments({});
        arguments[arguments.indexOf(m_body)] = body;

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QB_MAIL_PASSWORD"_s, u"s3cret"_s);
        environment.insert(u"SSL_CERT_FILE"_s, sink.authorityCertificate());
        const CliResult sent =
            runCli(arguments + QStringList{u"--smtp"_s, u"localhost:%1"_s.arg(sink.port()), u"--user"_s, u"mailer"_s,
                                           u"--password-env"_s, u"QB_MAIL_PASSWORD"_s},
                   environment);
        QCOMPARE(sent.err, QString());
        QCOMPARE(sent.exitCode, 0);
        QCOMPARE(sent.out.section(u'\n', 0, 1), u"1\tann@example.com\tsent\n2\tmoe@example.com\tsent"_s);
        const QList<SmtpSink::StoredMessage> received = sink.messages(2);
        QCOMPARE(received.size(), 2);
        QCOMPARE(received.at(0).envelope.value(u"to"_s).toArray().at(0).toString(), u"ann@example.com"_s);
        QCOMPARE(received.at(1).envelope.value(u"from"_s).toString(), u"news@example.com"_s);
        QVERIFY(received.at(1).envelope.value(u"authenticated"_s).toBool());
        QVERIFY(received.at(1).envelope.value(u"tls"_s).toBool());

        const CliResult written = runCli(arguments + QStringList{u"--eml-dir"_s, path(u"same"_s)});
        QCOMPARE(written.out.section(u"Delivery report: "_s, 0, 0), sent.out.section(u"Delivery report: "_s, 0, 0));
        QCOMPARE(withoutDate(received.at(1).content), withoutDate(readFile(path(u"same/00002.eml"_s))));
    }

    void mailOverSmtp_tlsModes()
    {
        const struct
        {
            const char* mode;
            bool starttls;
            bool implicitTls;
            QString error;
        } cases[] = {
            {"off", true, false, {}}, // the offer is ignored
            {"starttls", false, false, u"offers no STARTTLS"_s},
            {"ssl", false, true, {}}, // TLS from the first byte on any port
        };
        for (const auto& one : cases) {
            SmtpSink sink({one.starttls, one.implicitTls, QString(), 0, 0, {}});
            QVERIFY2(sink.isRunning(), qPrintable(sink.errorText()));
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(u"SSL_CERT_FILE"_s, sink.authorityCertificate());
            const QString mode = QString::fromLatin1(one.mode);
            const CliResult result =
                runCli(mailArguments({u"--smtp"_s, u"localhost:%1"_s.arg(sink.port()), u"--tls"_s, mode}), environment);
            if (one.error.isEmpty()) {
                QVERIFY2(result.exitCode == 0 && result.err.isEmpty(), qPrintable(result.err));
                const QList<SmtpSink::StoredMessage> received = sink.messages(2);
                QCOMPARE(received.size(), 2);
                QCOMPARE(received.at(0).envelope.value(u"tls"_s).toBool(), mode != u"off"_s);
            } else {
                QCOMPARE(result.exitCode, 1);
                QVERIFY2(result.err.contains(one.error) && result.err.count(u'\n') == 1, qPrintable(result.err));
                QVERIFY(result.out.contains(u"Process Cancelled!"_s));
                QCOMPARE(sink.messages(0, 200).size(), 0);
            }
        }
    }

    void mailOverSmtp_cutOffRuns_endWithStatusOne()
    {
        // A closed port: the socket error ends the run.
        quint16 closedPort = 0;
        {
            QTcpServer probe;
            QVERIFY(probe.listen(QHostAddress::LocalHost));
            closedPort = probe.serverPort();
        }
        CliResult result = runCli(mailArguments({u"--smtp"_s, u"127.0.0.1:%1"_s.arg(closedPort)}));
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.err.contains(u"Connection refused"_s), qPrintable(result.err));
        QVERIFY2(result.out.contains(u"\tskipped: not reached\nProcess Cancelled! (0 sent, 1 failed, 2 skipped)\n"_s),
                 qPrintable(result.out));

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
        const QString folder = path(u"fromBook"_s);
        const CliResult result =
            runCli({u"mail"_s, u"--contacts"_s, book, u"--subject"_s, u"News for [[FirstName]] [[LastName]]"_s,
                    u"--body"_s, m_body, u"--from"_s, u"news@example.com"_s, u"--eml-dir"_s, folder});
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(QDir(folder).entryList(QDir::Files), (QStringList{u"00001.eml"_s, u"00002.eml"_s}));
        QVERIFY(readFile(folder + u"/00001.eml"_s).contains("Subject: News for Ann Lee\r\n"));
        // Blank-field texts belong to the mapped sources: Moe's empty first name stays empty.
        QVERIFY(readFile(folder + u"/00002.eml"_s).contains("Subject: News for  Moe\r\n"));
        SettingsStore::instance().reload();
        QCOMPARE(SettingsStore::instance().value(Keys::WabFilename), book);
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
        const QStringList mail = {u"mail"_s,   u"--kind"_s, u"mailclient"_s, u"--subject"_s, u"Hi [[FirstName]]"_s,
                                  u"--body"_s, m_body,      u"--eml-dir"_s};
        CliResult result = runCli(mail + QStringList{path(u"client1"_s)}, environment);
        QCOMPARE(result.err, QString());
        QCOMPARE(QDir(path(u"client1"_s)).entryList(QDir::Files), (QStringList{u"00001.eml"_s, u"00002.eml"_s}));
        result = runCli(mail + QStringList{path(u"client2"_s), u"--contacts"_s, u"Clients"_s}, environment);
        QCOMPARE(result.exitCode, 0);
        QVERIFY(readFile(path(u"client2/00001.eml"_s)).contains("Subject: Hi Cy\r\n"));
        result = runCli(mail + QStringList{path(u"client3"_s), u"--contacts"_s, u"Friends"_s}, environment);
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains(u"no address book \"Friends\"; it has \"Personal Address Book\""_s),
                 qPrintable(result.err));
    }

    void letters_inAFolderAndCombined()
    {
        const QString letter = path(u"letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, letter,
                                      u"Dear [[FirstName]] [[LastName]]|[[CompanyName]], [[Region]]"_s));
        const QStringList source = {u"letters"_s,  u"--contacts"_s,    m_contacts,      u"--skip-first-row"_s,
                                    u"--custom"_s, u"Region=Region"_s, u"--template"_s, letter};
        const QString folder = path(u"post/letters"_s);
        CliResult result = runCli(source + QStringList{u"--out-dir"_s, folder});
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out, folder + u"/Quillbay+1.docx\n"_s + folder + u"/Quillbay+2.docx\n"_s + folder +
                                 u"/Quillbay+3.docx\nFiles are Saved Successfully\n"_s);
        // No blank text in a letter: Moe's empty first name simply goes.
        QCOMPARE(TestSupport::documentText(folder + u"/Quillbay+2.docx"_s), u"Dear  Moe\rBeta, Inc, South\r"_s);

        const QString combined = path(u"post/all.docx"_s);
        result = runCli(source + QStringList{u"--combined"_s, combined});
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out, combined + u"\nall.docx is Successfully Stored\n"_s);
        const QString text = TestSupport::documentText(combined);
        QVERIFY2(text.startsWith(u"Dear Ann Lee\rAcme, North\r"_s), qPrintable(text));
        QVERIFY2(text.contains(u"Dear  Moe"_s) && text.contains(u"Dear Bob Ray\rGamma, East"_s), qPrintable(text));
        QCOMPARE(text.count(u'\f'), 2);
    }

    void letters_fromAnAccessTable_withThePasswordFromTheEnvironment()
    {
        QB_REQUIRE_ACCESS_FIXTURE(nwind, "nwind.mdb");
        QB_REQUIRE_ACCESS_FIXTURE(empty, "emptyJet4.mdb");
        const QString database = path(u"access/shop.mdb"_s);
        QVERIFY(QDir().mkpath(path(u"access"_s)));
        QVERIFY(TestSupport::makeProtectedMdb(nwind, database, u"Nord;wind 1"_s));
        const QString letter = path(u"access/letter.docx"_s);
        QVERIFY(TestSupport::makeDocx(u"plain"_s, letter, u"[[CompanyName]]: [[Business-Phone]]"_s));
        const QStringList letters = {u"letters"_s,   u"--contacts"_s,      database, u"--template"_s, letter,
                                     u"--out-dir"_s, path(u"access/out"_s)};
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"SHOP_PASSWORD"_s, u"Nord;wind 1"_s);

        // The kind comes from the file's ending; without the password the database stays shut.
        CliResult result = runCli(letters + QStringList{u"--table"_s, u"Shippers"_s});
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains(u"Please enter a valid password!"_s), qPrintable(result.err));
        result = runCli(letters + QStringList{u"--table"_s, u"Clients"_s, u"--db-password-env"_s, u"SHOP_PASSWORD"_s},
                        environment);
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains(u"has no table \"Clients\" (its tables: Categories, Customers, Employees, "
                                     u"Order Details, Orders, Products, Shippers, Suppliers)"_s),
                 qPrintable(result.err));

        // The dictionary takes CompanyName and Phone; no address column is needed for letters.
        result = runCli(letters + QStringList{u"--table"_s, u"Shippers"_s, u"--db-password-env"_s, u"SHOP_PASSWORD"_s},
                        environment);
        QCOMPARE(result.err, QString());
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out.count(u".docx\n"_s), 3);
        QCOMPARE(TestSupport::documentText(path(u"access/out/Quillbay+2.docx"_s)),
                 u"United Package: (503) 555-3199\r"_s);
        // The database, its table and its password are remembered with the map, as the wizard does.
        SettingsStore::instance().reload();
        QCOMPARE(SettingsStore::instance().value(Keys::MdbFileNameRead), database);
        QCOMPARE(SettingsStore::instance().value(Keys::AccessTableName), u"Shippers"_s);
        QCOMPARE(SettingsStore::instance().value(Keys::AccessPassword), u"Nord;wind 1"_s);
        QCOMPARE(GetSetting(u"MSAccess"_s, u"9"_s), u"Phone"_s);

        result = runCli(
            {u"letters"_s, u"--contacts"_s, empty, u"--template"_s, letter, u"--out-dir"_s, path(u"access/none"_s)});
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains(u"(No Tables)"_s), qPrintable(result.err));
    }

    void letters_aTemplateThatCannotBeOpened_stopsAtTheFirstLetter()
    {
        const QString broken = path(u"broken.docx"_s);
        QVERIFY(writeFile(broken, "this is no zip package"));
        const CliResult result = runCli({u"letters"_s, u"--contacts"_s, m_contacts, u"--skip-first-row"_s,
                                         u"--template"_s, broken, u"--out-dir"_s, path(u"brokenLetters"_s)});
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.out, u"0 of 3 letters written\n"_s);
        // The reason is the document engine's own.
        QVERIFY2(result.err.startsWith(u"quillbay-cli: the run stopped at letter 1: not a Word 2007 document"_s),
                 qPrintable(result.err));
        QCOMPARE(QDir(path(u"brokenLetters"_s)).entryList(QDir::Files), QStringList());
    }

    void search_byNameAndWords()
    {
        const std::pair<QStringList, QStringList> cases[] = {
            {{}, {u"alpha.docx"_s, u"beta.docx"_s}},
            {{u"--subfolders"_s}, {u"alpha.docx"_s, u"beta.docx"_s, u"gamma.docx"_s}},
            {{u"--pattern"_s, u"*.txt"_s}, {}},
            {{u"--subfolders"_s, u"--words"_s, u" zanzibar "_s}, {u"alpha.docx"_s, u"gamma.docx"_s}},
            {{u"--subfolders"_s, u"--words"_s, u"Zanzibar"_s, u"--match-case"_s}, {}},
            {{u"--subfolders"_s, u"--words"_s, u"zanz"_s, u"--whole-word"_s}, {}},
        };
        const QString root = searchTree();
        QVERIFY(!root.isEmpty());
        static const QRegularExpression modified(u"^\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d [AP]M$"_s);
        for (const auto& [options, names] : cases) {
            const CliResult result = runCli(QStringList{u"search"_s, u"--folder"_s, root} + options);
            QVERIFY2(result.exitCode == 0 && result.err.isEmpty(), qPrintable(result.err));
            QStringList rows = result.out.split(u'\n', Qt::SkipEmptyParts);
            QVERIFY(!rows.isEmpty());
            QCOMPARE(rows.takeLast(), names.isEmpty() ? u"0 Items"_s : u"%1 items"_s.arg(names.size()));
            QStringList found;
            for (const QString& row : std::as_const(rows)) {
                const QStringList fields = row.split(u'\t');
                QCOMPARE(fields.size(), 5);
                found << fields.at(0);
                QCOMPARE(fields.at(1), fields.at(0) == u"gamma.docx"_s ? root + u"/sub"_s : root);
                QVERIFY2(modified.match(fields.at(2)).hasMatch(), qPrintable(fields.at(2)));
                QVERIFY(fields.at(3).endsWith(u" KB"_s));
                QVERIFY(!fields.at(4).isEmpty());
            }
            found.sort();
            QCOMPARE(found, names);
        }
    }

    void search_replace_changesOnlyTheDocumentsHit()
    {
        const QString root = searchTree();
        QVERIFY(!root.isEmpty());
        const QByteArray betaBefore = readFile(root + u"/beta.docx"_s);
        const QDateTime betaTime = QFileInfo(root + u"/beta.docx"_s).lastModified();
        // What a save cut off by a killed run left behind is cleared by the next replace.
        QVERIFY(writeFile(root + u"/beta.docx.quillbay-saving"_s, "half a package"));
        const CliResult result = runCli({u"search"_s, u"--folder"_s, root, u"--subfolders"_s, u"--words"_s,
                                         u"zanzibar"_s, u"--replace"_s, u"Paris"_s});
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(sortedLines(result.out).filter(u".docx"_s).size(), 2);
        QVERIFY(result.out.endsWith(u"2 items\n"_s));
        QVERIFY2(result.err.startsWith(u"Originals kept in "_s), qPrintable(result.err));
        QCOMPARE(TestSupport::documentText(root + u"/alpha.docx"_s), u"hello Paris\r"_s);
        QCOMPARE(TestSupport::documentText(root + u"/sub/gamma.docx"_s), u"Paris twice Paris\r"_s);
        QCOMPARE(readFile(root + u"/beta.docx"_s), betaBefore);
        QCOMPARE(QFileInfo(root + u"/beta.docx"_s).lastModified(), betaTime);
        QVERIFY(!QFile::exists(root + u"/beta.docx.quillbay-saving"_s));
    }

    void search_documentsThatCannotBeSearched_areNamed_andEndWithStatusOne()
    {
        const QString root = searchTree();
        QVERIFY(!root.isEmpty());
        const CliResult result = runCli(
            {u"search"_s, u"--folder"_s, root, u"--words"_s, u"[a-"_s, u"--wildcards"_s, u"--replace"_s, u"x"_s});
        QCOMPARE(result.exitCode, 1);
        QVERIFY(result.out.endsWith(u"0 Items\n"_s));
        const QStringList errors = result.err.split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(errors.size(), 3); // Word's lock file beside alpha is no document either
        QVERIFY2(errors.at(0).startsWith(u"quillbay-cli: "_s + root + u"/alpha.docx: "_s), qPrintable(errors.at(0)));
        QVERIFY(errors.at(1).contains(u"beta.docx: the wildcard text is not valid"_s));
    }

private:
    // A fresh folder: alpha and beta, a subfolder with gamma, Word's lock file and a text file.
    QString searchTree()
    {
        static int count = 0;
        const QString root = path(u"tree%1"_s.arg(++count));
        const bool made =
            QDir().mkpath(root + u"/sub"_s) &&
            TestSupport::makeDocx(u"plain"_s, root + u"/alpha.docx"_s, u"hello zanzibar"_s) &&
            TestSupport::makeDocx(u"plain"_s, root + u"/beta.docx"_s, u"hello world"_s) &&
            TestSupport::makeDocx(u"plain"_s, root + u"/sub/gamma.docx"_s, u"zanzibar twice zanzibar"_s) &&
            QFile::copy(root + u"/alpha.docx"_s, root + u"/~$alpha.docx"_s) &&
            writeFile(root + u"/notes.txt"_s, "zanzibar");
        return made ? root : QString();
    }
};

QTEST_GUILESS_MAIN(CliTest)
#include "tst_cli.moc"
