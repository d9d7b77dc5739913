#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <optional>

// One run of a reader program of its own (the Access and the .xls readers), whose library may
// loop or crash on a damaged file: the items it writes ("5:Hello" is the item "Hello") are read
// with a limit on how long it may stay silent, and a run that breaks off ends as output that
// ended. The program is stopped when the run is dropped.
class HelperRun
{
public:
    HelperRun(const QString& program, const QStringList& arguments, int silenceLimitMs);
    ~HelperRun();
    HelperRun(const HelperRun&) = delete;
    HelperRun& operator=(const HelperRun&) = delete;

    // False when the program is missing or cannot be run.
    bool started();
    // The next item; nothing when the output ends, breaks off, is malformed or stays silent too
    // long (the program is then stopped).
    std::optional<QByteArray> next();
    std::optional<int> nextNumber();

private:
    bool readMore();

    QProcess m_process;
    int m_silenceLimitMs;
    QByteArray m_buffer;
    qsizetype m_position = 0;
};

// A reader program installed beside the programs (bin/../libexec/quillbay/, given relative to
// bin), else the one of the build tree.
QString helperProgram(const QString& fromBin, const QString& built);
