// quillbay-cli: the merge and search runs of Quillbay+ with no window, for scheduled jobs.

#include "CliOutput.h"
#include "LettersCommand.h"
#include "MailCommand.h"
#include "SearchCommand.h"
#include "core/LocalTimeZone.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {

const QString Overview = u"Usage: quillbay-cli COMMAND [options]\n"
                         u"The merge and search runs of Quillbay+ with no window.\n\n"
                         u"Commands:\n"
                         u"  mail     one personalised mail per contact, sent over SMTP or written as .eml files\n"
                         u"  letters  one Word document per contact, or one combined document\n"
                         u"  search   Word documents in a folder by name and by the words inside them; replace\n\n"
                         u"quillbay-cli COMMAND --help shows the options of a command;\n"
                         u"quillbay-cli --version shows the version.\n"_s;

} // namespace

int main(int argc, char* argv[])
{
    LocalTimeZone::loadOnce();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"quillbay-cli"_s);
    const QStringList arguments = QCoreApplication::arguments();
    const QString command = arguments.value(1);
    if (command == u"--help"_s || command == u"-h"_s || command == u"help"_s) {
        CliOutput::out(Overview);
        return 0;
    }
    if (command == u"--version"_s) {
        CliOutput::out(u"quillbay-cli "_s + QStringLiteral(QUILLBAY_VERSION) + u'\n');
        return 0;
    }
    // The command's parser sees "quillbay-cli COMMAND" as the program.
    const QStringList commandArguments = QStringList{arguments.value(0) + u' ' + command} + arguments.mid(2);
    if (command == u"mail"_s) {
        return runMailCommand(commandArguments);
    }
    if (command == u"letters"_s) {
        return runLettersCommand(commandArguments);
    }
    if (command == u"search"_s) {
        return runSearchCommand(commandArguments);
    }
    return CliOutput::badArguments(command.isEmpty()
                                       ? u"no command given: mail, letters or search (see --help)"_s
                                       : u"unknown command \"%1\": mail, letters or search"_s.arg(command));
}
