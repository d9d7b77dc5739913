#include "SearchCommand.h"

#include "CliOutput.h"
#include "CommandParser.h"
#include "Interruption.h"
#include "core/SettingsKeys.h"
#include "core/TextUtil.h"
#include "search/EngineSearcher.h"
#include "search/SearchPattern.h"
#include "search/SearchRun.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString Usage = u"quillbay-cli search --folder DIR [--pattern TEXT] [--subfolders] [--words TEXT "
                      u"[--whole-word] [--match-case] [--wildcards]] [--replace TEXT]"_s;

void addSearchOptions(CommandParser& parser)
{
    parser.addOption({u"folder"_s, u"The folder to search."_s, u"DIR"_s});
    parser.addOption({u"pattern"_s,
                      u"The file name, by the search window's rules: *.* and the default search *.Doc (which "
                      u"also finds .docx); a name ending in .doc gets * in front; a bare word w searches *w*.Doc; "
                      u"any other pattern with a dot finds nothing."_s,
                      u"TEXT"_s});
    parser.addOption({u"subfolders"_s, u"Include subfolders."_s});
    parser.addOption({u"words"_s, u"Only the documents whose main text holds these words (trimmed)."_s, u"TEXT"_s});
    parser.addOption({u"whole-word"_s, u"Find whole words only."_s});
    parser.addOption({u"match-case"_s, u"Letter case counts."_s});
    parser.addOption({u"wildcards"_s,
                      u"The words use Word's wildcard syntax; whole word and match case are then off, as in the "
                      u"search window."_s});
    parser.addOption({u"replace"_s,
                      u"Replaces the words by this text (not trimmed; may be empty) in every document hit; each "
                      u"changed document is first copied to a dated backup folder."_s,
                      u"TEXT"_s});
}

} // namespace

int runSearchCommand(const QStringList& arguments)
{
    CommandParser parser(Usage, u"Finds Word documents in a folder by name and by the words inside them, and can "
                                u"replace the words; one tab-separated row per hit (name, folder, modified, size, "
                                u"type), then the count line of the search window."_s);
    addSearchOptions(parser);
    if (const std::optional<int> ended = parser.parseArguments(arguments)) {
        return *ended;
    }
    const QString folder = parser.value(u"folder"_s);
    if (folder.isEmpty() || !QFileInfo(folder).isDir()) {
        return CliOutput::badArguments(u"--folder DIR must name an existing folder"_s);
    }
    const QString words = parser.value(u"words"_s);
    for (const QString& option : {u"whole-word"_s, u"match-case"_s, u"wildcards"_s, u"replace"_s}) {
        if (parser.isSet(option) && words.isEmpty()) {
            return CliOutput::badArguments(u"--%1 needs --words TEXT"_s.arg(option));
        }
    }

    // The window's rules: an empty box searches *.Doc, anything else is normalised trimmed.
    const QString typed = parser.value(u"pattern"_s);
    const QString pattern =
        typed.isEmpty() ? u"*.Doc"_s : SearchPattern::NormalizeCriteria(TextUtil::trimSpaces(typed)).pattern;
    RunOutcome outcome;
    int failures = 0;
    QString backups;
    std::unique_ptr<DocumentSearcher> searcher;
    bool stopFlag = false;
    const Interruption interruption([&stopFlag] { stopFlag = true; });
    if (!pattern.isEmpty()) {
        std::optional<WordSearch> search;
        if (!words.isEmpty()) {
            SettingsStore::instance().setValue(Keys::WordRunning, u"Y"_s);
            searcher = std::make_unique<EngineSearcher>();
            const bool wildcards = parser.isSet(u"wildcards"_s);
            search = WordSearch{TextUtil::trimSpaces(words),
                                parser.isSet(u"whole-word"_s) && !wildcards,
                                parser.isSet(u"match-case"_s) && !wildcards,
                                wildcards,
                                parser.isSet(u"replace"_s),
                                parser.value(u"replace"_s)};
        }
        SearchRun run({{},
                       [](const ResultRow& row) {
                           QStringList fields{row.name, row.folder, row.modified, row.size, row.type};
                           for (QString& field : fields) {
                               field = CliOutput::oneLine(field);
                           }
                           CliOutput::out(fields.join(u'\t') + u'\n');
                       },
                       [] { QCoreApplication::processEvents(); },
                       [&stopFlag] { return stopFlag; },
                       [](const QString& path, const QString& reason) {
                           CliOutput::err(u"quillbay-cli: %1: %2\n"_s.arg(CliOutput::oneLine(path), reason));
                       }},
                      searcher.get());
        outcome = run.WalkFolder(folder, pattern, parser.isSet(u"subfolders"_s), search);
        backups = run.backupFolder();
        failures = run.failures();
    }
    CliOutput::out(outcome.done > 0 ? QString::number(outcome.done) + u" items\n"_s : u"0 Items\n"_s);
    if (searcher) {
        searcher->finish();
        SettingsStore::instance().setValue(Keys::WordRunning, u"N"_s);
    }
    if (!backups.isEmpty()) {
        CliOutput::err(u"Originals kept in "_s + backups + u'\n');
    }
    if (outcome.ending == RunOutcome::Ending::Cancelled || interruption.interrupted()) {
        CliOutput::err(u"quillbay-cli: the search was stopped by a signal\n"_s);
        return 1;
    }
    // Each document that could not be searched or changed was named above.
    return failures > 0 ? 1 : 0;
}
