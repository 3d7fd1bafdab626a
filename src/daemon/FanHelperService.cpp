#include "FanHelperService.h"

#include "FirmwareHandback.h"
#include "LogLine.h"
#include "SensorKeyRule.h"
#include "TempKeyDiscovery.h"

#include "core/FanFloor.h"
#include "core/ThermalCurve.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace quillon::daemon {

namespace {

using core::ThermalCurve;
using Severity = DaemonLog::Severity;

// Readings outside these bounds are not temperatures (sensor faults, resume
// sentinels) and never reach the curve.
constexpr double kSafetyPlausibleLowC = 5.0;
constexpr double kSafetyPlausibleHighC = 130.0;
// The status shows CPU readings above this, with no upper bound on purpose:
// the app should see an absurd value rather than none.
constexpr double kCpuShownAboveC = 20.0;
constexpr double kNoUpperBoundC = std::numeric_limits<double>::infinity();
constexpr double kGpuPlausibleLowC = 20.0;
constexpr double kGpuPlausibleHighC = 130.0;

// The tick log line: on the first tick, then every 20 ticks (8 s).
constexpr int kLogEveryTicks = 20;
// thermalOverride needs the curve above the floor by more than this.
constexpr double kOverrideMarginPercent = 1.0;
// An unverified release logs again after this many further retries.
constexpr int kPendingLogEveryRetries = 30;
// Fan speeds outside this range only come from a broken SMC.
constexpr double kMaxPlausibleRpm = 100000.0;

// An rpm reading as a whole number, toward zero. Failed, NaN and negative
// readings count as 0 and absurdly high ones as kMaxPlausibleRpm, so that no
// reading can overflow the target arithmetic.
int wholeRpm(std::optional<double> rpm)
{
    if (!rpm || !(*rpm > 0.0))
        return 0;
    return static_cast<int>(std::min(*rpm, kMaxPlausibleRpm));
}

// Each safety release as the status names it and as a reply words it, in
// the order of FanHelperService::SafetyRelease.
struct SafetyReleaseNames {
    const char* raw;
    const char* words;
};
constexpr SafetyReleaseNames kSafetyReleaseNames[] = {
    {"", "the fans could not be taken"},
    {"no-sensors", "no temperature sensors"},
    {"no-readings", "no temperature readings"},
    {"critical-heat", "critical temperature"},
};

const SafetyReleaseNames& namesOf(FanHelperService::SafetyRelease release)
{
    return kSafetyReleaseNames[static_cast<std::size_t>(release)];
}

std::string whyFanControlIsUnavailable(smc::SmcConnection& smc, int fanCount)
{
    std::string reason = smc.fanControlUnavailable();
    if (reason.empty() && smc.open() != 0)
        reason = "no SMC found";
    if (reason.empty() && fanCount == 0)
        reason = "the SMC reports no fans";
    return reason;
}

FanKeys openAndFindFans(smc::SmcConnection& smc, DaemonLog& log)
{
    smc.setKeyInfoCached(true);
    if (const std::uint32_t rc = smc.open(); rc != 0) {
        log.write(Severity::warning,
            LogLine()
                .appendf("Quillon daemon: cannot open the SMC (status 0x%x); no fan can be controlled", rc)
                .text());
    }
    return FanKeys::discover(smc);
}

} // namespace

