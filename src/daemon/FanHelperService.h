#pragma once

#include "DaemonLog.h"
#include "FanKeys.h"
#include "FanStatus.h"
#include "LidLock.h"
#include "MonotonicClock.h"
#include "SafetyTempHistory.h"
#include "TickTimer.h"

#include "smc/SmcConnection.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillon::daemon {

// The fan helper's state machine. It holds the fan floor the app asks for
// and, while that floor is above zero, drives every fan to a target on a
// fixed tick, raising it further when the thermal curve demands, and hands
// the fans back to the firmware on any doubt: a floor of 0, a stop request,
// no sensors, no readable sensor, critical heat, a silent app, termination.
//
// Single-threaded: requests, timer handlers and the termination path all
// run on one thread (the daemon's main loop). The daemon's QTimers call
// applyOnce() and checkWatchdog(); tests call them with a hand-driven clock.
class FanHelperService {
public:
    struct Environment {
        smc::SmcConnection& smc;
        LidLock& lidLock;
        TickTimer& loopTimer;     // calls applyOnce(); runs only while boosted
        TickTimer& watchdogTimer; // calls checkWatchdog(); runs from start-up on
        MonotonicClock& clock;
        DaemonLog& log;
    };

    // The (success, text) answer of a request.
    struct Reply {
        bool ok;
        std::string text;
    };

    static constexpr std::chrono::milliseconds kLoopFirstTick{100};
    static constexpr std::chrono::milliseconds kLoopInterval{400};
    static constexpr std::chrono::milliseconds kWatchdogInterval{2000};
    // An app that has not been heard from for longer than this is gone.
    static constexpr std::chrono::milliseconds kSilenceLimit{6000};

    // Start-up: opens the SMC, learns the fans and sensors, hands every fan
    // back to the firmware and drops any lid lock before anything else, then
    // starts the watchdog. Logs what it found.
    explicit FanHelperService(const Environment& environment);
    FanHelperService(const FanHelperService&) = delete;
    FanHelperService& operator=(const FanHelperService&) = delete;

    // A request from the app arrived: the watchdog's clock starts over.
    void noteContact();

    // Requests.
    Reply ping() const;
    FanStatus status();
    // percent is clamped to 0..100; 0 hands the fans back. Non-finite values
    // are refused and change nothing. A floor above 0 starts the loop and
    // applies at once, unless a tick ran less than one loop interval ago:
    // then the loop's next tick applies it, so a burst of requests cannot
    // write the SMC faster than the loop does.
    Reply setFanFloor(double percent);
    Reply stopBoost();
    Reply setLidStayAwake(bool on);

    // One control tick (the loop timer's handler).
    void applyOnce();
    // The watchdog timer's handler: after kSilenceLimit without contact,
    // releases a boost and drops the lid lock.
    void checkWatchdog();
    // The termination path: fans back to the firmware, lid lock dropped.
    void emergencyRelease();

    double floorPercent() const { return m_floorPercent; }
    bool isBoosted() const { return m_isBoosted; }
    bool lidStayAwake() const { return m_lidStayAwake; }
    int fanCount() const { return m_fans.count(); }
    const std::vector<std::string>& safetyTempKeys() const { return m_safetyTempKeys; }

private:
    struct FanRange {
        int minRPM;
        int maxRPM;
    };

    void startLoopIfNeeded();
    // Stops the loop, forgets the boost and hands the fans back (verified).
    void stopLoopAndRestore();
    void runDisableSleep(bool on);
    void log(DaemonLog::Severity severity, std::string_view line);
    // The hottest plausible safety reading, if any key gives one.
    std::optional<double> currentSafetyMaxTemp();

    smc::SmcConnection& m_smc;
    LidLock& m_lidLock;
    TickTimer& m_loopTimer;
    TickTimer& m_watchdogTimer;
    MonotonicClock& m_clock;
    DaemonLog& m_log;

    FanKeys m_fans;
    std::vector<FanRange> m_ranges; // per fan, read at start-up
    std::vector<std::string> m_cpuTempKeys;
    std::vector<std::string> m_safetyTempKeys;
    std::vector<std::string> m_gpuTempKeys;

    double m_floorPercent = 0;
    bool m_isBoosted = false;
    bool m_lidStayAwake = false;
    std::chrono::nanoseconds m_lastContact;
    std::optional<std::chrono::nanoseconds> m_lastTickAt; // while boosted
    int m_applyTickCount = 0;
    double m_cachedTemp = 0;
    double m_lastThermalPct = 0;
    double m_lastEffectivePct = 0;
    SafetyTempHistory m_safetyTempHistory;
};

} // namespace quillon::daemon
