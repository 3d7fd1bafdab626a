#pragma once

#include <QString>
#include <chrono>
#include <functional>
#include <optional>

// Small measuring aids shared by the helper's benchmark parts.
namespace quillon::bench {

// CPU time of a process (all its threads) in seconds; 0 when it cannot be read.
double processCpuSeconds(qint64 pid);
// A "VmRSS" or "VmHWM" line of /proc/PID/status, in MiB; 0 when unreadable.
double memoryMiB(qint64 pid, const char* field);
// Seconds until done() holds, checked every 20 ms while the event loop runs,
// calling tick() about once a second meanwhile (an app's poll); nothing on timeout.
std::optional<double> secondsUntil(
    const std::function<bool()>& done, std::chrono::milliseconds timeout, const std::function<void()>& tick = {});

} // namespace quillon::bench
