// Which floor the controller sends, and when: modes, the timed boost,
// automatic cooling and other managers' requests.
#include "FanControllerTest.h"

#include "support/QStringPrinter.h"

using namespace quillon::test;
using quillon::app::CoolingMode;

namespace {

class FanCooling : public FanControllerTest {
protected:
    void SetUp() override { create(); }

    void manualOn()
    {
        fc->setCoolingMode(CoolingMode::manual);
        fc->setFansEnabled(true);
        link.deliver();
    }
    void autoOn(Kind kind)
    {
        fc->setCoolingProfile(kind);
        fc->setFansEnabled(true);
        link.deliver();
    }
    double secondsUntilExpiry() const
    {
        return static_cast<double>(clock.now().msecsTo(fc->boostExpiresAt())) / 1000.0;
    }
};

TEST_F(FanCooling, AutoSendsOnEngageThenOnlyOnTwoPointChanges)
{
    autoOn(Kind::balanced);
    EXPECT_TRUE(link.floors.isEmpty()); // no reading yet, nothing to decide
    poll(status(70));
    ASSERT_EQ(link.floors.size(), 1);
    EXPECT_NEAR(link.floors[0], 49.615, 0.001);
    EXPECT_TRUE(fc->autoEngaged());
    EXPECT_TRUE(fc->isBoosted());
    EXPECT_FALSE(fc->boostExpiresAt().isValid()); // automatic cooling never expires

    for (int i = 0; i < 15; ++i)
        poll(status(70.5)); // floor 51.1: less than 2 points from what was sent
    EXPECT_EQ(fc->cpuTempSmoothed(), 70.5);
    EXPECT_EQ(link.floors.size(), 1);
    for (int i = 0; i < 15; ++i)
        poll(status(71)); // floor 52.69
    ASSERT_EQ(link.floors.size(), 2);
    EXPECT_NEAR(link.floors[1], 52.692, 0.001);

    fc->setCoolingProfile(Kind::max); // a change by the user is always sent
    EXPECT_EQ(link.floors.size(), 3);
    EXPECT_EQ(settings.coolingProfile(), "max");
}

// The hotter of CPU and GPU counts, and max holds a floor even when cold.
TEST_F(FanCooling, TheFirstFloorFollowsTheHotterReadingAndTheProfile)
{
    const struct {
        Kind profile;
        double cpu, gpu, floor;
    } cases[] = {{Kind::balanced, 40, 75, 65.0}, {Kind::max, 25, qQNaN(), 35.0}};
    for (const auto& c : cases) {
        link.boosted = false;
        link.clear();
        create();
        autoOn(c.profile);
        poll(status(c.cpu, c.gpu));
        ASSERT_EQ(link.floors.size(), 1) << c.cpu;
        EXPECT_NEAR(link.floors[0], c.floor, 0.001) << c.cpu;
    }
}

TEST_F(FanCooling, AutoLetsGoOnlyOnTheSixthQuietEvaluation)
{
    autoOn(Kind::silent);
    poll(status(80));
    ASSERT_TRUE(fc->autoEngaged());
    poll(status(50)); // median 65: still a floor
    for (int quiet = 1; quiet <= 5; ++quiet) {
        poll(status(50));
        EXPECT_TRUE(fc->autoEngaged()) << quiet;
    }
    EXPECT_EQ(link.count("stopBoost"), 0);
    poll(status(50));
    EXPECT_FALSE(fc->autoEngaged());
    EXPECT_EQ(link.count("stopBoost"), 1);
    EXPECT_FALSE(fc->isBoosted());
    EXPECT_TRUE(fc->autoActive()); // still watching
}

// The poll runs every second while the helper holds a floor or the lid lock
// or live figures are on screen, every five seconds otherwise; a floor goes
// out with the poll already at one second, so the helper's watchdog (six
// seconds of silence) is fed from the moment it has something to hand back.
TEST_F(FanCooling, PollsEverySecondOnlyWhileSomethingIsHeldOrShown)
{
    poll(status(50));
    EXPECT_EQ(fc->pollIntervalMs(), 5000) << "at rest";

    const int asked = link.count("getStatus");
    fc->setLiveView("panel", true);
    EXPECT_EQ(link.count("getStatus"), asked + 1) << "an opened panel gets today's figures at once";
    fc->setLiveView("tray", true);
    fc->setLiveView("panel", false);
    EXPECT_EQ(fc->pollIntervalMs(), 1000) << "the temperature in the tray still shows";
    fc->setLiveView("tray", false);
    EXPECT_EQ(fc->pollIntervalMs(), 5000);

    fc->setCoolingMode(CoolingMode::manual);
    fc->setFansEnabled(true);
    ASSERT_EQ(link.floors.size(), 1);
    EXPECT_EQ(fc->pollIntervalMs(), 1000) << "before the floor's reply is in";
    link.deliver();
    poll(status(50));
    EXPECT_EQ(fc->pollIntervalMs(), 1000) << "while the helper holds the floor";
    fc->setFansEnabled(false);
    link.deliver();
    poll(status(50));
    EXPECT_EQ(fc->pollIntervalMs(), 5000) << "let go";

    fc->setLidStayAwake(true);
    EXPECT_EQ(fc->pollIntervalMs(), 1000) << "the lid lock is the watchdog's to hand back too";
    link.deliver();
    poll(status(50, qQNaN(), false, true));
    EXPECT_EQ(fc->pollIntervalMs(), 1000);
}

TEST_F(FanCooling, ManualBoostRunsForItsDurationThenTurnsOff)
{
    manualOn();
    EXPECT_EQ(link.floors, QList<double>{100.0});
    EXPECT_EQ(secondsUntilExpiry(), 600.0);
    EXPECT_EQ(settings.coolingMode(), "manual");

    clock.advance(55);
    fc->pollTick();
    EXPECT_EQ(fc->boostRemainingText(), "9:05");
    clock.advance(486);
    fc->pollTick();
    EXPECT_EQ(fc->boostRemainingText(), "0:59");

    fc->boostExpired();
    link.deliver();
    EXPECT_FALSE(fc->fansEnabled());
    EXPECT_FALSE(fc->isBoosted());
    EXPECT_EQ(link.count("stopBoost"), 1);
    EXPECT_TRUE(fc->boostRemainingText().isEmpty());
    ASSERT_EQ(center.shown.size(), 1);
    EXPECT_EQ(center.shown[0].title, "Fan boost finished");
    EXPECT_EQ(center.shown[0].body, "The boost timer ended — fans are back on automatic.");
}

// At most an hour whatever is asked; re-sent without a duration, the running
// expiry stays; a floor finer than one percent switches the fans off (and is
// not stored), NaN is ignored.
TEST_F(FanCooling, BoostNeverRunsLongerThanAnHourAndAFloorUnderOnePercentEndsIt)
{
    manualOn();
    clock.advance(100);
    EXPECT_TRUE(fc->applyBoost(std::nullopt, false));
    EXPECT_EQ(secondsUntilExpiry(), 500.0);
    fc->setBoostDuration(7200);
    fc->setManualFloor(60);
    EXPECT_EQ(link.floors.last(), 60.0);
    EXPECT_EQ(secondsUntilExpiry(), 3600.0);
    EXPECT_TRUE(fc->applyBoost(5400, false));
    EXPECT_EQ(secondsUntilExpiry(), 3600.0);

    link.clear();
    fc->setManualFloor(qQNaN());
    EXPECT_TRUE(link.requests.isEmpty());
    fc->setManualFloor(1e-300);
    EXPECT_EQ(link.requests, QStringList{"stopBoost"});
    EXPECT_EQ(fc->manualPercent(), 60);
    link.deliver();
    EXPECT_FALSE(fc->fansEnabled());
    EXPECT_FALSE(fc->isBoosted());
}

TEST_F(FanCooling, SwitchingModesHandsOverCleanly)
{
    manualOn();
    fc->setCoolingMode(CoolingMode::automatic);
    link.deliver();
    EXPECT_TRUE(fc->autoActive());
    EXPECT_FALSE(fc->boostExpiresAt().isValid());
    EXPECT_GE(link.count("stopBoost"), 1);
    EXPECT_EQ(settings.coolingMode(), "auto");

    link.clear();
    fc->setCoolingMode(CoolingMode::manual);
    link.deliver();
    EXPECT_FALSE(fc->autoActive());
    EXPECT_EQ(link.floors.last(), 100.0);

    // A manual floor the helper refused leaves no boost, but its timer must not
    // outlive the switch to automatic and later switch the fans off.
    link.floorsSucceed = false;
    link.boosted = false;
    fc->setManualFloor(80);
    link.deliver();
    ASSERT_FALSE(fc->isBoosted());
    fc->setCoolingMode(CoolingMode::automatic);
    EXPECT_FALSE(fc->boostExpiresAt().isValid());
}

TEST_F(FanCooling, AFloorTheHelperDroppedIsSentAgainOnce)
{
    autoOn(Kind::balanced);
    poll(status(70));
    ASSERT_EQ(link.floors.size(), 1);
    link.boosted = false; // the helper's watchdog handed the fans back
    poll(status(70));
    ASSERT_EQ(link.floors.size(), 2);
    EXPECT_EQ(link.floors[1], link.floors[0]);
    EXPECT_TRUE(fc->isBoosted());
    EXPECT_TRUE(link.boosted);

    link.clear();
    manualOn();
    clock.advance(100);
    link.boosted = false;
    poll(status(70));
    EXPECT_EQ(link.floors.last(), 100.0);
    EXPECT_EQ(secondsUntilExpiry(), 499.0); // the user's boost is not extended

    // A refusal is not retried on every poll.
    link.clear();
    link.floorsSucceed = false;
    link.boosted = false;
    poll(status(70));
    EXPECT_EQ(link.floors.size(), 1);
    EXPECT_FALSE(fc->isBoosted());
    for (int i = 0; i < 5; ++i)
        poll(status(70));
    EXPECT_EQ(link.floors.size(), 1);
}

TEST_F(FanCooling, SpinUpIndicatorEndsAtEightyFivePercentOrAfterTwentySeconds)
{
    // The status with one fan turning at `rpm` towards its 5700 maximum.
    const auto turning = [](int rpm) {
        QVariantMap s = status(50);
        s.insert("fans", QVariantList{QVariantMap{
                             {"index", 0}, {"currentRPM", rpm}, {"minRPM", 1200}, {"maxRPM", 5700}, {"targetRPM", 5700}}});
        return s;
    };
    manualOn();
    EXPECT_TRUE(fc->spinningUp());
    EXPECT_EQ(fc->spinUpRemaining(), 5);
    poll(turning(2000));
    EXPECT_TRUE(fc->spinningUp());
    EXPECT_EQ(fc->spinUpRemaining(), 4);
    for (int i = 0; i < 8; ++i)
        poll(turning(2000));
    EXPECT_EQ(fc->spinUpRemaining(), 0);
    poll(turning(4844));
    EXPECT_TRUE(fc->spinningUp());
    poll(turning(4845));
    EXPECT_FALSE(fc->spinningUp()); // 85 % of 5700

    fc->setFansEnabled(false);
    link.deliver();
    link.status = turning(1300);
    fc->setFansEnabled(true);
    link.deliver();
    for (int i = 0; i < 20; ++i)
        poll(turning(1300));
    EXPECT_TRUE(fc->spinningUp());
    poll(turning(1300));
    EXPECT_FALSE(fc->spinningUp());
}

TEST_F(FanCooling, StrongestRequestWinsAndWithdrawalsPeelOff)
{
    fc->requestCooling(Kind::balanced, "lid");
    fc->requestCooling(Kind::max, "render");
    EXPECT_EQ(fc->triggerProfile(), Kind::max);
    fc->requestCooling(Kind::silent, "apps");
    EXPECT_EQ(fc->triggerProfile(), Kind::max);
    fc->requestCooling(std::nullopt, "render");
    EXPECT_EQ(fc->triggerProfile(), Kind::balanced);
    fc->requestCooling(std::nullopt, "lid");
    EXPECT_EQ(fc->triggerProfile(), Kind::silent);
    fc->requestCooling(std::nullopt, "apps");
    EXPECT_FALSE(fc->triggerProfile().has_value());
}

TEST_F(FanCooling, TriggerReplacesTheUsersProfileAndLiftsAManualFloor)
{
    autoOn(Kind::silent);
    poll(status(30));
    EXPECT_TRUE(link.floors.isEmpty());
    fc->requestCooling(Kind::max, "render");
    EXPECT_EQ(link.floors, QList<double>{35.0});

    fc->requestCooling(std::nullopt, "render");
    manualOn();
    fc->setManualFloor(40);
    link.clear();
    fc->requestCooling(Kind::max, "render");
    EXPECT_EQ(link.floors, QList<double>{40.0}); // max(40, 35 at 30 °C)
}

// A request withdrawn hands back to what the user had: nothing with the fans
// off, the user's floor (on a fresh timer) in manual, the profile in auto.
TEST_F(FanCooling, TriggerWithdrawalHandsBackToWhatTheUserHad)
{
    poll(status(60));
    fc->requestCooling(Kind::balanced, "lid");
    link.deliver();
    ASSERT_TRUE(fc->autoEngaged());
    fc->requestCooling(std::nullopt, "lid");
    link.deliver();
    EXPECT_FALSE(fc->autoEngaged());
    EXPECT_FALSE(fc->isBoosted());
    EXPECT_EQ(link.count("stopBoost"), 1);

    manualOn();
    fc->setManualFloor(30);
    fc->requestCooling(Kind::max, "apps");
    clock.advance(200);
    link.clear();
    fc->requestCooling(std::nullopt, "apps");
    EXPECT_EQ(link.floors, QList<double>{30.0});
    EXPECT_EQ(secondsUntilExpiry(), 600.0); // a fresh boost timer
    EXPECT_FALSE(fc->autoEngaged());

    fc->setCoolingMode(CoolingMode::automatic);
    autoOn(Kind::silent);
    poll(status(30));
    fc->requestCooling(Kind::max, "render");
    link.clear();
    fc->requestCooling(std::nullopt, "render");
    EXPECT_TRUE(link.floors.isEmpty()); // silent at 30 °C asks for nothing yet
    for (int i = 0; i < 6; ++i)
        poll(status(30));
    EXPECT_FALSE(fc->autoEngaged());
}

TEST_F(FanCooling, TriggerKeepsCoolingAfterTheUserSwitchesOffOrTheBoostEnds)
{
    poll(status(70));
    manualOn();
    fc->requestCooling(Kind::balanced, "lid");
    fc->boostExpired();
    link.deliver();
    EXPECT_FALSE(fc->fansEnabled());
    EXPECT_TRUE(fc->isBoosted());
    EXPECT_EQ(center.shown.last().body, "The boost timer ended — automation keeps cooling.");
}

class FanControllerStartUp : public FanControllerTest { };

TEST_F(FanControllerStartUp, ReadsTheStoredModeAndProfile)
{
    settings.setCoolingMode("manual");
    settings.setCoolingProfile("silent");
    create();
    EXPECT_EQ(fc->coolingMode(), CoolingMode::manual);
    EXPECT_EQ(fc->coolingProfile(), Kind::silent);
    EXPECT_TRUE(fc->helperInstalled());
    EXPECT_TRUE(link.isOpen());
    EXPECT_FALSE(fc->fansEnabled());
}

} // namespace
