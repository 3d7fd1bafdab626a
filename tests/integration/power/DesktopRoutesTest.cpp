// Which route holds each kind on each desktop, and that it counts only once
// the desktop confirms it: Xfce (its power manager), wlroots compositors and
// bare sessions (logind), a sandbox (the portal alone), and desktop services
// that never confirm or never answer, which the real ones cannot be made to
// be. The desktops are stand-ins (desktop_standin.py, inhibit_standin.py);
// logind is the real one. The real desktops' own tests are KdeDesktopTest,
// XfceDesktopTest, GnomeDesktopTest, MateDesktopTest and PortalDesktopTest.
#include "InhibitBusFixture.h"

using namespace quillon::test;

namespace {

using DesktopRoutesTest = InhibitBusFixture;

TEST_F(DesktopRoutesTest, APowerManagerLateToConfirmIsWaitedForAWhileOneThatNeverConfirmsIsLeft)
{
    START_LOGIND();
    {
        // Applies it a third later than it should, as on a busy machine.
        startDesktop("kde", "org.kde.Solid.PowerManagement", timing.kdeSettleMs * 1.33 / 1000);
        SleepAssertions owner(backend);
        ASSERT_TRUE(owner.start(Kind::system));
        const auto state = settled(owner, Kind::system);
        EXPECT_EQ(state.phase, Phase::inForce);
        EXPECT_EQ(state.through, "PowerDevil (KDE)") << state.problem.toStdString();
        services.clear();
    }
    // Accepts everything and applies nothing within the wait.
    startDesktop("kde", "org.kde.Solid.PowerManagement", 60);

    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    const auto state = settled(owner, Kind::system);
    EXPECT_EQ(state.phase, Phase::inForce);
    EXPECT_EQ(state.through, "logind");
    EXPECT_TRUE(waitUntil([&] {
        return logindLocks().contains(LogindLock{"sleep:idle", "Quillon", systemReason, "block"});
    }));
    // Its unconfirmed inhibition was handed back, not left behind.
    EXPECT_TRUE(waitUntil([&] { return held("org.kde.Solid.PowerManagement").isEmpty(); }));
}

TEST_F(DesktopRoutesTest, AHungServiceIsAskedWithoutWaitingAndEndsNotInForceWithTheReason)
{
    startStandIn("hung", "org.kde.Solid.PowerManagement.PolicyAgent");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::display));
    // Back at once, still asking the hung service: nothing waited on it.
    EXPECT_EQ(owner.state(Kind::display).phase, Phase::confirming);
    EXPECT_EQ(owner.state(Kind::display).through, "PowerDevil (KDE)");
    const auto state = settled(owner, Kind::display);
    EXPECT_EQ(state.phase, Phase::failed);
    EXPECT_TRUE(state.problem.contains("PowerDevil (KDE): it did not answer in time")) << state.problem.toStdString();
}

// A container or a minimal session has no system bus at all: Qt's calls on
// such a connection never finish, and keep-awake must not stay "asked" for good.
TEST_F(DesktopRoutesTest, WithoutASystemBusKeepAwakeEndsNotInForceAtOnce)
{
    const QDBusConnection none = QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "no-system-bus");
    ASSERT_FALSE(none.isConnected());
    SleepAssertions owner(
        std::make_shared<quillon::platform::linux_::LinuxPowerAssertions>(sessionBus.connection(), none, timing));
    ASSERT_TRUE(owner.start(Kind::system));
    const auto state = settled(owner, Kind::system);
    QDBusConnection::disconnectFromBus("no-system-bus");
    EXPECT_EQ(state.phase, Phase::failed);
    EXPECT_TRUE(state.problem.contains("logind: no D-Bus connection to it")) << state.problem.toStdString();
}

TEST_F(DesktopRoutesTest, XfceHoldsBothKindsThroughItsPowerManager)
{
    START_LOGIND();
    startDesktop("xfce", "org.freedesktop.PowerManagement");

    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    ASSERT_TRUE(owner.start(Kind::display));
    EXPECT_EQ(settled(owner, Kind::system).through, "PowerManagement (Xfce)");
    EXPECT_EQ(settled(owner, Kind::display).phase, Phase::inForce);
    EXPECT_EQ(held("org.freedesktop.PowerManagement").size(), 2);

    owner.stop(Kind::system);
    EXPECT_TRUE(waitUntil([&] { return held("org.freedesktop.PowerManagement").size() == 1; }));
    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return held("org.freedesktop.PowerManagement").isEmpty(); }));
}

TEST_F(DesktopRoutesTest, WithOnlyLogindTheDisplayIsAnIdleLockThatIdleDaemonsWatch)
{
    // wlroots compositors with swayidle, and bare sessions: logind alone.
    START_LOGIND();
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::display));
    EXPECT_EQ(settled(owner, Kind::display).through, "logind");
    EXPECT_EQ(logindLocks(), QList<LogindLock>({{"idle", "Quillon", displayReason, "block"}}));
    owner.stopAll();
    EXPECT_TRUE(logindHolds(0));
}

TEST_F(DesktopRoutesTest, APortalReplyAloneProvesNothing)
{
    // The portal's backend refuses (GTK's outside GNOME): not in force, with the reason.
    {
        startStandIn("portal-refusing", "org.freedesktop.portal.Desktop");
        SleepAssertions owner(backend);
        ASSERT_TRUE(owner.start(Kind::system));
        const auto state = settled(owner, Kind::system);
        EXPECT_EQ(state.phase, Phase::failed);
        EXPECT_TRUE(state.problem.contains("could not inhibit")) << state.problem.toStdString();
        EXPECT_FALSE(owner.holding(Kind::system));
        EXPECT_FALSE(owner.isHeld(Kind::system));
        services.clear();
    }
    // The portal never answers (the permission store dropped it): the same, after the wait.
    startStandIn("portal-silent", "org.freedesktop.portal.Desktop");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::display));
    EXPECT_EQ(owner.state(Kind::display).phase, Phase::confirming);
    const auto state = settled(owner, Kind::display);
    EXPECT_EQ(state.phase, Phase::failed);
    EXPECT_TRUE(state.problem.contains("never answered")) << state.problem.toStdString();
}

TEST_F(DesktopRoutesTest, OtherInhibitorsListEveryoneButUs)
{
    START_LOGIND();
    startDesktop("xfce", "org.freedesktop.PowerManagement");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::display));
    const auto lid = backend->create(quillon::platform::PowerAssertionType::preventLidSleep, "lid");
    ASSERT_TRUE(lid);
    ASSERT_TRUE(logindHolds(2));
    EXPECT_EQ(otherInhibitors().lines,
        QStringList{
            "xfce4-power-manager: xfce4-power-manager handles power events (handle-power-key:handle-lid-switch)"});
    backend->release(*lid);
}

} // namespace
