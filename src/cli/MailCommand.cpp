#include "MailCommand.h"

#include "CliOutput.h"
#include "CommandParser.h"
#include "ContactSourceOptions.h"
#include "Interruption.h"
#include "core/CommonRoutines.h"
#include "core/MessageBoxes.h"
#include "core/PlainFile.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "core/TextDecoding.h"
#include "core/TextUtil.h"
#include "delivery/DeliveryJournal.h"
#include "delivery/EmlWriter.h"
#include "delivery/InlineImages.h"
#include "delivery/MergedAttachment.h"
#include "delivery/SendmailTransport.h"
#include "delivery/SmtpConversation.h"
#include "delivery/SmtpSendRun.h"
#include "merge/DocumentMerge.h"
#include "merge/WindowlessRunView.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSslCertificate>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString Usage =
    u"quillbay-cli mail --contacts FILE [--kind tab|comma|excel|access|addressbook|mailclient] [--sheet NAME] "
    u"[--table NAME] [--password TEXT | --db-password-env VAR] [--skip-first-row] [--map FIELD=COLUMN]... "
    u"[--custom NAME=COLUMN]... "
    u"[--blank FIELD=TEXT]... --subject TEXT --body FILE.html [--attach TEMPLATE] "
    u"(--eml-dir DIR | --smtp HOST[:PORT] | --sendmail) [--sendmail-path COMMAND] [--tls auto|starttls|ssl|off] "
    u"[--user NAME] [--password-env VAR] [--from ADDR] [--from-name NAME] [--reply-to ADDR] [--rate N] "
    u"[--journal FILE | --resume JOURNAL] [--test-to ADDR]"_s;

void addMailOptions(CommandParser& parser)
{
    ContactSourceOptions::addTo(parser);
    parser.addOption(
        {u"subject"_s, u"The subject; its tokens are merged when it holds \"[[\", else it is trimmed."_s, u"TEXT"_s});
    parser.addOption({u"body"_s,
                      u"The HTML of the mail body, taken as it stands, as if the composer held it: its tokens "
                      u"are merged and its images (src=\"…\") go inside the message."_s,
                      u"FILE.html"_s});
    parser.addOption({u"attach"_s, u"A Word template, attached to each mail with its tokens merged."_s, u"TEMPLATE"_s});
    parser.addOption({u"eml-dir"_s,
                      u"Writes each message as DIR/00001.eml, … (the bytes that would follow DATA); nothing "
                      u"is sent."_s,
                      u"DIR"_s});
    parser.addOption({u"smtp"_s, u"Sends through this server (port 25, or 465 with --tls ssl)."_s, u"HOST[:PORT]"_s});
    parser.addOption({u"sendmail"_s, u"Hands each message to the system's mail transport (sendmail -t -oi)."_s});
    parser.addOption({u"sendmail-path"_s,
                      u"The mail transport and its first arguments (default: the stored setting, "
                      u"/usr/sbin/sendmail)."_s,
                      u"COMMAND"_s});
    parser.addOption({u"rate"_s, u"At most N mails a minute (default: the stored setting; 0: no limit)."_s, u"N"_s});
    parser.addOption({u"journal"_s,
                      u"Writes the delivery journal to FILE (default: a new one in the application folder's Runs)."_s,
                      u"FILE"_s});
    parser.addOption({u"resume"_s,
                      u"Goes on with the interrupted run of this journal: contacts it marks sent are passed over."_s,
                      u"JOURNAL"_s});
    parser.addOption({u"test-to"_s,
                      u"Sends only the first chosen contact's merged mail, to this address, and says what the "
                      u"server answered."_s,
                      u"ADDR"_s});
    parser.addOption({u"tls"_s,
                      u"auto: STARTTLS when offered, TLS from the start on port 465; starttls: STARTTLS "
                      u"required; ssl: TLS from the start; off: no encryption (default: the stored setting)."_s,
                      u"MODE"_s});
    parser.addOption({u"user"_s, u"Logs in with AUTH LOGIN as this user."_s, u"NAME"_s});
    parser.addOption({u"password-env"_s, u"The login password is the value of this environment variable."_s, u"VAR"_s});
    parser.addOption({u"from"_s, u"The sender address (default: the stored one)."_s, u"ADDR"_s});
    parser.addOption({u"from-name"_s, u"The sender's display name (default: the stored one)."_s, u"NAME"_s});
    parser.addOption({u"reply-to"_s, u"The reply address (default: the stored one)."_s, u"ADDR"_s});
}

