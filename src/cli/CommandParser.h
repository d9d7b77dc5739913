#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

// The options of one command: --help prints the command's usage line and its options; a parse
// error, an unknown option or a stray argument prints a one-line error.
class CommandParser : public QCommandLineParser
{
public:
    // `usage` is the command's synopsis, "quillbay-cli mail --contacts FILE …".
    CommandParser(QString usage, const QString& description);

    // Parses the command's arguments (the first one names the program). Gives the exit status
    // when the command ends here, 0 after --help and 2 after an error, else nothing.
    std::optional<int> parseArguments(const QStringList& arguments);

private:
    QString m_usage;
};
