#include "ThermalCurve.h"

#include "Utf8Clusters.h"

#include <cmath>

namespace quillon::core {

namespace {
// The ramp's width, fullSpeedC - rampStartC, written out as the divisor.
constexpr double rampWidthC = 23.0;
static_assert(rampWidthC == ThermalCurve::fullSpeedC - ThermalCurve::rampStartC);
} // namespace

const std::array<std::string_view, 4>& ThermalCurve::safetyPrefixes()
{
    static const std::array<std::string_view, 4> prefixes{"Tp", "Te", "Tc", "Tg"};
    return prefixes;
}

double ThermalCurve::requiredPercent(double maxTempC)
{
    if (maxTempC >= fullSpeedC)
        return 100.0;
    if (maxTempC <= rampStartC)
        return 0.0;
    // A NaN falls through both comparisons to here, and fmin turns it into 100.
    return std::fmin(100.0, (maxTempC - rampStartC) / rampWidthC * 100.0);
}

bool ThermalCurve::isCritical(double maxTempC)
{
    return maxTempC >= criticalReleaseC;
}

bool ThermalCurve::isGenuineHeat(double maxTempC)
{
    return maxTempC >= warnThresholdC;
}

bool ThermalCurve::isSafetyTempKey(std::string_view key)
{
    const auto clusters = Utf8Clusters::split(key);
    if (clusters.size() != 4)
        return false;
    // Both clusters are compared whole, so a 'p' carrying a combining mark is not a 'p'.
    const std::string_view head(clusters[0].data(), clusters[0].size() + clusters[1].size());
    for (const auto prefix : safetyPrefixes()) {
        if (head == prefix)
            return true;
    }
    return false;
}

} // namespace quillon::core
