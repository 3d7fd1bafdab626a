#include "ServiceRig.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using quillon::test::ServiceRig;

namespace {

TEST(Watchdog, AnAppThatKeepsAskingKeepsItsBoostAndLidLock)
{
    ServiceRig rig;
    rig.holdTemperature(60);
    auto& service = rig.start();
    service.setFanFloor(40);
    service.setLidStayAwake(true);
    // Two minutes of the daemon's timers, the app asking every second.
    for (auto t = 400ms; t <= 120s; t += 400ms) {
        rig.runTicks(1);
        if (t % 1200ms == 0ms)
            service.noteContact();
        if (t % 2000ms == 0ms)
            service.checkWatchdog();
    }
    EXPECT_TRUE(service.isBoosted());
    EXPECT_TRUE(rig.lid.isHeld);
    EXPECT_EQ(rig.mode(0), 1);
    EXPECT_FALSE(rig.log.has("WATCHDOG"));
}

TEST(Watchdog, SilenceBeyondSixSecondsReleasesWhateverIsHeld)
{
    for (const bool boosted : {false, true}) {
        for (const bool lidLock : {false, true}) {
            ServiceRig rig;
            rig.holdTemperature(60);
            auto& service = rig.start();
            if (boosted)
                service.setFanFloor(40);
            if (lidLock)
                service.setLidStayAwake(true);
            const std::size_t linesBefore = rig.log.lines.size();

            rig.advance(6000ms); // exactly the limit: not yet silent
            service.checkWatchdog();
            EXPECT_EQ(service.isBoosted(), boosted);
            EXPECT_EQ(rig.lid.isHeld, lidLock);

            rig.advance(1ms);
            service.checkWatchdog();
            EXPECT_FALSE(service.isBoosted() || rig.lid.isHeld || service.lidStayAwake());
            EXPECT_EQ(rig.mode(0), 0);
            EXPECT_EQ(rig.log.has("Quillon daemon: WATCHDOG — app silent, releasing fans to Apple"), boosted);
            EXPECT_EQ(rig.log.has("Quillon daemon: WATCHDOG — app silent, clearing lid-stay-awake"), lidLock);
            if (!boosted && !lidLock) {
                EXPECT_EQ(rig.log.lines.size(), linesBefore) << "an idle helper's watchdog stays quiet";
            }
        }
    }
}

TEST(LidLock, HeldAndDroppedOnRequestOrTerminationButAFailedOneIsRefusedNeverShownHeld)
{
    ServiceRig rig;
    auto& service = rig.start();
    rig.lid.failure = "org.freedesktop.DBus.Error.ServiceUnknown: no logind";
    const auto reply = service.setLidStayAwake(true);
    EXPECT_FALSE(reply.ok);
    EXPECT_EQ(reply.text, "lid-stay-awake refused: org.freedesktop.DBus.Error.ServiceUnknown: no logind");
    EXPECT_TRUE(
        rig.log.has("Quillon daemon: pmset disablesleep failed: org.freedesktop.DBus.Error.ServiceUnknown: no logind"));
    EXPECT_FALSE(service.lidStayAwake());
    EXPECT_FALSE(service.status().lidStayAwake);

    rig.lid.failure.clear(); // once the lock can be had it is taken
    EXPECT_EQ(service.setLidStayAwake(true).text, "lid-stay-awake on");
    EXPECT_TRUE(rig.lid.isHeld && service.status().lidStayAwake);
    EXPECT_EQ(service.setLidStayAwake(false).text, "lid-stay-awake off");
    EXPECT_FALSE(rig.lid.isHeld);
    EXPECT_TRUE(rig.log.has("Quillon daemon: lid-stay-awake ON (disablesleep 1)"));
    EXPECT_TRUE(rig.log.has("Quillon daemon: lid-stay-awake off (disablesleep 0)"));
    service.setLidStayAwake(true);
    service.emergencyRelease();
    EXPECT_FALSE(rig.lid.isHeld || service.lidStayAwake());
}

} // namespace
