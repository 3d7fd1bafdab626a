#pragma once

#include "BatteryFlow.h"
#include "BatteryMetrics.h"
#include "PowerInfo.h"
#include "RenderPowerStatus.h"
#include "platform/PowerSupply.h"

#include <memory>

namespace quillon::app {

// Readings of the computer's power supply for the battery guards and the
// render screens. Holds no state of its own: every call reads the supply
// afresh (callers poll every few seconds at most). Never fails: a missing
// or unreadable supply reads as a desktop on mains.
class PowerSource {
public:
    explicit PowerSource(std::shared_ptr<const platform::PowerSupply> supply);

    PowerInfo current() const;
    BatteryMetrics batteryMetrics() const;
    BatteryFlow batteryFlow() const;
    RenderPowerStatus renderPowerStatus() const;

    // The rules behind the last two, on one reading.
    static BatteryFlow flowOf(const PowerInfo& info, const BatteryMetrics& metrics);
    static RenderPowerStatus renderStatusOf(const PowerInfo& info, const BatteryMetrics& metrics);

    // At or below this charge the render screens call the battery low.
    static constexpr int lowBatteryPercent = 20;
    // Currents within ±20 mA on mains are a full battery's noise, not a flow.
    static constexpr qint64 deadBandMa = 20;

private:
    std::shared_ptr<const platform::PowerSupply> m_supply;
};

} // namespace quillon::app
