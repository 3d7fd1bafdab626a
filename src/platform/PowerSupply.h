#pragma once

#include <QtGlobal>
#include <optional>

namespace quillon::platform {

// One reading of the computer's own power supply, in the units the models
// use. A peripheral's battery (a mouse, a keyboard) is never part of it.
struct PowerSupplyReading {
    bool hasBattery = false;
    bool onAC = true;
    std::optional<int> percentage; // 0..100; absent when the charge is unknown
    bool isCharging = false;
    qint64 millivolts = 0;
    qint64 milliamperes = 0; // negative while the battery discharges
    qint64 capacityMah = 0;  // charge left in the battery

    bool operator==(const PowerSupplyReading&) const = default;
};

// The power supply: every call reads the system afresh, nothing is cached.
// Without a battery the reading is the default above (a desktop on mains).
// Unreadable or odd values read as absent or 0, never as an error.
// Callable from any thread.
class PowerSupply {
public:
    virtual ~PowerSupply() = default;
    virtual PowerSupplyReading read() const = 0;
};

} // namespace quillon::platform
