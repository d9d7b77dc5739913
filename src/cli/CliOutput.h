#pragma once

#include <QString>

// The command-line companion's output: results on standard output, errors on standard error.
namespace CliOutput {

void out(const QString& text);
void err(const QString& text);

// A value for one field of an output line: line breaks, tabs and other control characters
// become blanks, so that no value can end a line or add a column.
QString oneLine(const QString& value);

// Prints the one-line error of bad arguments or an unreadable source, and gives exit status 2.
int badArguments(const QString& message);

} // namespace CliOutput
