#include "platform/linux/LinuxThermalPressure.h"

#include "support/CapturedTree.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using quillon::platform::linux_::LinuxThermalPressure;
using quillon::platform::linux_::ThermalSnapshot;
using Level = quillon::platform::ThermalPressure::Level;

namespace {

QString fixture(const char* name)
{
    return QStringLiteral(QUILLON_FIXTURES "/thermal/") + name;
}

struct FixtureRow {
    const char* name;
    Level level;
};

// Each captured tree reads as the level its hottest zone stands at.
TEST(LinuxThermalPressure, CapturedMachinesReadAsTheirLevel)
{
    const FixtureRow rows[] = {
        {"laptop-cool", Level::nominal},
        {"laptop-warm", Level::fair},
        {"laptop-throttling", Level::serious},
        {"laptop-critical", Level::critical},
        {"desktop-no-trips", Level::fair},
        {"garbage", Level::nominal},
        {"does-not-exist", Level::nominal},
    };
    for (const FixtureRow& row : rows)
        EXPECT_EQ(LinuxThermalPressure(fixture(row.name), false).level(), row.level) << row.name;
}

// Only what the machine showed at start is ever read: no folder is listed
// and no missing file tried on every sample, and a machine with nothing to
// read is not sampled at all.
TEST(LinuxThermalPressure, SamplesOnlyWhatTheMachineHas)
{
    EXPECT_FALSE(LinuxThermalPressure(fixture("does-not-exist"), true).sampling());
    EXPECT_TRUE(LinuxThermalPressure(fixture("laptop-cool"), true).sampling());

    quillon::test::CapturedTree tree{"thermal/laptop-cool"};
    LinuxThermalPressure pressure(tree.root(), false);
    tree.set("sys/class/thermal/thermal_zone7/type", "x86_pkg_temp");
    tree.set("sys/class/thermal/thermal_zone7/temp", "120000");
    pressure.sample(3);
    pressure.sample(3);
    EXPECT_EQ(pressure.level(), Level::nominal) << "a zone that was not there at start is not looked for";
}

TEST(LinuxThermalPressure, GarbageAndForeignZonesAreLeftOut)
{
    const ThermalSnapshot garbage = ThermalSnapshot::read(fixture("garbage"));
    ASSERT_EQ(garbage.zones.size(), 1u); // only acpitz at 40 °C is a usable reading
    EXPECT_EQ(garbage.zones[0].type, "acpitz");
    EXPECT_FALSE(garbage.zones[0].passiveC.has_value());
    EXPECT_FALSE(garbage.throttleCount.has_value());

    const ThermalSnapshot cool = ThermalSnapshot::read(fixture("laptop-cool"));
    ASSERT_EQ(cool.zones.size(), 2u); // the wireless card's zone is not the machine's heat
    EXPECT_EQ(cool.zones[1].passiveC, 95.0);
    EXPECT_EQ(cool.zones[1].criticalC, 105.0);
    EXPECT_EQ(cool.throttleCount, 48u);
    EXPECT_EQ(cool.throttleCpus, 2);
}

// A copy of a captured tree whose values the test changes between samples.
class LiveTree : public ::testing::Test {
protected:
    void packageAt(int milliCelsius)
    {
        tree.set("sys/class/thermal/thermal_zone1/temp", QByteArray::number(milliCelsius));
    }
    void throttled(int count, int timeMs)
    {
        for (const char* cpu : {"cpu0", "cpu1"}) {
            for (const char* kind : {"core", "package"}) {
                const QString counter
                    = QStringLiteral("sys/devices/system/cpu/%1/thermal_throttle/%2_throttle_").arg(cpu, kind);
                tree.set(counter + "count", QByteArray::number(count));
                tree.set(counter + "total_time_ms", QByteArray::number(timeMs));
            }
        }
    }

    quillon::test::CapturedTree tree{"thermal/laptop-cool"};
};

TEST_F(LiveTree, RisesAfterTwoSamplesFallsAfterTenSecondsAndNeverFlaps)
{
    LinuxThermalPressure pressure(tree.root(), false);
    QSignalSpy changed(&pressure, &LinuxThermalPressure::levelChanged);
    packageAt(96000);
    pressure.sample(3);
    EXPECT_EQ(pressure.level(), Level::nominal); // one hot sample is not yet pressure
    pressure.sample(3);
    EXPECT_EQ(pressure.level(), Level::serious);
    EXPECT_EQ(changed.count(), 1);

    packageAt(50000);
    pressure.sample(3);
    pressure.sample(3);
    pressure.sample(3);
    EXPECT_EQ(pressure.level(), Level::serious);
    pressure.sample(3);
    EXPECT_EQ(pressure.level(), Level::nominal);
    EXPECT_EQ(changed.count(), 2);

    // A hot sample between cool ones does not flap.
    for (int i = 0; i < 5; ++i) {
        packageAt(i % 2 ? 99000 : 50000);
        pressure.sample(3);
    }
    EXPECT_EQ(changed.count(), 2);
}

TEST_F(LiveTree, ThrottleTimeSharesMapToLevelsAndResetsAreNone)
{
    // 2 CPUs over 3 s: 6000 ms of CPU time. Each CPU's core and package
    // counters both grow, and the counters run on from row to row.
    const struct {
        int count;
        int timeMs;
        int thenCount;
        int thenTimeMs;
        Level level;
    } rows[] = {
        {13, 340 + 100, 14, 440 + 100, Level::serious},     // 400 ms of 6000: 6.7 %
        {15, 540 + 1600, 16, 2140 + 1600, Level::critical}, // 6400 ms of 6000
        {17, 3740, 18, 3740, Level::fair},                  // throttle events without time
        {0, 0, 0, 0, Level::nominal}, // counters going backwards (CPUs unplugged and back) are not throttling
    };
    for (const auto& row : rows) {
        LinuxThermalPressure pressure(tree.root(), false);
        throttled(row.count, row.timeMs);
        pressure.sample(3);
        throttled(row.thenCount, row.thenTimeMs);
        pressure.sample(3);
        EXPECT_EQ(pressure.level(), row.level) << row.count;
    }
}

} // namespace