// The stored SMTP settings with the command's options on top.
Result<SmtpAccount> accountFrom(const CommandParser& parser)
{
    using Failure = Result<SmtpAccount>;
    SmtpAccount account = SmtpAccount::load();
    if (parser.isSet(u"tls"_s)) {
        const QString mode = parser.value(u"tls"_s);
        if (mode == u"auto"_s) {
            account.noEncryption = false;
        } else if (mode == u"starttls"_s) {
            account.noEncryption = false;
            account.tls = SmtpAccount::Tls::StartTls;
        } else if (mode == u"ssl"_s) {
            account.noEncryption = false;
            account.tls = SmtpAccount::Tls::Implicit;
        } else if (mode == u"off"_s) {
            account.noEncryption = true;
        } else {
            return Failure::failure(ErrorCode::BadInput,
                                    u"--tls wants auto, starttls, ssl or off, not \"%1\""_s.arg(mode));
        }
    }
    if (parser.isSet(u"smtp"_s)) {
        const QString server = parser.value(u"smtp"_s);
        const qsizetype colon = server.lastIndexOf(u':');
        account.server = colon < 0 ? server : server.left(colon);
        account.port = account.tls == SmtpAccount::Tls::Implicit ? 465 : 25;
        if (colon >= 0) {
            bool ok = false;
            account.port = server.mid(colon + 1).toInt(&ok);
            if (!ok || account.port < 1 || account.port > 65535) {
                return Failure::failure(ErrorCode::BadInput,
                                        u"--smtp wants HOST or HOST:PORT, not \"%1\""_s.arg(server));
            }
        }
        if (account.server.isEmpty()) {
            return Failure::failure(ErrorCode::BadInput, u"--smtp wants HOST or HOST:PORT, not \"%1\""_s.arg(server));
        }
    }
    if (parser.isSet(u"user"_s)) {
        account.chkAth = 1;
        account.user = parser.value(u"user"_s);
    }
    if (parser.isSet(u"rate"_s)) {
        bool ok = false;
        account.mailsPerMinute = parser.value(u"rate"_s).toInt(&ok);
        if (!ok || account.mailsPerMinute < 0) {
            return Failure::failure(ErrorCode::BadInput, u"--rate wants a number of mails a minute, not \"%1\""_s.arg(
                                                             parser.value(u"rate"_s)));
        }
    }
    if (parser.isSet(u"password-env"_s)) {
        const QString variable = parser.value(u"password-env"_s);
        if (!qEnvironmentVariableIsSet(variable.toLocal8Bit().constData())) {
            return Failure::failure(ErrorCode::BadInput,
                                    u"--password-env: the environment variable %1 is not set"_s.arg(variable));
        }
        account.chkAth = 1;
        account.pwd = qEnvironmentVariable(variable.toLocal8Bit().constData());
    }
    for (const auto& [option, field] :
         {std::pair{u"from"_s, &SmtpAccount::fromEmail}, std::pair{u"from-name"_s, &SmtpAccount::fromName},
          std::pair{u"reply-to"_s, &SmtpAccount::replyEmail}}) {
        if (parser.isSet(option)) {
            account.*field = parser.value(option);
        }
    }
    return account;
}

// Everything a mail run takes from the command line, checked before any contact is read.
struct MailOptions
{
    ContactSourceOptions source;
    QString subject;
    QString html;
    QString attachTemplate;
    QString emlFolder;
    QString sendmail; // the mail transport's command, for a run through the system's outbox
    SmtpAccount account;
    QString journal;
    std::optional<PastRun> resumed;
    QString testAddress;
};

