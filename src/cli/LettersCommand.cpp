#include "LettersCommand.h"

#include "CliOutput.h"
#include "CommandParser.h"
#include "ContactSourceOptions.h"
#include "Interruption.h"
#include "core/CommonRoutines.h"
#include "core/TextUtil.h"
#include "merge/PostalMergeRun.h"
#include "merge/WindowlessRunView.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

const QString Usage = u"quillbay-cli letters --contacts FILE [--kind tab|comma|excel|access|addressbook|mailclient] "
                      u"[--sheet NAME] [--table NAME] [--password TEXT | --db-password-env VAR] [--skip-first-row] "
                      u"[--map FIELD=COLUMN]... "
                      u"[--custom NAME=COLUMN]... [--blank FIELD=TEXT]... --template FILE "
                      u"(--out-dir DIR | --combined FILE)"_s;

struct LetterOptions
{
    ContactSourceOptions source;
    QString templatePath;
    QString folder;   // one document per contact, when not empty
    QString combined; // else one combined document
};

Result<LetterOptions> letterOptionsFrom(const CommandParser& parser)
{
    using Failure = Result<LetterOptions>;
    LetterOptions options;
    Result<ContactSourceOptions> source = ContactSourceOptions::from(parser);
    if (!source.ok()) {
        return source.error();
    }
    options.source = source.value();
    options.templatePath = TextUtil::trimSpaces(parser.value(u"template"_s));
    if (options.templatePath.isEmpty() || !FileExists(options.templatePath)) {
        return Failure::failure(ErrorCode::BadInput,
                                u"Select a Valid Template File: --template \"%1\""_s.arg(options.templatePath));
    }
    if (parser.isSet(u"out-dir"_s) == parser.isSet(u"combined"_s)) {
        return Failure::failure(ErrorCode::BadInput, u"give either --out-dir DIR or --combined FILE"_s);
    }
    if (parser.isSet(u"combined"_s)) {
        options.combined = TextUtil::trimSpaces(parser.value(u"combined"_s));
        if (options.combined.isEmpty()) {
            return Failure::failure(ErrorCode::BadInput, u"Choose the document name to be saved: --combined FILE"_s);
        }
        // The template is never written over.
        if (QFileInfo(options.combined).absoluteFilePath() == QFileInfo(options.templatePath).absoluteFilePath()) {
            return Failure::failure(ErrorCode::BadInput, u"Document Name Invalid: --combined names the template"_s);
        }
    } else {
        options.folder = TextUtil::trimSpaces(parser.value(u"out-dir"_s));
        if (options.folder.isEmpty() || !QDir().mkpath(options.folder)) {
            return Failure::failure(ErrorCode::BadInput,
                                    u"--out-dir: cannot make the folder \"%1\""_s.arg(options.folder));
        }
    }
    return options;
}

} // namespace

int runLettersCommand(const QStringList& arguments)
{
    CommandParser parser(Usage, u"Writes one Word document per contact of a list from a letter template, with "
                                u"every token merged, into a folder or one combined document."_s);
    ContactSourceOptions::addTo(parser);
    parser.addOption({u"template"_s, u"The Word template of the letters."_s, u"FILE"_s});
    parser.addOption({u"out-dir"_s,
                      u"One document per contact, DIR/Quillbay+1.docx, … (.doc for a .doc template); the "
                      u"folder is made when missing."_s,
                      u"DIR"_s});
    parser.addOption({u"combined"_s,
                      u"One document: the first letter in full, each later one as plain text behind a page "
                      u"break."_s,
                      u"FILE"_s});
    if (const std::optional<int> ended = parser.parseArguments(arguments)) {
        return *ended;
    }
    Result<LetterOptions> parsed = letterOptionsFrom(parser);
    if (!parsed.ok()) {
        return CliOutput::badArguments(parsed.error().message);
    }
    const LetterOptions& options = parsed.value();
    MergeContacts contacts;
    if (const std::optional<int> failed = contacts.read(options.source)) {
        return *failed;
    }
    const int count = contacts.table.count();

    WindowlessRunView view;
    PostalMergeRun run(view);
    const Interruption interruption([&run] { run.CmdCancelSend_Click(); });
    const RunOutcome outcome =
        run.run({&contacts.table, &contacts.tokens, options.templatePath, options.combined, count}, options.folder);
    const int written = outcome.done;
    if (options.folder.isEmpty()) {
        if (written > 0) {
            CliOutput::out(options.combined + u'\n');
        }
    } else {
        for (int number = 1; number <= written; ++number) {
            CliOutput::out(options.folder + u'/' + PostalMergeRun::numberedName(number, options.templatePath) + u'\n');
        }
    }
    if (outcome.completed()) {
        CliOutput::out(view.process() + u'\n');
        return 0;
    }
    CliOutput::out(u"%1 of %2 letters written\n"_s.arg(written).arg(count));
    CliOutput::err(outcome.ending == RunOutcome::Ending::Failed
                       ? u"quillbay-cli: the run stopped at letter %1: %2\n"_s.arg(written + 1).arg(outcome.error)
                       : u"quillbay-cli: the run was cut off by a signal\n"_s);
    return 1;
}
