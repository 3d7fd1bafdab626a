// How the controller behaves when the helper lets go for safety or cannot
// hand the fans back, and how many commands one user action sends.
#include "FanControllerTest.h"

#include "support/QStringPrinter.h"

#include <QSignalSpy>

using namespace quillon::test;
using quillon::app::CoolingMode;
using quillon::app::FanController;

namespace {

class FanSafety : public FanControllerTest {
protected:
    void SetUp() override { create(); }

    // The helper has let go of the fans for `release`, whose cause has been
    // gone for clearFor seconds; it holds them again once a floor is sent.
    QVariantMap letGo(const char* release, double clearFor, double cpu = 70)
    {
        link.boosted = false;
        QVariantMap s = status(cpu);
        s.insert("safetyRelease", release);
        s.insert("safetyClearSeconds", clearFor);
        return s;
    }
};

TEST_F(FanSafety, AFloorDroppedForSafetyWaitsForTheCauseToClearOrTheUser)
{
    fc->setCoolingMode(CoolingMode::manual);
    fc->setFansEnabled(true);
    link.deliver();
    ASSERT_EQ(link.floors, QList<double>{100});
    link.clear();

    for (int i = 0; i < 30; ++i)
        poll(letGo("critical-heat", 0, 101));
    EXPECT_TRUE(link.floors.isEmpty()) << "no fight with the helper's safety release";
    EXPECT_EQ(fc->safetyHold(), "critical-heat");
    EXPECT_FALSE(fc->isBoosted());
    EXPECT_FALSE(fc->spinningUp());

    poll(letGo("critical-heat", FanController::safetyClearSeconds - 1));
    EXPECT_TRUE(link.floors.isEmpty());
    poll(letGo("critical-heat", FanController::safetyClearSeconds));
    EXPECT_EQ(link.floors, QList<double>{100}) << "cool long enough: the floor goes back once";
    EXPECT_EQ(fc->safetyHold(), "");

    poll(letGo("no-readings", 0));
    EXPECT_EQ(fc->safetyHold(), "no-readings");
    link.clear();
    fc->setManualFloor(60);
    EXPECT_EQ(link.floors, QList<double>{60}) << "the user asking again is always sent";
    EXPECT_EQ(fc->safetyHold(), "");
}

TEST_F(FanSafety, AutomaticCoolingDoesNotResendIntoAPersistentSensorFault)
{
    fc->setCoolingProfile(Kind::max);
    fc->setFansEnabled(true);
    poll(status(70));
    ASSERT_EQ(link.floors.size(), 1);
    for (int i = 0; i < 60; ++i)
        poll(letGo("no-readings", 0, qQNaN()));
    EXPECT_EQ(fc->safetyHold(), "no-readings");
    EXPECT_EQ(link.floors.size(), 1) << "a minute of faults sends nothing";
    EXPECT_TRUE(fc->autoEngaged()) << "the user's choice stands";
}

TEST_F(FanSafety, OneUserActionSendsOneCommand)
{
    fc->setCoolingProfile(Kind::max);
    fc->setFansEnabled(true);
    poll(status(50));
    link.clear();
    {
        // "quillon ctl fans manual 5": mode, switch and floor in one go.
        FanController::UserAction action(*fc);
        fc->setCoolingMode(CoolingMode::manual);
        fc->setFansEnabled(true);
        fc->setManualFloor(5);
        EXPECT_TRUE(link.requests.isEmpty()) << "nothing leaves before the action ends";
    }
    EXPECT_EQ(link.requests, QStringList{"setFanFloor 5"}) << "never the old 100 % first, nor a stop";

    link.clear();
    fc->setCoolingMode(CoolingMode::automatic);
    ASSERT_EQ(link.requests.size(), 1) << "a switch of mode: one floor, no stop before it";
    EXPECT_EQ(link.floors, QList<double>{fc->autoFloor()});
    link.clear();
    fc->setFansEnabled(false);
    EXPECT_EQ(link.requests, QStringList{"stopBoost"});
}

TEST_F(FanSafety, AnUnverifiedHandBackIsShownAndNotifiedOncePerEpisode)
{
    QVariantMap pending = status(70);
    pending.insert("releasePending", true);
    for (int i = 0; i < 5; ++i)
        poll(pending);
    EXPECT_TRUE(fc->releasePending());
    EXPECT_EQ(center.titles(), QStringList{"Fans not handed back yet"});
    poll(status(70));
    EXPECT_FALSE(fc->releasePending());
    poll(pending);
    EXPECT_EQ(center.titles().size(), 2);
}

TEST_F(FanSafety, AComputerWithoutControllableFansSaysWhyInsteadOfOfferingThem)
{
    QVariantMap s = status(50);
    s.insert("fanControlUnavailable", "the macsmc_hwmon driver runs with fan_control off");
    QSignalSpy changed(fc.get(), &FanController::helperStateChanged);
    poll(s);
    EXPECT_EQ(fc->fanControlUnavailable(), "the macsmc_hwmon driver runs with fan_control off");
    EXPECT_EQ(changed.count(), 1);

    s.insert("fanControlUnavailable", "");
    poll(s);
    EXPECT_EQ(fc->fanControlUnavailable(), "") << "the helper can drive them again";
}

} // namespace
