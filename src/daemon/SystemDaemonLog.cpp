#include "SystemDaemonLog.h"

#include <climits>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

namespace quillon::daemon {

SystemDaemonLog::SystemDaemonLog()
{
    ::openlog("quillon-helper", LOG_PID, LOG_DAEMON);
}

SystemDaemonLog::~SystemDaemonLog()
{
    ::closelog();
}

void SystemDaemonLog::write(Severity severity, std::string_view line)
{
    // One writev, so lines from concurrent writers never interleave.
    char newline = '\n';
    iovec parts[2] = {{const_cast<char*>(line.data()), line.size()}, {&newline, 1}};
    [[maybe_unused]] const auto written = ::writev(STDERR_FILENO, parts, 2);

    const int length = line.size() > INT_MAX ? INT_MAX : static_cast<int>(line.size());
    ::syslog(severity == Severity::warning ? LOG_WARNING : LOG_NOTICE, "%.*s", length, line.data());
}

} // namespace quillon::daemon