FanHelperService::FanHelperService(const Environment& environment)
    : m_smc(environment.smc)
    , m_lidLock(environment.lidLock)
    , m_loopTimer(environment.loopTimer)
    , m_watchdogTimer(environment.watchdogTimer)
    , m_clock(environment.clock)
    , m_log(environment.log)
    , m_fans(openAndFindFans(m_smc, m_log))
    , m_writes(m_smc, m_fans)
    , m_lastContact(m_clock.now())
{
    for (int n = 0; n < m_fans.count(); ++n)
        m_ranges.push_back(
            {wholeRpm(m_smc.readNumber(m_fans[n].minimum)), wholeRpm(m_smc.readNumber(m_fans[n].maximum))});

    m_cpuTempKeys = TempKeyDiscovery::keys(m_smc, TempKeyDiscovery::Rule::cpuOnly);
    m_safetyTempKeys = TempKeyDiscovery::keys(m_smc, TempKeyDiscovery::Rule::safety);
    std::copy_if(m_safetyTempKeys.begin(), m_safetyTempKeys.end(), std::back_inserter(m_gpuTempKeys),
        [generation = m_smc.generation()](const std::string& key) { return SensorKeyRule::isGpuKey(generation, key); });
    m_temps.emplace(m_smc, m_safetyTempKeys, m_cpuTempKeys, m_gpuTempKeys, kSensorReuseAge);
    m_fanControlUnavailable = whyFanControlIsUnavailable(m_smc, m_fans.count());
    if (!m_fanControlUnavailable.empty()) {
        log(Severity::warning,
            LogLine("Quillon daemon: fan control unavailable on this computer: ")
                .append(m_fanControlUnavailable)
                .text());
    }
    log(Severity::notice,
        LogLine()
            .appendf("Quillon daemon: opened SMC, %d fans, %zu CPU keys, %zu safety keys, %zu GPU keys", m_fans.count(),
                m_cpuTempKeys.size(), m_safetyTempKeys.size(), m_gpuTempKeys.size())
            .text());

    // Whatever an earlier run (or a crash) left behind, the firmware owns the
    // fans until the app asks again.
    m_smc.writeU8(FanKeys::kForceTest, 0);
    for (int n = 0; n < m_fans.count(); ++n)
        m_smc.writeU8(m_fans[n].mode, 0);
    log(Severity::notice, "Quillon daemon: reset to Apple-auto control on startup (safety)");
    runDisableSleep(false);

    m_watchdogTimer.start(kWatchdogInterval, kWatchdogInterval);
}

void FanHelperService::noteContact()
{
    m_lastContact = m_clock.now();
}

FanHelperService::Reply FanHelperService::ping() const
{
    return {true, "Quillon daemon alive, fans=" + std::to_string(m_fans.count())};
}

const char* FanHelperService::rawValue(SafetyRelease release)
{
    return namesOf(release).raw;
}

FanStatus FanHelperService::status()
{
    const Readings& readings = freshReadings();
    FanStatus status;
    status.fans = readings.fans;
    status.floorPercent = m_floorPercent;
    status.isBoosted = m_isBoosted;
    status.tempSensorCount = static_cast<int>(m_cpuTempKeys.size());
    status.effectivePercent = m_lastEffectivePct;
    status.thermalOverride = m_isBoosted && ThermalCurve::isGenuineHeat(m_cachedTemp)
        && m_floorPercent + kOverrideMarginPercent < m_lastThermalPct;
    status.lidStayAwake = m_lidStayAwake;
    status.cpuTemp = readings.cpuTemp;
    status.cpuTempMax = readings.cpuTempMax;
    status.gpuTemp = readings.gpuTemp;
    status.releasePending = m_releaseRetry.pending();
    status.safetyRelease = rawValue(m_safetyRelease);
    status.fanControlUnavailable = m_fanControlUnavailable;
    if (m_safetyClearSince)
        status.safetyClearSeconds = std::chrono::duration<double>(m_clock.now() - *m_safetyClearSince).count();
    return status;
}

const FanHelperService::Readings& FanHelperService::freshReadings()
{
    const std::chrono::nanoseconds now = m_clock.now();
    if (m_readingsAt && now - *m_readingsAt < kReadingsMaxAge)
        return m_readings;
    m_readingsAt = now;
    m_readings.fans.clear();
    for (int n = 0; n < m_fans.count(); ++n) {
        const FanKeys::Fan& keys = m_fans[n];
        const FanRange& range = m_ranges[static_cast<std::size_t>(n)];
        m_readings.fans.push_back({n, wholeRpm(m_smc.readNumber(keys.actual)), range.minRPM, range.maxRPM,
            wholeRpm(m_smc.readNumber(keys.target)), m_smc.readU8(keys.reportedMode)});
    }
    // First, so that its reading of the safety sensors also serves the CPU and GPU figures.
    trackSafetyClearance();
    m_readings.cpuTemp.reset();
    m_readings.cpuTempMax.reset();
    m_readings.gpuTemp.reset();
    if (const TempReader::Summary cpu = m_temps->cpu(now, kCpuShownAboveC, kNoUpperBoundC); cpu.count > 0) {
        m_readings.cpuTemp = cpu.sum / cpu.count;
        m_readings.cpuTempMax = cpu.hottest;
    }
    if (const TempReader::Summary gpu = m_temps->gpu(now, kGpuPlausibleLowC, kGpuPlausibleHighC); gpu.count > 0)
        m_readings.gpuTemp = gpu.sum / gpu.count;
    checkWrittenValues();
    return m_readings;
}

