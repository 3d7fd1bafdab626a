#include "FanControllerTest.h"
#include "platform/PowerProfiles.h"

namespace {

using namespace quillon::test;

// Records what the controller asks of the profile daemon; answers at once.
struct FakePowerProfiles : quillon::platform::PowerProfiles {
    void hold(const QString& profile, const QString&, Done done) override
    {
        calls << "hold " + profile;
        done(accept, accept ? QString() : QStringLiteral("no power profile daemon runs"));
    }
    void release() override { calls << "release"; }

    QStringList calls;
    bool accept = true;
};

class FanProfileCooling : public FanControllerTest {
protected:
    FanProfileCooling() { powerProfiles = &profiles; }
    QVariantMap noFans() const
    {
        QVariantMap s = status(60);
        s.insert("fanControlUnavailable", "thinkpad_acpi needs fan_control=1");
        return s;
    }

    FakePowerProfiles profiles;
};

TEST_F(FanProfileCooling, WhereNoFanCanBeDrivenTheStrongestRequestIsHeldAsThePowerProfile)
{
    create();
    poll(noFans());
    EXPECT_TRUE(profiles.calls.isEmpty()) << "nothing asks for cooling yet";

    fc->requestCooling(Kind::balanced, "render");
    EXPECT_EQ(profiles.calls, QStringList{"hold balanced"});
    EXPECT_EQ(fc->profileCooling(), "Cooling through the power profile: Balanced");
    fc->requestCooling(Kind::max, "rule");
    fc->requestCooling(Kind::max, "rule");
    EXPECT_EQ(profiles.calls, (QStringList{"hold balanced", "hold performance"})) << "once per change";
    EXPECT_EQ(fc->profileCooling(), "Cooling through the power profile: Performance");
    poll(noFans());
    EXPECT_EQ(profiles.calls.size(), 2) << "a poll that changes nothing asks nothing";

    fc->requestCooling(std::nullopt, "rule");
    fc->requestCooling(std::nullopt, "render");
    EXPECT_EQ(profiles.calls.last(), "release");
    EXPECT_EQ(fc->profileCooling(), "");
}

// On such a machine the fan section's own switch and profile choice hold the
// power profile, whatever mode was saved, and the helper is sent nothing.
TEST_F(FanProfileCooling, TheFanSwitchHoldsTheChosenProfileAndSendsNoFloor)
{
    create();
    poll(noFans());
    ASSERT_TRUE(fc->profileRoute());
    fc->setCoolingMode(quillon::app::CoolingMode::manual);
    fc->setFansEnabled(true);
    EXPECT_TRUE(fc->fansEnabled());
    EXPECT_EQ(profiles.calls, QStringList{"hold balanced"});
    fc->setCoolingProfile(Kind::silent);
    EXPECT_EQ(profiles.calls.last(), "hold power-saver");
    fc->setFansEnabled(false);
    EXPECT_EQ(profiles.calls.last(), "release");
    EXPECT_TRUE(link.floors.isEmpty()) << "nothing for the helper to drive";

    poll(status(60));
    EXPECT_FALSE(fc->profileRoute()) << "drivable fans again";
}

TEST_F(FanProfileCooling, DrivableFansNeverTouchTheProfileAndAFailedHoldSaysWhy)
{
    create();
    poll(status(60));
    fc->requestCooling(Kind::max, "rule");
    EXPECT_TRUE(profiles.calls.isEmpty()) << "the helper drives the fans";

    profiles.accept = false;
    poll(noFans());
    EXPECT_EQ(profiles.calls, QStringList{"hold performance"});
    EXPECT_EQ(fc->profileCooling(), "The power profile could not be held: no power profile daemon runs");

    // The fans became drivable (the module option set, the helper restarted).
    poll(status(60));
    EXPECT_EQ(profiles.calls.last(), "release");
}

} // namespace
