#include "CommandParser.h"

#include "CliOutput.h"

using namespace Qt::StringLiterals;

CommandParser::CommandParser(QString usage, const QString& description)
    : m_usage(std::move(usage))
{
    setApplicationDescription(description);
    setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    addHelpOption();
}

std::optional<int> CommandParser::parseArguments(const QStringList& arguments)
{
    if (!parse(arguments)) {
        return CliOutput::badArguments(errorText());
    }
    if (isSet(u"help"_s)) {
        // Qt's first line names the executable by its full path and "[options]": the command's
        // own synopsis stands there instead.
        const QString text = helpText();
        CliOutput::out(u"Usage: "_s + m_usage + text.mid(text.indexOf(u'\n')));
        return 0;
    }
    if (!positionalArguments().isEmpty()) {
        return CliOutput::badArguments(u"unexpected argument \"%1\""_s.arg(positionalArguments().first()));
    }
    return std::nullopt;
}