void FanHelperService::checkWrittenValues()
{
    if (!m_isBoosted || m_releaseRetry.pending())
        return;
    for (const FanStatus::Fan& fan : m_readings.fans) {
        // The status reads F{n}Md: it says nothing of an F{n}md the loop writes.
        const bool modeMoved = m_fans.modeKeyIsUppercase() && fan.mode != 1;
        const std::optional<int> written = m_writes.writtenTarget(fan.index);
        if (modeMoved || (written && fan.targetRPM != *written)) {
            m_writes.forget();
            return;
        }
    }
}

void FanHelperService::trackSafetyClearance()
{
    // Without safety sensors the cause can never clear.
    if (m_safetyRelease == SafetyRelease::none || m_safetyRelease == SafetyRelease::noSensors) {
        m_safetyClearSince.reset();
        return;
    }
    const std::optional<double> hottest = currentSafetyMaxTemp();
    if (!hottest || *hottest >= kSafetyClearC)
        m_safetyClearSince.reset();
    else if (!m_safetyClearSince)
        m_safetyClearSince = m_clock.now();
}

FanHelperService::Reply FanHelperService::setFanFloor(double percent)
{
    const std::optional<double> floor = core::FanFloor::normalized(percent);
    if (!floor)
        return {false, "refused: the fan floor must be a finite percentage"};
    if (*floor == 0)
        return stopLoopAndRestore() ? Reply{true, "boost off"} : pendingReleaseReply();
    if (!m_fanControlUnavailable.empty())
        return {false, "refused: fan control unavailable on this computer: " + m_fanControlUnavailable};

    // A new floor supersedes a hand-back still being retried.
    m_releaseRetry.end();
    m_floorPercent = *floor;
    startLoopIfNeeded();
    if (!m_lastTickAt || m_clock.now() - *m_lastTickAt >= kLoopInterval)
        applyOnce();
    if (!m_isBoosted) {
        return {false,
            std::string("refused: ") + namesOf(m_safetyRelease).words
                + (m_releaseRetry.pending() ? "; release pending, fans at full speed" : "; the firmware keeps the fans")};
    }
    return {true, "floor set to " + std::to_string(static_cast<int>(m_floorPercent)) + "%"};
}

FanHelperService::Reply FanHelperService::stopBoost()
{
    return stopLoopAndRestore() ? Reply{true, "boost stopped"} : pendingReleaseReply();
}

FanHelperService::Reply FanHelperService::pendingReleaseReply() const
{
    return {false, "release pending: the firmware has not taken the fans back yet; fans at full speed, retrying"};
}

FanHelperService::Reply FanHelperService::setLidStayAwake(bool on)
{
    if (!on) {
        m_lidStayAwake = false;
        runDisableSleep(false);
        log(Severity::notice, "Quillon daemon: lid-stay-awake off (disablesleep 0)");
        return {true, "lid-stay-awake off"};
    }
    std::string error;
    if (!runDisableSleep(true, error)) {
        // Nothing holds the machine awake: say so rather than pretend.
        m_lidStayAwake = false;
        return {false, "lid-stay-awake refused: " + error};
    }
    m_lidStayAwake = true;
    log(Severity::notice, "Quillon daemon: lid-stay-awake ON (disablesleep 1)");
    return {true, "lid-stay-awake on"};
}

