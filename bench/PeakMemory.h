#pragma once

#include <QByteArray>
#include <QFile>

// The process's peak resident memory (VmHWM), and a new start for it, so that a benchmark can
// show the peak of each run on its own: the same peak for a run twice as long means the memory
// does not grow with the work.
namespace PeakMemory {

inline void restart()
{
    QFile refs(QStringLiteral("/proc/self/clear_refs"));
    if (refs.open(QIODevice::WriteOnly)) {
        refs.write("5");
    }
}

inline long kilobytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return -1;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:")) {
            return line.mid(6).trimmed().split(' ').value(0).toLong();
        }
    }
    return -1;
}

} // namespace PeakMemory
