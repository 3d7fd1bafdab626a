#pragma once

#include "ControlWrites.h"
#include "DaemonLog.h"
#include "FanKeys.h"
#include "FanStatus.h"
#include "LidLock.h"
#include "MonotonicClock.h"
#include "ReleaseRetry.h"
#include "SafetyTempHistory.h"
#include "TempReader.h"
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
// A hand-back that cannot be verified is never given up: the fans are held
// at full speed (the safe side while the firmware cannot have them) and the
// release is retried on the loop timer with a back-off of 0.4 s doubling to
// kReleaseRetryMax, until a read-back shows every fan in firmware mode. The
// status says so meanwhile ("releasePending").
//
// A release for safety (no sensors, no readings, critical heat) is reported
// in the status with how long its cause has been gone, so the app can wait
// for the machine to cool instead of asking again at once.
//
// A tick writes only what changes (ControlWrites says when a value is
// written again anyway); the status' read-back of each fan's mode and target
// doubles as the check that nothing changed them behind the helper's back.
// The SMC's key information is cached for the life of the helper.
//
// Every reply says what is in force after the call.
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
    // The longest pause between attempts of an unverified release.
    static constexpr std::chrono::milliseconds kReleaseRetryMax{2000};
    // The status' readings are reused for this long: a flood of status
    // requests costs no SMC traffic beyond one read per interval.
    static constexpr std::chrono::milliseconds kReadingsMaxAge = kLoopInterval;
    // The loop reads the safety sensors every other tick; the status takes
    // the CPU and GPU values among them from that reading while it is younger
    // than this (one sensor period and some slack).
    static constexpr std::chrono::milliseconds kSensorReuseAge{1000};
    // A heat or sensor release counts as cleared while the hottest safety
    // sensor reads below this.
    static constexpr double kSafetyClearC = 90.0;

    // Why the helper last let go of the fans for safety.
    enum class SafetyRelease {
        none,
        noSensors,    // the machine has no safety sensor
        noReadings,   // no safety sensor gave a plausible reading
        criticalHeat, // the smoothed safety temperature reached the critical mark
    };
    // "", "no-sensors", "no-readings", "critical-heat": the status' wording.
    static const char* rawValue(SafetyRelease release);

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
    // percent is normalized as core::FanFloor does (0..100, below 1 % = 0);
    // 0 hands the fans back. Non-finite values are refused and change
    // nothing, and so is any floor above 0 while fan control is unavailable. A floor above 0 starts the loop and
    // applies at once, unless a tick ran less than one loop interval ago: then the loop's next tick applies it, so a
    // burst of requests cannot write the SMC faster than the loop does. Answers false when the floor is not in force
    // afterwards (the tick let go for safety, or the hand-back of a 0 is still unverified).
    Reply setFanFloor(double percent);
    // Answers false while the hand-back is not verified (it goes on retrying).
    Reply stopBoost();
    // Answers false, with the reason, when the lock cannot be taken; the
    // status then does not show it held.
    Reply setLidStayAwake(bool on);

    // One control tick (the loop timer's handler).
    void applyOnce();
    // The watchdog timer's handler: after kSilenceLimit without contact,
    // releases a boost and drops the lid lock.
    void checkWatchdog();
    // The termination path: fans back to the firmware, lid lock dropped.
    // Whether the hand-back was verified.
    bool emergencyRelease();
    // The machine woke from suspend, which on Macs running Linux drops the
    // fans back to firmware control and on other computers may leave a
    // driver in another mode. An app silent for too long loses its boost
    // now; otherwise the next tick re-applies the floor from fresh readings.
    // Without a boost, the fans are checked to be back as handed back, and
    // handed back again if not.
    void noteResume();

    double floorPercent() const { return m_floorPercent; }
    bool isBoosted() const { return m_isBoosted; }
    bool releasePending() const { return m_releaseRetry.pending(); }
    SafetyRelease safetyRelease() const { return m_safetyRelease; }
    bool lidStayAwake() const { return m_lidStayAwake; }
    int fanCount() const { return m_fans.count(); }
    const std::vector<std::string>& safetyTempKeys() const { return m_safetyTempKeys; }
    // Why no floor can be set on this machine (no SMC, no fans, a driver
    // that does not allow fan writes); "" when fans can be controlled.
    const std::string& fanControlUnavailable() const { return m_fanControlUnavailable; }

private:
    struct FanRange {
        int minRPM;
        int maxRPM;
    };

    struct Readings {
        std::vector<FanStatus::Fan> fans;
        std::optional<double> cpuTemp, cpuTempMax, gpuTemp;
    };

    void startLoopIfNeeded();
    // Forgets the boost and hands the fans back; on a failed verification
    // the release stays pending (see the class comment). Whether verified.
    bool stopLoopAndRestore();
    // The same, remembering why when the reason is safety.
    void releaseForSafety(SafetyRelease why);
    void beginPendingRelease();
    void retryPendingRelease();
    // Full target on every fan, mode untouched: while the firmware cannot be
    // given the fans, they must at least not stay slow.
    void holdAtFullSpeed();
    Reply pendingReleaseReply() const;
    // The status' SMC readings, read again when older than kReadingsMaxAge;
    // also follows whether the last safety release's cause has cleared.
    const Readings& freshReadings();
    void trackSafetyClearance();
    // While boosted: forgets what the loop wrote when a fan's mode or target
    // reads otherwise.
    void checkWrittenValues();
    void runDisableSleep(bool on);
    // Whether the lock is in the state asked for; error says why not.
    bool runDisableSleep(bool on, std::string& error);
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
    ControlWrites m_writes;
    std::vector<FanRange> m_ranges; // per fan, read at start-up
    std::vector<std::string> m_cpuTempKeys;
    std::vector<std::string> m_safetyTempKeys;
    std::vector<std::string> m_gpuTempKeys;
    std::optional<TempReader> m_temps; // from start-up on
    std::string m_fanControlUnavailable;

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

    ReleaseRetry m_releaseRetry{kLoopInterval, kReleaseRetryMax};

    SafetyRelease m_safetyRelease = SafetyRelease::none;
    std::optional<std::chrono::nanoseconds> m_safetyClearSince;

    Readings m_readings;
    std::optional<std::chrono::nanoseconds> m_readingsAt;
};

} // namespace quillon::daemon
