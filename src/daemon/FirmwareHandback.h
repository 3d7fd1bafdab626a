#pragma once

#include "DaemonLog.h"
#include "FanKeys.h"
#include "MonotonicClock.h"

#include "smc/SmcConnection.h"

#include <chrono>

namespace quillon::daemon {

// Hands every fan back to the firmware and checks that it took: each attempt
// writes target 0 and mode 0 per fan, then "Ftst" = 0, then reads every mode
// key back. A mode key that cannot be read counts as handed back (there is
// nothing more to do for it). Up to kMaxAttempts attempts, kRetryPause
// apart; the outcome is logged either way. Used by the running helper (which
// keeps retrying with attempt() while the release stays unverified) and by
// `quillon-helper --release`.
class FirmwareHandback {
public:
    static constexpr int kMaxAttempts = 5;
    static constexpr std::chrono::milliseconds kRetryPause{120};

    FirmwareHandback(smc::SmcConnection& smc, const FanKeys& fans, MonotonicClock& clock, DaemonLog& log);

    // The attempt (1..kMaxAttempts) whose read-back showed every fan in
    // firmware mode, or 0 when none did.
    int run();

    // One attempt, no pause, nothing logged: whether every fan read back in
    // firmware mode.
    bool attempt();

private:
    smc::SmcConnection& m_smc;
    const FanKeys& m_fans;
    MonotonicClock& m_clock;
    DaemonLog& m_log;
};

} // namespace quillon::daemon
