#include "LinuxThermalPressure.h"

#include <algorithm>

namespace quillon::platform::linux_ {

namespace {

using Level = platform::ThermalPressure::Level;

constexpr double kCriticalMarginC = 5.0;
constexpr double kFairMarginC = 10.0;
constexpr double kFairWithoutTripC = 80.0;
constexpr double kSeriousThrottleShare = 0.05;
constexpr double kCriticalThrottleShare = 0.5;
constexpr int kSamplesToRise = 2;
constexpr double kSecondsToFall = 10.0;

Level zoneLevel(const ThermalSnapshot::Zone& zone)
{
    const double t = zone.tempC;
    if ((zone.hotC && t >= *zone.hotC) || (zone.criticalC && t >= *zone.criticalC - kCriticalMarginC))
        return Level::critical;
    if (zone.passiveC && t >= *zone.passiveC)
        return Level::serious;
    if (zone.passiveC ? t >= *zone.passiveC - kFairMarginC : t >= kFairWithoutTripC)
        return Level::fair;
    return Level::nominal;
}

Level throttleLevel(const ThermalSnapshot& now, const ThermalSnapshot& before, double elapsedS)
{
    if (elapsedS <= 0)
        return Level::nominal;
    Level level = Level::nominal;
    // Counters only grow; a smaller value means the CPUs went away or came back (hotplug), not cooling.
    if (now.throttleCount && before.throttleCount && *now.throttleCount > *before.throttleCount)
        level = Level::fair;
    if (now.throttleTimeMs && before.throttleTimeMs && *now.throttleTimeMs > *before.throttleTimeMs
        && now.throttleCpus > 0) {
        const double share = static_cast<double>(*now.throttleTimeMs - *before.throttleTimeMs)
            / (elapsedS * 1000.0 * now.throttleCpus);
        if (share >= kCriticalThrottleShare)
            level = Level::critical;
        else if (share >= kSeriousThrottleShare)
            level = std::max(level, Level::serious);
    }
    return level;
}

} // namespace

LinuxThermalPressure::LinuxThermalPressure(QString sysfsRoot, bool startTimer, QObject* parent)
    : platform::ThermalPressure(parent)
    , m_root(std::move(sysfsRoot))
{
    m_sources = ThermalSnapshot::Sources::discover(m_root);
    // The first reading sets the level at once: there is nothing to smooth yet.
    const ThermalSnapshot first = ThermalSnapshot::read(m_sources);
    m_level = levelFor(first, nullptr, 0);
    m_previous = first;
    m_timer.setInterval(kSampleIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, [this] { sample(kSampleIntervalMs / 1000.0); });
    // A machine that shows neither zones nor throttle counters (a VM, a
    // container) has nothing to sample: it stays nominal without waking up.
    if (startTimer && !m_sources.empty())
        m_timer.start();
}

Level LinuxThermalPressure::levelFor(const ThermalSnapshot& now, const ThermalSnapshot* before, double elapsedS)
{
    Level level = Level::nominal;
    for (const auto& zone : now.zones)
        level = std::max(level, zoneLevel(zone));
    if (before)
        level = std::max(level, throttleLevel(now, *before, elapsedS));
    return level;
}

void LinuxThermalPressure::sample(double elapsedS)
{
    const ThermalSnapshot now = ThermalSnapshot::read(m_sources);
    const Level seen = levelFor(now, m_previous ? &*m_previous : nullptr, elapsedS);
    m_previous = now;

    const Level before = m_level;
    if (seen > m_level) {
        m_secondsBelow = 0;
        if (++m_samplesAbove >= kSamplesToRise) {
            m_level = seen;
            m_samplesAbove = 0;
        }
    } else if (seen < m_level) {
        m_samplesAbove = 0;
        m_secondsBelow += elapsedS;
        if (m_secondsBelow >= kSecondsToFall) {
            m_level = seen;
            m_secondsBelow = 0;
        }
    } else {
        m_samplesAbove = 0;
        m_secondsBelow = 0;
    }
    if (m_level != before)
        emit levelChanged();
}

} // namespace quillon::platform::linux_
