// Closed-lid keep-awake: what it holds while on, its automatic stops and the
// reminder when the lid is opened again.
#include "support/KeepAwakeRig.h"

using namespace quillon::test;
using Level = quillon::platform::ThermalPressure::Level;
using quillon::app::LidManager;
using Phase = quillon::app::SleepAssertions::KindState::Phase;
using Desktop = quillon::platform::LidSwitchOwner::Desktop;

namespace {

class LidManagerTest : public KeepAwakeRig {
protected:
    LidManager& lid() { return *manager->lid(); }
    // The lid poll while the lid stays in one state (nullopt: no reading) for
    // this many seconds: one tick when the state is first seen, then one a second.
    void lidFor(int seconds, std::optional<bool> closed)
    {
        lidSensor.closed = closed;
        for (int i = 0; i <= seconds; ++i) {
            clock.advance(1);
            lid().lidTick();
        }
    }
    int reminders() const
    {
        return static_cast<int>(center.titles().count("☀️ Closed-lid keep-awake is still on"));
    }
};

// On, however often: the helper's lock (asked again by the watchdog), one
// system assertion and balanced cooling; off releases them. It is shown on
// only once the helper holds the lock.
TEST_F(LidManagerTest, OnHoldsLockAssertionAndCoolingOffReleasesThem)
{
    lid().setEnabled(true);
    lid().setEnabled(true);
    EXPECT_EQ(link.requests, QStringList{"setLidStayAwake 1"});
    EXPECT_EQ(lid().holdState().phase, Phase::confirming);
    link.deliver();
    EXPECT_EQ(lid().holdState().phase, Phase::inForce);
    EXPECT_EQ(lid().holdState().through, "logind (fan helper)");
    EXPECT_EQ(liveAssertions(), 1);
    EXPECT_TRUE(lid().assertions().isHeld(quillon::app::SleepAssertions::Kind::system));
    EXPECT_EQ(manager->fan()->triggerProfile(), quillon::core::CoolingProfile::Kind::balanced);
    lid().tick();
    lid().tick();
    EXPECT_EQ(link.count("setLidStayAwake 1"), 3);

    lid().setEnabled(false);
    EXPECT_EQ(link.requests.last(), "setLidStayAwake 0");
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(manager->fan()->triggerProfile().has_value());
}

TEST_F(LidManagerTest, WithoutAHelperTheAppHoldsTheLidLockItself)
{
    link.available = false;
    SetUp();
    lid().setEnabled(true);
    lid().tick();
    EXPECT_TRUE(link.requests.isEmpty());
    EXPECT_EQ(liveAssertions(), 2);
    EXPECT_EQ(held(quillon::platform::PowerAssertionType::preventLidSleep), 1);
    EXPECT_EQ(lid().holdState().phase, Phase::inForce);
    lid().setEnabled(false);
    EXPECT_EQ(liveAssertions(), 0);
}

TEST_F(LidManagerTest, AHelperThatCannotTakeTheLockSwitchesItOffWithItsReason)
{
    link.lidRefusal = "lid-stay-awake refused: org.freedesktop.DBus.Error.AccessDenied: no";
    lid().setEnabled(true);
    link.deliver();
    EXPECT_FALSE(lid().enabled());
    EXPECT_EQ(lid().holdState().phase, Phase::failed);
    EXPECT_TRUE(lid().holdState().problem.contains("AccessDenied")) << lid().holdState().problem.toStdString();
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(manager->fan()->triggerProfile().has_value());

    // Once the helper can, the next try holds it.
    link.lidRefusal.clear();
    lid().setEnabled(true);
    link.deliver();
    EXPECT_EQ(lid().holdState().phase, Phase::inForce);
}

TEST_F(LidManagerTest, APowerManagerThatKeepsTheLidIsNamedWithTheSettingToChange)
{
    lidOwner.current = {Desktop::kde, "PowerDevil", false};
    lid().setEnabled(true);
    EXPECT_FALSE(lid().enabled());
    EXPECT_EQ(lid().holdState().phase, Phase::failed);
    EXPECT_TRUE(lid().holdState().problem.contains("When laptop lid closed"))
        << lid().holdState().problem.toStdString();
    EXPECT_EQ(link.count("setLidStayAwake 1"), 0);
    EXPECT_EQ(lidOwner.handOvers, 0);
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_TRUE(lid().lastAutoOff().isEmpty()) << "a refusal when switched on is an answer, not news";
    EXPECT_TRUE(center.shown.isEmpty());

    // With its own lid action "Do nothing", a closed lid is held as it is.
    lidOwner.current = {Desktop::kde, "PowerDevil", false, true};
    lid().setEnabled(true);
    EXPECT_TRUE(lid().enabled());
    EXPECT_EQ(lid().holdState().phase, Phase::inForce);
    EXPECT_TRUE(lid().holdState().through.contains("Do nothing")) << lid().holdState().through.toStdString();
    EXPECT_EQ(link.count("setLidStayAwake 1"), 0);
}

// Xfce is asked to hand the lid back, and its setting is put back when off,
// or when it never lets go.
TEST_F(LidManagerTest, XfceHandsTheLidBackFirstAndGetsItsSettingBackWhenOff)
{
    lidOwner.current = {Desktop::xfce, "xfce4-power-manager", true};
    lid().setEnabled(true);
    EXPECT_TRUE(lid().enabled());
    EXPECT_EQ(lidOwner.handOvers, 1);
    EXPECT_EQ(lid().holdState().phase, Phase::confirming);
    EXPECT_EQ(link.count("setLidStayAwake 1"), 0) << "a lock is useless while Xfce still holds the lid";

    lidFor(1, false);
    EXPECT_EQ(lidOwner.handOvers, 1) << "asked once per switching on";
    lidOwner.current = {};
    lidFor(1, false);
    link.deliver();
    EXPECT_EQ(lid().holdState().phase, Phase::inForce);

    lid().setEnabled(false);
    EXPECT_EQ(lidOwner.restores, 1);

    // Switched off before Xfce answered: the setting it then changed is put back.
    lidOwner.current = {Desktop::xfce, "xfce4-power-manager", true};
    lidOwner.answerLater = true;
    lid().setEnabled(true);
    lid().setEnabled(false);
    EXPECT_EQ(lidOwner.restores, 1);
    lidOwner.pending();
    EXPECT_EQ(lidOwner.restores, 2);
    EXPECT_FALSE(lid().enabled());

    link.clear();
    lidOwner.answerLater = false;
    lid().setEnabled(true);
    lidFor(static_cast<int>(LidManager::handOverWait), false);
    EXPECT_FALSE(lid().enabled());
    EXPECT_TRUE(lid().holdState().problem.contains("did not hand the lid back"))
        << lid().holdState().problem.toStdString();
    EXPECT_EQ(lidOwner.restores, 3);
    EXPECT_EQ(link.count("setLidStayAwake 1"), 0);
}

TEST_F(LidManagerTest, APowerManagerTakingTheLidLaterIsCaughtByTheWatchdog)
{
    lid().setEnabled(true);
    link.deliver();
    lidOwner.current = {Desktop::mate, "mate-power-manager", false};
    lid().tick();
    EXPECT_FALSE(lid().enabled());
    EXPECT_TRUE(lid().holdState().problem.contains("MATE")) << lid().holdState().problem.toStdString();
    // Told like every other automatic stop.
    EXPECT_EQ(lid().lastAutoOff(), lid().holdState().problem);
    ASSERT_EQ(center.titles().count("🌡️ Closed-lid stopped"), 1);
    EXPECT_EQ(center.shown.last().body, lid().holdState().problem);
}

// The lid is held only while its system assertion is in force too; one that
// nothing holds switches it off with the reason.
TEST_F(LidManagerTest, TheLidIsHeldOnlyWhileItsSystemAssertionIsInForceToo)
{
    backend->confirmLater = true;
    lid().setEnabled(true);
    link.deliver();
    EXPECT_EQ(lid().holdState().phase, Phase::confirming) << "the lid lock alone lets the machine sleep on idle";
    const auto system = lid().assertions().ids().at(quillon::app::SleepAssertions::Kind::system);
    backend->settle(system, quillon::platform::PowerAssertionState::Phase::inForce);
    EXPECT_EQ(lid().holdState().phase, Phase::inForce);
    EXPECT_EQ(lid().holdState().through, "logind (fan helper)");

    backend->settle(system, quillon::platform::PowerAssertionState::Phase::failed, "no power manager answers");
    EXPECT_FALSE(lid().enabled());
    EXPECT_EQ(lid().holdState().phase, Phase::failed);
    EXPECT_TRUE(lid().holdState().problem.contains("no power manager answers"))
        << lid().holdState().problem.toStdString();
    EXPECT_EQ(link.requests.last(), "setLidStayAwake 0");
    EXPECT_FALSE(manager->fan()->triggerProfile().has_value());

    // Refused at once: the helper is not even asked.
    backend->refuse = true;
    lid().setEnabled(true);
    EXPECT_FALSE(lid().enabled());
    EXPECT_TRUE(lid().holdState().problem.contains("nothing here")) << lid().holdState().problem.toStdString();
    EXPECT_EQ(link.count("setLidStayAwake 1"), 1);
}

// Heat stops it at once (fair heat does not), a low battery on the watchdog
// unless on AC or that stop is switched off; each stop is told.
TEST_F(LidManagerTest, HeatStopsAtOnceLowBatteryOnTheWatchdog)
{
    lid().setEnabled(true);
    thermal.set(Level::fair);
    EXPECT_TRUE(lid().enabled());
    thermal.set(Level::serious);
    EXPECT_FALSE(lid().enabled());
    EXPECT_EQ(lid().lastAutoOff(), "Got too hot — closed-lid auto-stopped for safety.");
    ASSERT_EQ(center.titles().count("🌡️ Closed-lid stopped"), 1);
    EXPECT_EQ(center.shown.last().body, lid().lastAutoOff());
    EXPECT_EQ(liveAssertions(), 0);

    lid().setEnabled(true); // switching on again clears the reason; still too hot on the next check
    EXPECT_TRUE(lid().lastAutoOff().isEmpty());
    lid().tick();
    EXPECT_FALSE(lid().enabled());

    thermal.set(Level::nominal);
    lid().setEnabled(true);
    supply->battery(5, true);
    lid().tick();
    EXPECT_TRUE(lid().enabled());
    supply->battery(15, false);
    lid().tick();
    EXPECT_FALSE(lid().enabled());
    EXPECT_EQ(lid().lastAutoOff(), "Battery below 15% — closed-lid stopped so the Mac can sleep.");
    EXPECT_EQ(center.shown.last().body, lid().lastAutoOff());

    settings.setFlag(quillon::app::Settings::Key::lowBatteryAutoStop, false);
    lid().setEnabled(true);
    lid().tick();
    EXPECT_TRUE(lid().enabled());
}

TEST_F(LidManagerTest, ReminderAfterFiveSecondsOpenOncePerClosingWhoseTurnOffSwitchesItOff)
{
    lid().setEnabled(true);
    lidFor(10, false);
    EXPECT_EQ(reminders(), 0); // never closed during this enablement
    lidFor(3, true);
    lidFor(4, false);
    EXPECT_EQ(reminders(), 0);
    lidFor(3, true);
    lidFor(5, false);
    EXPECT_EQ(reminders(), 1);
    lidFor(30, false);
    EXPECT_EQ(reminders(), 1);
    lidFor(1, true);
    lidFor(6, false);
    ASSERT_EQ(center.shown.size(), 1); // the newer reminder replaced the older one
    EXPECT_EQ(reminders(), 1);
    const quint32 reminder = center.shown[0].id;
    center.invoke(reminder, "LID_KEEP");
    EXPECT_TRUE(lid().enabled());

    center.shown.clear();
    center.present = false;
    lidFor(1, true);
    lidFor(6, false);
    EXPECT_TRUE(center.shown.isEmpty()) << "no notification service: no reminder";
    center.invoke(reminder, "LID_OFF");
    EXPECT_FALSE(lid().enabled());
    EXPECT_EQ(liveAssertions(), 0);
}

// A tick without a reading tells nothing: the lid is neither opened nor closed by it.
TEST_F(LidManagerTest, NoLidReadingNeitherOpensNorClosesTheLid)
{
    lid().setEnabled(true);
    lidFor(2, true);
    lidFor(10, std::nullopt);
    EXPECT_EQ(reminders(), 0) << "not read as opened";
    lidFor(1, false);
    lidFor(10, std::nullopt);
    lidFor(0, false);
    EXPECT_EQ(reminders(), 1) << "not read as closed: the lid has stayed open over 5 s";
}

} // namespace
