#include "ServiceRig.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using quillon::smc::SimulatedMac;
using quillon::test::ServiceRig;

namespace {

TEST(ControlLoop, TargetsFollowTheFloorRaisedByTheCurve)
{
    struct Case {
        double floor, celsius, minRpm, maxRpm;
        int target;
        const char* why;
    };
    const Case cases[] = {
        {30, 60, 1200, 5200, 2400, "below the ramp the floor alone decides"},
        {30, 83.5, 1200, 5200, 3200, "the curve's 50 % beats a 30 % floor"},
        {80, 83.5, 1200, 5200, 4400, "a floor above the curve's demand wins"},
        {30, 95, 1200, 5200, 5200, "full speed from 95 °C"},
        {33.33, 60, 1200, 5200, 2533, "the share of the span is cut toward zero"},
        {50, 60, 5200, 1200, 5200, "a maximum below the minimum leaves the minimum"},
    };
    for (const Case& c : cases) {
        ServiceRig::Config config = ServiceRig::plainMachine();
        config.fans = {{c.minRpm, c.maxRpm}};
        ServiceRig rig(config);
        rig.holdTemperature(c.celsius);
        EXPECT_TRUE(rig.start().setFanFloor(c.floor).ok) << c.why;
        EXPECT_EQ(rig.mode(0), 1) << c.why;
        EXPECT_EQ(rig.forceTest(), 1) << c.why;
        EXPECT_EQ(rig.target(0), c.target) << c.why;
    }
}

TEST(ControlLoop, EachFanHasItsRangeAndItsMachinesModeKeySpelling)
{
    for (const bool lowercase : {false, true}) {
        ServiceRig::Config config = ServiceRig::Config::appleSiliconLaptop(); // 1200-5700, 1300-6200
        config.lowercaseModeKeys = lowercase;
        ServiceRig rig(config);
        rig.holdTemperature(50);
        rig.start().setFanFloor(40);
        const char* key = lowercase ? "md" : "Md";
        EXPECT_EQ(rig.mode(0, key) + rig.mode(1, key), 2);
        EXPECT_EQ(rig.target(0), 3000);
        EXPECT_EQ(rig.target(1), 3260);
        rig.service->stopBoost();
        EXPECT_EQ(rig.mode(0, key) + rig.mode(1, key), 0);
    }
}

TEST(ControlLoop, ActsOnTheMedianOfSamplesTakenOnOddTicks)
{
    ServiceRig rig;
    rig.holdTemperature(70);
    rig.start().setFanFloor(1); // tick 1 samples 70 °C: below the ramp, the 1 % floor rules
    EXPECT_EQ(rig.target(0), 1240);

    const struct {
        double celsius;
        int target; // after the next two ticks
    } steps[] = {
        {90, 4330}, // [70, 90]: the upper middle, 90 °C, asks 78.26 %
        {80, 2591}, // [70, 90, 80]: 80 °C asks 34.78 %
        {60, 2591}, // [70, 90, 80, 60]: still 80, neither the latest nor the mean
    };
    int previous = 1240;
    for (const auto& step : steps) {
        rig.holdTemperature(step.celsius);
        rig.runTicks(1);
        EXPECT_EQ(rig.target(0), previous) << "even ticks read no sensor";
        rig.runTicks(1);
        EXPECT_EQ(rig.target(0), step.target) << step.celsius;
        previous = step.target;
    }
}

TEST(ControlLoop, WritesOnlyWhatChangesButRetakesWhatChangedBehindItsBack)
{
    ServiceRig rig;
    rig.holdTemperature(60);
    auto& service = rig.start();
    service.setFanFloor(30);
    rig.runTicks(3);
    rig.sim.smc.writeU8("F0Md", 0); // the firmware, a sleep, another program
    rig.runTicks(1);
    EXPECT_EQ(rig.mode(0), 0) << "a value the loop believes unchanged is not written again";
    service.status();
    rig.runTicks(1);
    EXPECT_EQ(rig.mode(0), 1) << "the status read it back: the next tick takes the fan again";
    rig.setFaults(SimulatedMac::writesFail);
    service.setFanFloor(60);
    rig.runTicks(1);
    rig.setFaults(0);
    rig.runTicks(1);
    EXPECT_EQ(rig.target(0), 3600) << "a write that failed is tried again";

    rig.sim.smc.writeU8("Ftst", 0); // which no status reads
    rig.sim.smc.writeFlt("F0Tg", 1500);
    rig.runTicks(quillon::daemon::ControlWrites::kReassertTicks);
    EXPECT_EQ(rig.forceTest(), 1) << "everything is written again every eight seconds";
    EXPECT_EQ(rig.target(0), 3600);
}

TEST(ControlLoop, LogsTheFirstTickThenEveryTwentieth)
{
    ServiceRig::Config config = ServiceRig::Config::appleSiliconLaptop();
    config.hasForceTestKey = false; // the newest machines: writing "Ftst" fails with 0x84
    ServiceRig rig(config);
    rig.holdTemperature(50);
    rig.start().setFanFloor(40);
    rig.runTicks(18);
    rig.setFaults(SimulatedMac::writesFail); // failed writes only show in the line
    rig.runTicks(26);

    std::vector<std::string> tickLines;
    for (const auto& line : rig.log.lines) {
        if (line.text.starts_with("Quillon daemon: #"))
            tickLines.push_back(line.text);
    }
    ASSERT_EQ(tickLines.size(), 3u) << rig.log.all();
    EXPECT_EQ(
        tickLines[0], "Quillon daemon: #1 Ftst=132 temp=53° floor=40% eff=40% F0:Md=0,Tg=3000/0 F1:Md=0,Tg=3260/0");
    EXPECT_EQ(tickLines[1],
        "Quillon daemon: #20 Ftst=132 temp=53° floor=40% eff=40% F0:Md=130,Tg=3000/130 F1:Md=130,Tg=3260/130");
    EXPECT_TRUE(tickLines[2].starts_with("Quillon daemon: #40 "));
    EXPECT_TRUE(rig.service->isBoosted());
}

TEST(ControlLoop, FloorsAreClampedAndNonFiniteOnesChangeNothing)
{
    ServiceRig rig;
    rig.holdTemperature(60);
    auto& service = rig.start();
    EXPECT_EQ(service.setFanFloor(150).text, "floor set to 100%");
    EXPECT_EQ(service.setFanFloor(42.9).text, "floor set to 42%");
    rig.runTicks(1);
    const int target = rig.target(0);
    for (const double bad :
        {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        const auto reply = service.setFanFloor(bad);
        EXPECT_FALSE(reply.ok);
        EXPECT_EQ(reply.text, "refused: the fan floor must be a finite percentage");
        EXPECT_DOUBLE_EQ(service.floorPercent(), 42.9);
        EXPECT_EQ(rig.target(0), target);
    }
    // Below 1 % a floor would only put the fans in manual mode for nothing.
    for (const double off : {0.0, -3.0, -0.0, 1e-300, 0.99}) {
        service.setFanFloor(30);
        EXPECT_EQ(service.setFanFloor(off).text, "boost off");
        EXPECT_FALSE(service.isBoosted());
        EXPECT_EQ(rig.mode(0), 0);
    }
    EXPECT_EQ(service.setFanFloor(1).text, "floor set to 1%");
}

TEST(ControlLoop, ABurstOfFloorRequestsWritesNoFasterThanTheLoop)
{
    ServiceRig rig;
    rig.holdTemperature(60);
    auto& service = rig.start();
    service.setFanFloor(30);
    for (int i = 0; i < 500; ++i)
        service.setFanFloor(i % 2 ? 90 : 70);
    service.setFanFloor(60);
    EXPECT_EQ(rig.target(0), 2400) << "nothing written within the interval";
    EXPECT_EQ(rig.log.count("Quillon daemon: #"), 1) << "no extra ticks";
    rig.runTicks(1);
    EXPECT_EQ(rig.target(0), 3600) << "the next tick applies the last floor asked";
    rig.advance(std::chrono::milliseconds(400));
    service.setFanFloor(30);
    EXPECT_EQ(rig.target(0), 2400) << "after a quiet interval a request applies at once";
}

} // namespace