void FanHelperService::applyOnce()
{
    if (m_releaseRetry.pending()) {
        retryPendingRelease();
        return;
    }
    if (!(m_floorPercent > 0))
        return;
    if (m_safetyTempKeys.empty()) {
        log(Severity::warning, "Quillon daemon: no temp sensors — refusing manual control for safety");
        releaseForSafety(SafetyRelease::noSensors);
        return;
    }
    m_lastTickAt = m_clock.now();
    ++m_applyTickCount;
    if (m_applyTickCount % ControlWrites::kReassertTicks == 0)
        m_writes.forget();
    const std::uint32_t forceStatus = m_writes.forceTest(1);

    // Sensors are read on odd ticks only (every 0.8 s); even ticks act on
    // the last smoothed value.
    if (m_applyTickCount % 2 == 1) {
        const std::optional<double> hottest = currentSafetyMaxTemp();
        if (!hottest) {
            log(Severity::warning, "Quillon daemon: lost all temp readings — releasing to Apple");
            releaseForSafety(SafetyRelease::noReadings);
            return;
        }
        m_cachedTemp = m_safetyTempHistory.add(*hottest);
    }

    const double celsius = m_cachedTemp;
    if (ThermalCurve::isCritical(celsius)) {
        log(Severity::warning,
            LogLine()
                .appendf("Quillon daemon: CRITICAL temp %.0f° ≥ %.0f° — releasing FULL control to Apple", celsius,
                    ThermalCurve::criticalReleaseC)
                .text());
        releaseForSafety(SafetyRelease::criticalHeat);
        return;
    }

    const double thermal = ThermalCurve::requiredPercent(celsius);
    const double effective = std::max(m_floorPercent, thermal);
    m_lastThermalPct = thermal;
    m_lastEffectivePct = effective;

    const bool logThisTick = m_applyTickCount == 1 || m_applyTickCount % kLogEveryTicks == 0;
    std::optional<LogLine> line;
    if (logThisTick) {
        line.emplace().appendf("Quillon daemon: #%d Ftst=%d temp=%.0f° floor=%.0f%% eff=%.0f%% ", m_applyTickCount,
            static_cast<int>(forceStatus), celsius, m_floorPercent, effective);
    }
    for (int n = 0; n < m_fans.count(); ++n) {
        const FanRange& range = m_ranges[static_cast<std::size_t>(n)];
        const int span = std::max(range.maxRPM - range.minRPM, 0);
        const int target = range.minRPM + static_cast<int>(effective * span / 100.0);
        const std::uint32_t modeStatus = m_writes.mode(n, 1);
        const std::uint32_t targetStatus = m_writes.target(n, target);
        if (line) {
            line->appendf("%sF%d:Md=%d,Tg=%d/%d", n == 0 ? "" : " ", n, static_cast<int>(modeStatus), target,
                static_cast<int>(targetStatus));
        }
    }
    if (line)
        log(Severity::notice, line->text());
    // The floor took: an earlier safety release is history.
    m_safetyRelease = SafetyRelease::none;
    m_safetyClearSince.reset();
}

void FanHelperService::checkWatchdog()
{
    if (m_clock.now() - m_lastContact <= kSilenceLimit)
        return;
    if (m_isBoosted) {
        log(Severity::warning, "Quillon daemon: WATCHDOG — app silent, releasing fans to Apple");
        stopLoopAndRestore();
    }
    if (m_lidStayAwake) {
        log(Severity::warning, "Quillon daemon: WATCHDOG — app silent, clearing lid-stay-awake");
        m_lidStayAwake = false;
        runDisableSleep(false);
    }
}

bool FanHelperService::emergencyRelease()
{
    const bool verified = stopLoopAndRestore();
    if (m_lidStayAwake) {
        m_lidStayAwake = false;
        runDisableSleep(false);
    }
    return verified;
}

