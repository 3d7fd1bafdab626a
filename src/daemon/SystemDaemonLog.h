#pragma once

#include "DaemonLog.h"

namespace quillon::daemon {

// Writes each line to standard error and to the system log (facility daemon,
// identifier "quillon-helper"). Under systemd both end up in the journal;
// standard error is what a terminal or a test harness sees.
class SystemDaemonLog : public DaemonLog {
public:
    SystemDaemonLog();
    ~SystemDaemonLog() override;
    SystemDaemonLog(const SystemDaemonLog&) = delete;
    SystemDaemonLog& operator=(const SystemDaemonLog&) = delete;

    void write(Severity severity, std::string_view line) override;
};

} // namespace quillon::daemon
