#pragma once

#include <QObject>

#include <functional>

class QSocketNotifier;

// Ctrl-C (SIGINT) and SIGTERM while a command runs reach the command as the Cancel button of
// its run: the handler only writes a byte to a socket pair, and the run sees it at the next
// place where it lets events through. A second signal ends the program at once, as the default
// handling does.
class Interruption : public QObject
{
public:
    explicit Interruption(std::function<void()> onInterrupt);
    ~Interruption() override;

    bool interrupted() const { return m_interrupted; }

private:
    void readSignal();

    std::function<void()> m_onInterrupt;
    QSocketNotifier* m_notifier = nullptr;
    bool m_interrupted = false;
};
