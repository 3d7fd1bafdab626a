#pragma once

#include <string_view>

namespace quillon::daemon {

// Where the helper's event lines go: one line per event, written verbatim
// (no prefix added, no trailing newline expected).
class DaemonLog {
public:
    enum class Severity {
        notice,  // ordinary events: start-up, boost started, released
        warning, // safety events: watchdog, critical heat, lost sensors, failures
    };

    virtual ~DaemonLog() = default;

    virtual void write(Severity severity, std::string_view line) = 0;
};

} // namespace quillon::daemon
