#include "ServiceRig.h"

#include <functional>
#include <gtest/gtest.h>

using quillon::daemon::DaemonLog;
using quillon::smc::SimulatedMac;
using quillon::test::ServiceRig;

namespace {

TEST(Startup, HandsEverythingBackBeforeServing)
{
    ServiceRig rig(ServiceRig::Config::appleSiliconLaptop());
    // What a crashed helper could leave behind.
    for (const char* key : {"Ftst", "F0Md", "F1Md"})
        rig.sim.smc.writeU8(key, 1);
    rig.lid.isHeld = true;

    rig.start();
    EXPECT_EQ(rig.forceTest() + rig.mode(0) + rig.mode(1), 0);
    EXPECT_FALSE(rig.lid.isHeld);
    EXPECT_FALSE(rig.loopTimer.isRunning);
    EXPECT_TRUE(rig.watchdogTimer.isRunning);
    EXPECT_EQ(rig.watchdogTimer.first.count(), 2000);
    EXPECT_EQ(rig.watchdogTimer.interval.count(), 2000);
    // Tc0P has a safety prefix but is no float; TC0P, Ts0P, TB0T are no safety keys.
    EXPECT_EQ(rig.log.all(),
        "Quillon daemon: opened SMC, 2 fans, 4 CPU keys, 8 safety keys, 2 GPU keys\n"
        "Quillon daemon: reset to Apple-auto control on startup (safety)\n");
}

TEST(Release, EveryPathHandsTheFansBackVerifiedAndSaysWhy)
{
    struct Path {
        const char* name;
        std::function<void(ServiceRig&)> trigger;
        const char* line; // the path's own log line, if any
    };
    const Path paths[] = {
        {"floor 0", [](ServiceRig& r) { EXPECT_EQ(r.service->setFanFloor(0).text, "boost off"); }, nullptr},
        {"stop request", [](ServiceRig& r) { EXPECT_EQ(r.service->stopBoost().text, "boost stopped"); }, nullptr},
        {"lost readings",
            [](ServiceRig& r) {
                r.setFaults(SimulatedMac::temperatureReadsFail);
                r.runTicks(2);
            },
            "Quillon daemon: lost all temp readings — releasing to Apple"},
        {"critical heat",
            [](ServiceRig& r) {
                r.setFaults(SimulatedMac::temperaturesRead105);
                r.runTicks(2); // [60, 105]: the upper middle of two is already critical
            },
            "Quillon daemon: CRITICAL temp 105° ≥ 100° — releasing FULL control to Apple"},
        {"silent app",
            [](ServiceRig& r) {
                r.advance(std::chrono::milliseconds(6001));
                r.service->checkWatchdog();
            },
            "Quillon daemon: WATCHDOG — app silent, releasing fans to Apple"},
        {"termination", [](ServiceRig& r) { r.service->emergencyRelease(); }, nullptr},
    };
    for (const Path& path : paths) {
        ServiceRig rig(ServiceRig::Config::appleSiliconLaptop());
        rig.holdTemperature(60);
        rig.start().setFanFloor(40);
        rig.runTicks(1);
        ASSERT_EQ(rig.mode(0), 1) << path.name;
        path.trigger(rig);

        EXPECT_FALSE(rig.service->isBoosted()) << path.name;
        EXPECT_FALSE(rig.loopTimer.isRunning) << path.name;
        EXPECT_EQ(rig.service->floorPercent(), 0) << path.name;
        EXPECT_EQ(rig.forceTest() + rig.mode(0) + rig.mode(1), 0) << path.name;
        EXPECT_TRUE(rig.log.has("Quillon daemon: released to Apple-auto (verified, attempt 1)")) << path.name;
        if (path.line) {
            EXPECT_TRUE(rig.log.has(path.line)) << path.name << "\n" << rig.log.all();
        }
        rig.setFaults(0);
        rig.runTicks(3);
        EXPECT_EQ(rig.mode(0), 0) << path.name << ": no later tick takes the fans again";
    }
}

TEST(Release, HeatSpikesAreRiddenOutButSustainedHeatIsNot)
{
    ServiceRig rig;
    rig.holdTemperature(60);
    rig.start().setFanFloor(40);
    rig.runTicks(6); // samples on ticks 1, 3, 5, 7: 60 °C each
    const struct {
        bool hot;
        bool boosted; // after the sample
    } samples[] = {
        {true, true},  // [60, 60, 60, 60, 105]
        {false, true}, // [60, 60, 60, 105, 60]
        {true, true},  // [60, 60, 105, 60, 105]: two of five
        {false, true}, // [60, 105, 60, 105, 60]
        {true, false}, // [105, 60, 105, 60, 105]: three of five
    };
    for (const auto& sample : samples) {
        rig.setFaults(sample.hot ? SimulatedMac::temperaturesRead105 : 0);
        rig.runTicks(2);
        EXPECT_EQ(rig.service->isBoosted(), sample.boosted);
    }
    EXPECT_EQ(rig.mode(0), 0);
}

TEST(Release, AFloorWithoutSafetySensorsOrThatTheFirstTickDropsIsAnsweredAsRefused)
{
    ServiceRig::Config noSafetySensors = ServiceRig::plainMachine();
    noSafetySensors.sensors
        = {{"Ts0P", quillon::smc::SmcType::flt, 1.0, 0.0}, {"Tc0P", quillon::smc::SmcType::sp78, 1.0, 0.0}};
    const struct {
        ServiceRig::Config config;
        std::uint8_t faults;
        const char* text;
        const char* recorded;
        const char* line;
    } cases[] = {
        {noSafetySensors, 0, "refused: no temperature sensors; the firmware keeps the fans", "no-sensors",
            "Quillon daemon: no temp sensors — refusing manual control for safety"},
        {ServiceRig::Config::appleSiliconLaptop(), SimulatedMac::temperatureReadsFail,
            "refused: no temperature readings; the firmware keeps the fans", "no-readings",
            "Quillon daemon: lost all temp readings"},
        {ServiceRig::Config::appleSiliconLaptop(), SimulatedMac::temperaturesRead105,
            "refused: critical temperature; the firmware keeps the fans", "critical-heat",
            "Quillon daemon: CRITICAL temp"},
    };
    for (const auto& c : cases) {
        ServiceRig rig(c.config);
        auto& service = rig.start();
        rig.setFaults(c.faults);
        const auto reply = service.setFanFloor(60);
        EXPECT_FALSE(reply.ok) << c.recorded;
        EXPECT_EQ(reply.text, c.text);
        EXPECT_EQ(rig.forceTest() + rig.mode(0) + rig.mode(1), 0) << c.recorded;
        EXPECT_FALSE(service.isBoosted()) << c.recorded;
        EXPECT_EQ(service.status().safetyRelease, c.recorded);
        EXPECT_TRUE(rig.log.has(c.line)) << rig.log.all();
    }
}

TEST(Release, ASafetyReleaseIsReportedWithHowLongItsCauseHasBeenGone)
{
    ServiceRig rig;
    rig.holdTemperature(60);
    auto& service = rig.start();
    service.setFanFloor(40);
    rig.setFaults(SimulatedMac::temperaturesRead105);
    rig.runTicks(6);
    ASSERT_FALSE(service.isBoosted());

    const auto afterHalfASecond = [&rig] {
        rig.advance(std::chrono::milliseconds(500));
        return rig.service->status();
    };
    EXPECT_EQ(afterHalfASecond().safetyRelease, "critical-heat");
    EXPECT_EQ(afterHalfASecond().safetyClearSeconds, 0) << "still hot";
    rig.setFaults(0);
    afterHalfASecond(); // first seen cool
    for (int i = 0; i < 20; ++i)
        afterHalfASecond();
    EXPECT_NEAR(afterHalfASecond().safetyClearSeconds, 10.5, 0.01);
    rig.setFaults(SimulatedMac::temperaturesRead105);
    EXPECT_EQ(afterHalfASecond().safetyClearSeconds, 0) << "heat again starts the count over";

    rig.setFaults(0);
    EXPECT_TRUE(service.setFanFloor(40).ok);
    EXPECT_EQ(afterHalfASecond().safetyRelease, "") << "a floor that takes ends the record";
}

TEST(Release, AnUnverifiedHandBackIsRetriedUntilItHoldsWithTheFansAtFullMeanwhile)
{
    const struct {
        const char* name;
        std::uint8_t faults;
        bool fullTargetWritten; // with failing writes nothing can be written
    } cases[] = {
        {"writes fail", SimulatedMac::writesFail, false},
        {"the firmware will not take the fans", SimulatedMac::modeWritesIgnored, true},
    };
    for (const auto& c : cases) {
        ServiceRig rig(ServiceRig::Config::appleSiliconLaptop());
        rig.holdTemperature(60);
        auto& service = rig.start();
        service.setFanFloor(40);
        rig.runTicks(1);
        rig.setFaults(c.faults);
        rig.clock.slept = {};

        const auto reply = service.stopBoost();
        EXPECT_FALSE(reply.ok) << c.name;
        EXPECT_EQ(
            reply.text, "release pending: the firmware has not taken the fans back yet; fans at full speed, retrying");
        EXPECT_EQ(rig.clock.slept.count(), 4 * 120) << "four pauses between five attempts";
        EXPECT_TRUE(rig.log.has("WARNING — could not verify auto mode after retries")) << c.name;
        EXPECT_FALSE(service.isBoosted());
        EXPECT_TRUE(service.status().releasePending) << c.name;
        if (c.fullTargetWritten) {
            EXPECT_EQ(rig.target(0), 5700) << c.name;
            EXPECT_EQ(rig.target(1), 6200) << c.name;
        }
        EXPECT_FALSE(service.stopBoost().ok) << c.name << ": asking again changes nothing";

        rig.runTicks(25); // ten seconds of retries
        EXPECT_TRUE(service.releasePending()) << c.name;
        rig.setFaults(0);
        int ticks = 0;
        while (service.releasePending() && ticks < 20) {
            rig.runTicks(1);
            ++ticks;
        }
        EXPECT_LE(ticks, 5) << c.name << ": retries are never more than 2 s apart";
        EXPECT_EQ(rig.forceTest() + rig.mode(0) + rig.mode(1), 0) << c.name;
        EXPECT_FALSE(rig.loopTimer.isRunning) << c.name;
        const std::string all = rig.log.all();
        const std::size_t verified = all.find("released to Apple-auto (verified after ");
        ASSERT_NE(verified, std::string::npos) << c.name << all;
        EXPECT_LE(std::stoi(all.substr(verified + 39)), 9) << c.name << ": 0.4 s doubling to 2 s, not every tick";
        EXPECT_TRUE(service.stopBoost().ok) << c.name;
    }
}

TEST(Release, AFloorDuringAPendingReleaseTakesTheFansAgain)
{
    ServiceRig rig(ServiceRig::Config::appleSiliconLaptop());
    rig.holdTemperature(60);
    auto& service = rig.start();
    service.setFanFloor(40);
    rig.setFaults(SimulatedMac::modeReadsBackManual);
    service.stopBoost();
    ASSERT_TRUE(service.releasePending());
    rig.setFaults(0);
    rig.advance(std::chrono::milliseconds(400));
    EXPECT_TRUE(service.setFanFloor(30).ok);
    EXPECT_FALSE(service.releasePending());
    EXPECT_TRUE(service.isBoosted());
    rig.runTicks(3);
    EXPECT_EQ(rig.mode(0), 1) << "the loop drives the new floor, no retry undoes it";
}

} // namespace
