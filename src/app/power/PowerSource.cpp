#include "PowerSource.h"

#include <cmath>

namespace quillon::app {

namespace {

PowerInfo infoOf(const platform::PowerSupplyReading& reading)
{
    return {reading.hasBattery, reading.onAC, reading.percentage, reading.isCharging};
}

BatteryMetrics metricsOf(const platform::PowerSupplyReading& reading)
{
    if (!reading.hasBattery)
        return {};
    return {reading.millivolts, reading.milliamperes, reading.capacityMah};
}

double wattsOf(const BatteryMetrics& metrics)
{
    return static_cast<double>(metrics.millivolts) / 1000.0 * static_cast<double>(metrics.milliamperes) / 1000.0;
}

// Time to empty at the present drain; only while discharging with charge left.
std::optional<int> minutesLeft(const BatteryMetrics& metrics)
{
    if (metrics.milliamperes >= 0 || metrics.capacityMah < 1)
        return std::nullopt;
    const double minutes
        = static_cast<double>(metrics.capacityMah) / std::abs(static_cast<double>(metrics.milliamperes)) * 60.0;
    // A trickle of a few mA would give years; no screen needs more than an int.
    if (!(minutes < 1.0e9))
        return std::nullopt;
    return static_cast<int>(std::lround(minutes));
}

} // namespace

PowerSource::PowerSource(std::shared_ptr<const platform::PowerSupply> supply)
    : m_supply(std::move(supply))
{
}

PowerInfo PowerSource::current() const
{
    return infoOf(m_supply->read());
}

BatteryMetrics PowerSource::batteryMetrics() const
{
    return metricsOf(m_supply->read());
}

BatteryFlow PowerSource::batteryFlow() const
{
    const auto reading = m_supply->read();
    return flowOf(infoOf(reading), metricsOf(reading));
}

RenderPowerStatus PowerSource::renderPowerStatus() const
{
    const auto reading = m_supply->read();
    return renderStatusOf(infoOf(reading), metricsOf(reading));
}

BatteryFlow PowerSource::flowOf(const PowerInfo& info, const BatteryMetrics& metrics)
{
    if (!info.hasBattery)
        return BatteryFlow::noBattery();
    const double watts = std::abs(wattsOf(metrics));
    if (!info.onAC)
        return BatteryFlow::onBattery(watts);
    if (metrics.milliamperes > deadBandMa)
        return BatteryFlow::charging(watts);
    if (metrics.milliamperes < -deadBandMa)
        return BatteryFlow::draining(watts);
    return BatteryFlow::idleOnAC();
}

RenderPowerStatus PowerSource::renderStatusOf(const PowerInfo& info, const BatteryMetrics& metrics)
{
    if (!info.hasBattery)
        return RenderPowerStatus::fullOnAC();
    const auto minutes = minutesLeft(metrics);
    if (info.onAC) {
        if (metrics.milliamperes > deadBandMa)
            return RenderPowerStatus::charging(wattsOf(metrics));
        if (metrics.milliamperes < -deadBandMa)
            return RenderPowerStatus::notEnoughPower(minutes);
        return RenderPowerStatus::fullOnAC();
    }
    // An unknown charge counts as low, on purpose.
    const int percent = info.percentage.value_or(0);
    if (percent > lowBatteryPercent)
        return RenderPowerStatus::onBattery(percent, minutes);
    return RenderPowerStatus::batteryLow(percent, minutes);
}

} // namespace quillon::app
