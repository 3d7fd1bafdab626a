#pragma once

#include <QtGlobal>

namespace quillon::app {

// The battery's electrical state; all 0 without a battery.
struct BatteryMetrics {
    qint64 millivolts = 0;
    qint64 milliamperes = 0; // negative while discharging
    qint64 capacityMah = 0;  // charge left

    bool operator==(const BatteryMetrics&) const = default;
};

} // namespace quillon::app
