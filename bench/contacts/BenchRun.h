#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>

// Wall time and this process's processor time since start(): on a shared machine the second
// says what the import itself costs.
class Stopwatch
{
public:
    void start()
    {
        m_wall.start();
        m_cpu = std::clock();
    }
    qint64 wallMs() const { return m_wall.elapsed(); }
    qint64 cpuMs() const { return static_cast<qint64>((std::clock() - m_cpu) * 1000 / CLOCKS_PER_SEC); }

private:
    QElapsedTimer m_wall;
    std::clock_t m_cpu = 0;
};

inline void report(const char* what, const Stopwatch& watch, int rows)
{
    const qint64 wall = watch.wallMs();
    const qint64 cpu = watch.cpuMs();
    std::printf("%-34s %8d rows in %6lld ms (cpu %6lld ms) = %9.0f rows/s\n", what, rows, static_cast<long long>(wall),
                static_cast<long long>(cpu), rows * 1000.0 / static_cast<double>(qMax<qint64>(wall, 1)));
}

// Runs the windows offscreen and keeps the settings and the application folder in the run's own
// temporary folder, never the user's. Call before the application object is made.
inline void prepareOffscreenRun(const QTemporaryDir& dir)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath(QStringLiteral("config"))));
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath(QStringLiteral("data"))));
}
