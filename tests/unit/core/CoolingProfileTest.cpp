#include "core/CoolingProfile.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>

using quillon::core::CoolingProfile;
using Kind = CoolingProfile::Kind;

namespace {

struct FloorRow {
    Kind kind;
    double tempC;
    double percent;
};

// Worked values, breakpoints reached from both neighbouring segments, the
// flat ends of each curve, and no reading.
TEST(CoolingProfile, FloorsAcrossEachCurve)
{
    const FloorRow rows[] = {
        {Kind::silent, 20, 0},
        {Kind::silent, 62, 0},
        {Kind::silent, 67, 7.5},
        {Kind::silent, 72, 15},
        {Kind::silent, 92, 65},
        {Kind::silent, 95, 65},
        {Kind::silent, 120, 65},
        {Kind::balanced, 52, 0},
        {Kind::balanced, 62, 25},
        {Kind::balanced, 70, 49.61538461538461},
        {Kind::balanced, 86, 100},
        {Kind::balanced, 90, 100},
        {Kind::max, 20, 35},
        {Kind::max, 30, 35},
        {Kind::max, 55, 60},
        {Kind::max, 71, 95},
        {Kind::max, 74, 100},
        {Kind::max, 200, 100},
    };
    for (const FloorRow& row : rows)
        EXPECT_DOUBLE_EQ(CoolingProfile::floorPercent(row.kind, row.tempC), row.percent)
            << CoolingProfile::rawValue(row.kind) << " at " << row.tempC << " °C";
    EXPECT_NEAR(CoolingProfile::floorPercent(Kind::balanced, 62.0 - 1e-9), 25.0, 1e-6);
    EXPECT_NEAR(CoolingProfile::floorPercent(Kind::balanced, 62.0 + 1e-9), 25.0, 1e-6);
    // An unreadable temperature asks for the full floor.
    for (const Kind kind : CoolingProfile::allCases)
        EXPECT_EQ(CoolingProfile::floorPercent(kind, std::numeric_limits<double>::quiet_NaN()), 100.0)
            << CoolingProfile::rawValue(kind);
}

TEST(CoolingProfile, EngageTemperatureAndAlwaysOn)
{
    EXPECT_EQ(CoolingProfile::engageTempC(Kind::silent), 72.0);
    EXPECT_EQ(CoolingProfile::engageTempC(Kind::balanced), 62.0);
    EXPECT_EQ(CoolingProfile::engageTempC(Kind::max), 0.0);
    EXPECT_FALSE(CoolingProfile::isAlwaysOn(Kind::silent));
    EXPECT_FALSE(CoolingProfile::isAlwaysOn(Kind::balanced));
    EXPECT_TRUE(CoolingProfile::isAlwaysOn(Kind::max));
}

// The generic rules on curves no profile has: empty, single-point, all-zero,
// vertical steps and out-of-range percentages.
TEST(CoolingProfile, RulesOnUnusualCurves)
{
    using P = CoolingProfile::Point;
    EXPECT_EQ(CoolingProfile::floorPercent(std::span<const P>{}, 50), 0.0);
    EXPECT_EQ(CoolingProfile::engageTempC(std::span<const P>{}), 100.0);

    const std::array<P, 1> single{{{60, 40}}};
    EXPECT_EQ(CoolingProfile::floorPercent(single, 10), 40.0);
    EXPECT_EQ(CoolingProfile::floorPercent(single, 90), 40.0);

    const std::array<P, 2> flatZero{{{50, 0}, {80, 0}}};
    EXPECT_EQ(CoolingProfile::engageTempC(flatZero), 80.0);

    const std::array<P, 3> step{{{50, 0}, {60, 20}, {60, 80}}};
    EXPECT_EQ(CoolingProfile::floorPercent(step, 60), 80.0);

    const std::array<P, 2> outOfRange{{{40, -20}, {80, 150}}};
    EXPECT_EQ(CoolingProfile::floorPercent(outOfRange, 30), 0.0);
    EXPECT_EQ(CoolingProfile::floorPercent(outOfRange, 90), 100.0);
    EXPECT_EQ(CoolingProfile::floorPercent(outOfRange, 75), 100.0);
}

TEST(CoolingProfile, RawValuesRoundTripAndNothingElseParses)
{
    for (const Kind kind : CoolingProfile::allCases)
        EXPECT_EQ(CoolingProfile::fromRawValue(CoolingProfile::rawValue(kind)), kind);
    for (const char* raw : {"Max", "SILENT", "", " balanced", "balanced ", "auto", "turbo"})
        EXPECT_FALSE(CoolingProfile::fromRawValue(raw).has_value()) << '"' << raw << '"';
}

} // namespace
