#include "core/ThermalCurve.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using quillon::core::ThermalCurve;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct DemandRow {
    double tempC;
    double percent;
};

// The demand over the whole range: flat at both ends, linear on the ramp,
// and an unreadable temperature treated as the hottest.
TEST(ThermalCurve, DemandAcrossTheRange)
{
    const DemandRow rows[] = {
        {-10.0, 0.0},
        {0.0, 0.0},
        {72.0, 0.0},
        {80.0, 34.782608695652172},
        {83.5, 50.0},
        {95.0, 100.0},
        {150.0, 100.0},
        {std::numeric_limits<double>::infinity(), 100.0},
        {-std::numeric_limits<double>::infinity(), 0.0},
    };
    for (const DemandRow& row : rows)
        EXPECT_DOUBLE_EQ(ThermalCurve::requiredPercent(row.tempC), row.percent) << "at " << row.tempC << " °C";
    EXPECT_EQ(ThermalCurve::requiredPercent(nan), 100.0);
}

// No step anywhere: the demand leaves 0 right above the ramp's start, never
// falls, and climbs no faster than the ramp's slope to 100 at full speed.
TEST(ThermalCurve, DemandIsContinuousAndNeverFallsAsTemperatureRises)
{
    EXPECT_GT(ThermalCurve::requiredPercent(72.0001), 0.0);
    EXPECT_LT(ThermalCurve::requiredPercent(72.0001), 0.001);
    EXPECT_GT(ThermalCurve::requiredPercent(94.999), 99.99);
    double previous = 0.0;
    for (double t = 60.0; t <= 100.0; t += 0.25) {
        const double demand = ThermalCurve::requiredPercent(t);
        EXPECT_GE(demand, previous) << "at " << t << " °C";
        EXPECT_LE(demand - previous, 0.25 * 100.0 / 23.0 + 1e-9) << "at " << t << " °C";
        previous = demand;
    }
}

TEST(ThermalCurve, CriticalAndGenuineHeatThresholdsAreInclusive)
{
    EXPECT_FALSE(ThermalCurve::isCritical(99.999));
    EXPECT_TRUE(ThermalCurve::isCritical(100.0));
    EXPECT_FALSE(ThermalCurve::isCritical(nan));
    EXPECT_FALSE(ThermalCurve::isGenuineHeat(84.999));
    EXPECT_TRUE(ThermalCurve::isGenuineHeat(85.0));
    EXPECT_FALSE(ThermalCurve::isGenuineHeat(nan));
}

struct KeyRow {
    const char* key;
    bool safety;
};

TEST(ThermalCurve, SafetyKeysAreFourCharactersWithAKnownPrefix)
{
    const KeyRow rows[] = {
        {"Tp09", true},
        {"Te05", true},
        {"Tc0a", true},
        {"Tg0f", true},
        {"TC0P", false}, // the prefix differs only in case
        {"Ts0P", false},
        {"TG0f", false},
        {"tp09", false},
        {"", false},
        {"Tp1", false},
        {"Tp09x", false},
        {"Tp", false},
        {"Tp0\xC3\xA9", true}, // four characters, five bytes
        {"Tpe\xCC\x81"
         "0",
            true}, // "e" with a combining accent is one character
        {"Tp\xCC\x81"
         "09",
            false},        // an accented "p" is not "p"
        {"Tp0\xFF", true}, // an invalid byte counts as one character
        {"T\xFF"
         "09",
            false},
    };
    for (const KeyRow& row : rows)
        EXPECT_EQ(ThermalCurve::isSafetyTempKey(row.key), row.safety) << "key \"" << row.key << "\"";
}

} // namespace