void FanHelperService::noteResume()
{
    m_readingsAt.reset();
    m_temps->forget();
    m_writes.forget(); // a sleep may have reset any of them
    checkWatchdog();
    if (!m_isBoosted) {
        // Some drivers come back from a sleep in another mode than they were
        // left in: whatever the helper handed back must still be as found.
        if (!m_releaseRetry.pending() && !FirmwareHandback(m_smc, m_fans, m_clock, m_log).attempt()) {
            log(Severity::warning, "Quillon daemon: resumed from sleep — fans not as handed back; handing back again");
            stopLoopAndRestore();
        }
        return;
    }
    // Readings from before the sleep say nothing about now: the next tick
    // starts the smoothing over and reads the sensors first.
    m_safetyTempHistory.clear();
    m_applyTickCount = 0;
    m_lastTickAt.reset();
    log(Severity::notice, "Quillon daemon: resumed from sleep — re-applying the floor on the next tick");
}

void FanHelperService::startLoopIfNeeded()
{
    if (m_isBoosted)
        return;
    m_isBoosted = true;
    m_writes.forget();
    // The timer may still run for a release that the new floor superseded.
    if (!m_loopTimer.running())
        m_loopTimer.start(kLoopFirstTick, kLoopInterval);
    log(Severity::notice, "Quillon daemon: loop started");
}

void FanHelperService::releaseForSafety(SafetyRelease why)
{
    m_safetyRelease = why;
    m_safetyClearSince.reset();
    stopLoopAndRestore();
}

bool FanHelperService::stopLoopAndRestore()
{
    m_isBoosted = false;
    m_floorPercent = 0;
    m_applyTickCount = 0;
    m_lastThermalPct = 0;
    m_lastEffectivePct = 0;
    m_safetyTempHistory.clear();
    m_lastTickAt.reset();
    m_writes.forget();
    if (FirmwareHandback(m_smc, m_fans, m_clock, m_log).run() > 0) {
        m_releaseRetry.end();
        m_loopTimer.stop();
        return true;
    }
    beginPendingRelease();
    return false;
}

void FanHelperService::beginPendingRelease()
{
    holdAtFullSpeed();
    if (!m_releaseRetry.begin(m_clock.now()))
        return; // already retrying
    if (!m_loopTimer.running())
        m_loopTimer.start(kLoopInterval, kLoopInterval);
    log(Severity::warning, "Quillon daemon: release pending — fans held at full speed, retrying the hand-back");
}

void FanHelperService::retryPendingRelease()
{
    const std::chrono::nanoseconds now = m_clock.now();
    if (!m_releaseRetry.due(now))
        return;
    const int retries = m_releaseRetry.retries();
    if (FirmwareHandback(m_smc, m_fans, m_clock, m_log).attempt()) {
        m_releaseRetry.end();
        m_loopTimer.stop();
        log(Severity::notice,
            LogLine()
                .appendf("Quillon daemon: released to Apple-auto (verified after %d retries, %.1f s pending)", retries,
                    m_releaseRetry.pendingSeconds(now))
                .text());
        return;
    }
    holdAtFullSpeed();
    m_releaseRetry.failed(now);
    if (retries % kPendingLogEveryRetries == 0) {
        log(Severity::warning,
            LogLine().appendf("Quillon daemon: release still pending after %d retries", retries).text());
    }
}

void FanHelperService::holdAtFullSpeed()
{
    for (int n = 0; n < m_fans.count(); ++n)
        m_smc.writeNumber(m_fans[n].target, m_ranges[static_cast<std::size_t>(n)].maxRPM);
}

void FanHelperService::runDisableSleep(bool on)
{
    std::string error;
    runDisableSleep(on, error);
}

bool FanHelperService::runDisableSleep(bool on, std::string& error)
{
    if (!on) {
        m_lidLock.release();
        return true;
    }
    if (m_lidLock.hold(error))
        return true;
    log(Severity::warning, LogLine("Quillon daemon: pmset disablesleep failed: ").append(error).text());
    return false;
}

void FanHelperService::log(DaemonLog::Severity severity, std::string_view line)
{
    m_log.write(severity, line);
}

std::optional<double> FanHelperService::currentSafetyMaxTemp()
{
    const TempReader::Summary readings = m_temps->safety(m_clock.now(), kSafetyPlausibleLowC, kSafetyPlausibleHighC);
    if (readings.count == 0)
        return std::nullopt;
    return readings.hottest;
}

} // namespace quillon::daemon
