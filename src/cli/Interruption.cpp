#include "Interruption.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPair[2] = {-1, -1};

void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalPair[0], &byte, 1);
}

void handle(int signalNumber, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND;
    sigaction(signalNumber, &action, nullptr);
}

} // namespace

Interruption::Interruption(std::function<void()> onInterrupt)
    : m_onInterrupt(std::move(onInterrupt))
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPair) != 0) {
        return;
    }
    m_notifier = new QSocketNotifier(signalPair[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &Interruption::readSignal);
    handle(SIGINT, onSignal);
    handle(SIGTERM, onSignal);
}

Interruption::~Interruption()
{
    if (m_notifier == nullptr) {
        return;
    }
    handle(SIGINT, SIG_DFL);
    handle(SIGTERM, SIG_DFL);
    delete m_notifier;
    ::close(signalPair[0]);
    ::close(signalPair[1]);
    signalPair[0] = signalPair[1] = -1;
}

void Interruption::readSignal()
{
    char byte = 0;
    [[maybe_unused]] const ssize_t read = ::read(signalPair[1], &byte, 1);
    m_interrupted = true;
    if (m_onInterrupt) {
        m_onInterrupt();
    }
}
