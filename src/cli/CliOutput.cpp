#include "CliOutput.h"

#include <cstdio>

namespace CliOutput {

void out(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stdout);
    std::fflush(stdout);
}

void err(const QString& text)
{
    std::fputs(text.toUtf8().constData(), stderr);
}

QString oneLine(const QString& value)
{
    QString line = value;
    for (QChar& c : line) {
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator) {
            c = QLatin1Char(' ');
        }
    }
    return line;
}

int badArguments(const QString& message)
{
    err(QStringLiteral("quillbay-cli: ") + message + QLatin1Char('\n'));
    return 2;
}

} // namespace CliOutput
