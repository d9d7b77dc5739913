#pragma once

#include <QProcess>
#include <QStringList>

// One run of the command-line companion to its end.
struct CliResult
{
    int exitCode = -1; // -1: the program did not end by itself
    QString out;
    QString err;
};

inline CliResult runCli(const QStringList& arguments, const QProcessEnvironment& environment = {})
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