Result<MailOptions> mailOptionsFrom(const CommandParser& parser)
{
    using Failure = Result<MailOptions>;
    MailOptions options;
    Result<ContactSourceOptions> source = ContactSourceOptions::from(parser);
    if (!source.ok()) {
        return source.error();
    }
    options.source = source.value();
    if (!parser.isSet(u"subject"_s)) {
        return Failure::failure(ErrorCode::BadInput, u"--subject TEXT is required"_s);
    }
    options.subject = parser.value(u"subject"_s);
    if (options.subject.isEmpty()) {
        return Failure::failure(ErrorCode::BadInput, u"Please Specify a Subject"_s);
    }
    const QString bodyPath = parser.value(u"body"_s);
    if (bodyPath.isEmpty()) {
        return Failure::failure(ErrorCode::BadInput, u"--body FILE.html is required"_s);
    }
    const Result<QString> body = PlainFile::readText(bodyPath);
    if (!body.ok()) {
        return Failure::failure(ErrorCode::BadInput, u"cannot read the body: %1"_s.arg(body.error().message));
    }
    options.html = body.value();
    // The images go inside every message: one that cannot be read would end the run.
    for (const QString& image : InlineImages::paths(InlineImages::Embed(options.html).InlineImageList)) {
        if (const QFileInfo file(image); !image.isEmpty() && !(file.isFile() && file.isReadable())) {
            return Failure::failure(ErrorCode::BadInput,
                                    u"the body names an image that cannot be read: %1"_s.arg(image));
        }
    }
    if (parser.isSet(u"attach"_s)) {
        options.attachTemplate = TextUtil::trimSpaces(parser.value(u"attach"_s));
        if (options.attachTemplate.isEmpty() || !FileExists(options.attachTemplate)) {
            return Failure::failure(ErrorCode::BadInput,
                                    u"Select a Valid Template File: --attach \"%1\""_s.arg(options.attachTemplate));
        }
    }
    if (int(parser.isSet(u"eml-dir"_s)) + int(parser.isSet(u"smtp"_s)) + int(parser.isSet(u"sendmail"_s)) != 1) {
        return Failure::failure(ErrorCode::BadInput, u"give one of --eml-dir DIR, --smtp HOST[:PORT] and --sendmail"_s);
    }
    if (parser.isSet(u"sendmail"_s)) {
        options.sendmail = parser.isSet(u"sendmail-path"_s) ? parser.value(u"sendmail-path"_s)
                                                            : SettingsStore::instance().value(Keys::SendmailPath);
    }
    if (parser.isSet(u"journal"_s) && parser.isSet(u"resume"_s)) {
        return Failure::failure(ErrorCode::BadInput, u"give --journal FILE or --resume JOURNAL, not both"_s);
    }
    options.journal = parser.isSet(u"journal"_s) ? parser.value(u"journal"_s) : DeliveryJournal::newPath();
    if (parser.isSet(u"resume"_s)) {
        Result<PastRun> past = PastRun::read(parser.value(u"resume"_s));
        if (!past.ok()) {
            return Failure::failure(ErrorCode::BadInput, u"--resume: "_s + past.error().message);
        }
        options.resumed = past.value();
    }
    options.testAddress = parser.value(u"test-to"_s);
    Result<SmtpAccount> account = accountFrom(parser);
    if (!account.ok()) {
        return account.error();
    }
    options.account = account.value();
    if (parser.isSet(u"eml-dir"_s)) {
        options.emlFolder = parser.value(u"eml-dir"_s);
        if (options.emlFolder.isEmpty() || !QDir().mkpath(options.emlFolder)) {
            return Failure::failure(ErrorCode::BadInput,
                                    u"--eml-dir: cannot make the folder \"%1\""_s.arg(options.emlFolder));
        }
    } else if (options.sendmail.isEmpty() && options.account.fromEmail.isEmpty()) {
        return Failure::failure(ErrorCode::BadInput,
                                u"no sender address: give --from ADDR or store one in the SMTP settings"_s);
    }
    return options;
}

// Certificate authorities beyond the system's, named as OpenSSL programs take them: a PEM file
// in SSL_CERT_FILE (a relay with a certificate of the company's own authority).
void trustCertificateFile()
{
    const QString file = qEnvironmentVariable("SSL_CERT_FILE");
    if (!file.isEmpty()) {
        SmtpConversation::addTrustedCertificates(QSslCertificate::fromPath(file));
    }
}

// One line for each contact: its row, its address and what became of it.
void printDelivery(const ContactDelivery& delivery)
{
    // Whatever the address or the server's reply holds, each contact has one line.
    CliOutput::out(
        u"%1\t%2\t%3\n"_s.arg(delivery.row).arg(CliOutput::oneLine(delivery.address), delivery.summary().simplified()));
}

// Which run this is, for the journal and for a resumed run.
RunIdentity identityOf(const MailOptions& options, int contacts)
{
    return {QFileInfo(options.source.path).absoluteFilePath(),
            options.attachTemplate.isEmpty() ? QString() : QFileInfo(options.attachTemplate).absoluteFilePath(),
            options.subject, contacts};
}

} // namespace

