#include "TerminationSignals.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace quillon::daemon {

namespace {

int g_pipe[2] = {-1, -1};

void onSignal(int signalNumber)
{
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(signalNumber);
    [[maybe_unused]] const auto n = ::write(g_pipe[1], &byte, 1);
    errno = savedErrno;
}

} // namespace

TerminationSignals::TerminationSignals()
{
    if (::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(g_pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] { drain(); });

    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
}

TerminationSignals::~TerminationSignals()
{
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGINT, SIG_DFL);
    m_notifier.reset();
    for (int& fd : g_pipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void TerminationSignals::drain()
{
    unsigned char byte = 0;
    while (::read(g_pipe[0], &byte, 1) == 1)
        emit received(byte);
}

} // namespace quillon::daemon
