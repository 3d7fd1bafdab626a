#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

namespace quillon::core {

// The fan floor as the app asks for it and the helper applies it: percent of
// each fan's range, 0..100. Floors finer than resolutionPercent do not move a
// fan by a meaningful amount (1 % is 40-50 rpm on a laptop fan) and would
// still put it in manual mode, so both sides treat them as 0, meaning "hand
// the fans to the firmware".
class FanFloor {
public:
    FanFloor() = delete;

    static constexpr double resolutionPercent = 1.0;

    // percent limited to 0..100, with anything below resolutionPercent as 0;
    // nothing for NaN and infinities, which are no floor at all.
    static std::optional<double> normalized(double percent)
    {
        if (!std::isfinite(percent))
            return std::nullopt;
        const double clamped = std::clamp(percent, 0.0, 100.0);
        return clamped < resolutionPercent ? 0.0 : clamped;
    }
};

} // namespace quillon::core
