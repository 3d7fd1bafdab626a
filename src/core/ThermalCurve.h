#pragma once

#include <array>
#include <string_view>

namespace quillon::core {

// The fixed fan-safety policy shared by the helper's control loop and the
// diagnostics tools. Temperatures are degrees Celsius, demands are fan percent
// 0..100. Stateless; safe to call from any thread.
class ThermalCurve {
public:
    ThermalCurve() = delete;

    // At or below this the curve demands nothing.
    static constexpr double rampStartC = 72.0;
    // At or above this the curve demands 100 %.
    static constexpr double fullSpeedC = 95.0;
    // At or above this the helper hands the fans back to the firmware.
    static constexpr double criticalReleaseC = 100.0;
    // At or above this, heat counts as genuine (alerts, status flags).
    static constexpr double warnThresholdC = 85.0;

    static_assert(rampStartC < warnThresholdC && warnThresholdC < fullSpeedC && fullSpeedC < criticalReleaseC,
        "the curve must ramp before it warns, and reach full speed before it releases");

    // Two-character prefixes of the SMC keys that count as safety sensors, in
    // match order: CPU performance cores, efficiency cores, CPU die, GPU.
    static const std::array<std::string_view, 4>& safetyPrefixes();

    // Fan demand for the hottest safety-sensor temperature. Linear from 0 % at
    // rampStartC to 100 % at fullSpeedC, unrounded. An unreadable (NaN)
    // temperature demands 100 %: not knowing means cooling hard.
    static double requiredPercent(double maxTempC);

    // True at or above criticalReleaseC; NaN is not critical.
    static bool isCritical(double maxTempC);

    // True at or above warnThresholdC; NaN is not genuine heat.
    static bool isGenuineHeat(double maxTempC);

    // True when the key is exactly four user-perceived characters and its
    // first two are one of safetyPrefixes() (case-sensitive).
    static bool isSafetyTempKey(std::string_view key);
};

} // namespace quillon::core