int runMailCommand(const QStringList& arguments)
{
    CommandParser parser(Usage, u"Sends one personalised mail to each contact of a list, through the program's "
                                u"own SMTP client, or writes the messages to a folder."_s);
    addMailOptions(parser);
    if (const std::optional<int> ended = parser.parseArguments(arguments)) {
        return *ended;
    }
    Result<MailOptions> parsed = mailOptionsFrom(parser);
    if (!parsed.ok()) {
        return CliOutput::badArguments(parsed.error().message);
    }
    const MailOptions& options = parsed.value();
    MergeContacts contacts;
    if (const std::optional<int> failed = contacts.read(options.source)) {
        return *failed;
    }
    const ContactTable& table = contacts.table;
    TokenEngine& tokens = contacts.tokens;

    // The wizard's steps from the contact page to the send page: the catalogue, the attachment's
    // tokens, the body's tokens.
    tokens.BuildTokenCatalog();
    std::unique_ptr<MergedAttachment> attachment;
    if (!options.attachTemplate.isEmpty()) {
        // A template that cannot be read would go out raw, unmerged, to every contact.
        if (const Status scanned = DocumentMerge::ScanDocTokens(tokens, options.attachTemplate); !scanned.ok()) {
            CliOutput::err(u"quillbay-cli: the attachment template %1 cannot be read: %2\n"_s.arg(
                CliOutput::oneLine(options.attachTemplate), scanned.error().message));
            return 1;
        }
        attachment = std::make_unique<MergedAttachment>(tokens, options.attachTemplate);
    }
    tokens.ScanMailTokens(options.html);

    SendRunInput input;
    for (int position = 1; position <= table.count(); ++position) {
        if (table.at(position).checked) {
            input.addresses << table.cell(position, 0);
            input.rows << position;
        }
    }
    input.subjectBox = options.subject;
    input.html = options.html;
    input.tokens = &tokens;
    input.attachment = attachment.get();
    input.report = printDelivery;

    // A message box of the run (a socket error) becomes the one-line error of the command.
    QString boxText;
    MessageBoxes::setPresenter([&boxText](const Message& message) {
        boxText = message.text;
        return MessageAnswer::Ok;
    });
    WindowlessRunView view;
    std::unique_ptr<MailTransport> transport;
    if (!options.emlFolder.isEmpty()) {
        transport = std::make_unique<EmlWriter>(options.emlFolder);
    } else if (!options.sendmail.isEmpty()) {
        transport = std::make_unique<SendmailTransport>(options.sendmail);
    } else {
        trustCertificateFile();
        transport = std::make_unique<SmtpConversation>(options.account, SmtpConversation::Labels{});
    }
    SmtpSendRun run(view, options.account, transport.get());
    if (!options.testAddress.isEmpty()) {
        if (input.rows.isEmpty()) {
            return CliOutput::badArguments(u"--test-to: no contact is chosen"_s);
        }
        const ContactDelivery test = run.SendTest(input, input.rows.first(), options.testAddress);
        MessageBoxes::resetPresenter();
        CliOutput::out(u"Test mail of row %1 to %2: %3\n"_s.arg(test.row).arg(CliOutput::oneLine(test.address),
                                                                              test.summary().simplified()));
        return test.kind == ContactDelivery::Kind::Sent ? 0 : 1;
    }

    const RunIdentity identity = identityOf(options, static_cast<int>(input.rows.size()));
    if (options.resumed && !options.resumed->identity().sameRunAs(identity)) {
        return CliOutput::badArguments(u"--resume: the journal %1 belongs to another run (its contact list, "
                                       u"template or subject differ)"_s.arg(options.resumed->path()));
    }
    Result<std::unique_ptr<DeliveryJournal>> journal = options.resumed
                                                           ? DeliveryJournal::resume(*options.resumed)
                                                           : DeliveryJournal::create(options.journal, identity);
    if (!journal.ok()) {
        return CliOutput::badArguments(journal.error().message);
    }
    input.journal = journal.value().get();
    input.resumed = options.resumed ? &*options.resumed : nullptr;
    const Interruption interruption([&run] { run.CmdCancelSend_Click(); });
    const RunOutcome outcome = options.sendmail.isEmpty() ? run.RunSmtpSend(input) : run.RunOutboxSend(input);
    MessageBoxes::resetPresenter();

    CliOutput::out(u"%1 (%2)\nDelivery report: %3\n"_s.arg(view.process(), run.counts().text(), input.journal->path()));
    if (outcome.completed()) {
        return 0;
    }
    QString reason = u"the run was cut off"_s;
    if (interruption.interrupted()) {
        reason = u"the run was cut off by a signal"_s;
    } else if (!boxText.isEmpty()) {
        reason = boxText;
    } else if (!outcome.error.isEmpty()) {
        reason = outcome.error;
    }
    CliOutput::err(u"quillbay-cli: "_s + reason + u'\n');
    return 1;
}
