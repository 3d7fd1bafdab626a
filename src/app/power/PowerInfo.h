#pragma once

#include <optional>

namespace quillon::app {

// A snapshot of the computer's power: battery present, on mains power, charge
// and whether it is charging. Without a battery: on AC, no percentage.
struct PowerInfo {
    bool hasBattery = false;
    bool onAC = true;
    std::optional<int> percentage; // 0..100
    bool isCharging = false;

    bool operator==(const PowerInfo&) const = default;
};

} // namespace quillon::app
