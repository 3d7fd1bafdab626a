// Which route holds each kind where a desktop's service misbehaves in ways
// the real ones cannot be made to (a power manager slow to confirm or never
// confirming, a service or portal that never answers, no system bus), where
// the portal holds requests of several owners, and where a screen saver
// takes the display. Every owner's assertion is an inhibition of its own,
// and letting go of one leaves the others in force. The services are
// stand-ins (inhibit_standin.py); logind is the real one. The real desktops'
// own tests are KdeDesktopTest, XfceDesktopTest, GnomeDesktopTest,
// MateDesktopTest and PortalDesktopTest.
#include "InhibitBusFixture.h"

#include <QProcess>

using namespace quillon::test;

namespace {

using DesktopRoutesTest = InhibitBusFixture;

const QString kdeAgent = "org.kde.Solid.PowerManagement.PolicyAgent";

TEST_F(DesktopRoutesTest, APowerManagerLateToConfirmIsWaitedForAWhileOneThatNeverConfirmsIsLeft)
{
    START_LOGIND();
    {
        // Applies it a third later than it should, as on a busy machine.
        startStandIn({"kde", QString::number(timing.kdeSettleMs * 1.33 / 1000)}, kdeAgent);
        SleepAssertions owner(backend);
        ASSERT_TRUE(owner.start(Kind::system));
        const auto state = settled(owner, Kind::system);
        EXPECT_EQ(state.phase, Phase::inForce);
        EXPECT_EQ(state.through, "PowerDevil (KDE)") << state.problem.toStdString();
        services.clear();
    }
    // Accepts everything and applies nothing within the wait.
    startStandIn({"kde", "60"}, kdeAgent);

    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    const auto state = settled(owner, Kind::system);
    EXPECT_EQ(state.phase, Phase::inForce);
    EXPECT_EQ(state.through, "logind");
    EXPECT_TRUE(waitUntil([&] {
        return logindLocks().contains(LogindLock{"sleep:idle", "Quillon", systemReason, "block"});
    }));
    // Its unconfirmed inhibition was handed back, not left behind.
    EXPECT_TRUE(waitUntil([&] { return held(kdeAgent).isEmpty(); }));
}

TEST_F(DesktopRoutesTest, AHungServiceIsAskedWithoutWaitingAndEndsNotInForceWithTheReason)
{
    startStandIn({"hung"}, kdeAgent);
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

// The permission store can strip every flag, and the portal then never
// answers: not in force, with the reason, after the wait. (A backend that
// refuses is the real portal's, in PortalDesktopTest.)
TEST_F(DesktopRoutesTest, APortalThatNeverAnswersLeavesItNotInForce)
{
    startStandIn({"portal-silent"}, "org.freedesktop.portal.Desktop");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::display));
    EXPECT_EQ(owner.state(Kind::display).phase, Phase::confirming);
    const auto state = settled(owner, Kind::display);
    EXPECT_EQ(state.phase, Phase::failed);
    EXPECT_TRUE(state.problem.contains("never answered")) << state.problem.toStdString();
    EXPECT_FALSE(owner.holding(Kind::display));
}

TEST_F(DesktopRoutesTest, WhereOnlyThePortalRunsEveryOwnerHoldsItsOwnRequestThere)
{
    startStandIn({"portal"}, "org.freedesktop.portal.Desktop");

    SleepAssertions session(backend);
    auto lid = std::make_unique<SleepAssertions>(backend);
    ASSERT_TRUE(session.start(Kind::system));
    ASSERT_TRUE(lid->start(Kind::system));
    ASSERT_TRUE(lid->start(Kind::display));
    EXPECT_TRUE(portalHolds({{4, systemReason}, {4, systemReason}, {8, displayReason}}));
    // Its success says only that the backend was called: asked for, never shown in force.
    const auto display = settled(*lid, Kind::display);
    EXPECT_EQ(display.phase, SleepAssertions::KindState::Phase::confirming);
    EXPECT_TRUE(display.problem.contains("cannot be asked whether it holds")) << display.problem.toStdString();
    EXPECT_EQ(settled(session, Kind::system).through, "portal");

    session.stop(Kind::system);
    EXPECT_TRUE(portalHolds({{4, systemReason}, {8, displayReason}}));
    lid.reset();
    EXPECT_TRUE(portalHolds({}));
}

TEST_F(DesktopRoutesTest, WithoutAPortalSleepGoesToLogindAndTheDisplayToTheScreenSaver)
{
    START_LOGIND();
    startStandIn({"screensaver"}, "org.freedesktop.ScreenSaver");

    SleepAssertions session(backend);
    SleepAssertions renderMode(backend);
    ASSERT_TRUE(session.start(Kind::system));
    ASSERT_TRUE(renderMode.start(Kind::network));
    ASSERT_TRUE(renderMode.start(Kind::display));
    const LogindLock systemLock{"sleep:idle", "Quillon", systemReason, "block"};
    const LogindLock networkLock{"sleep:idle", "Quillon", "SleepTimer: keep network active", "block"};
    ASSERT_TRUE(logindHolds(2));
    EXPECT_EQ(logindLocks(), sorted({systemLock, networkLock}));
    // Each route is asked on its own: the screen saver's answer may come later.
    EXPECT_TRUE(waitUntil([&] {
        return held("org.freedesktop.ScreenSaver") == QList<Inhibition>{{8, displayReason}};
    })) << held("org.freedesktop.ScreenSaver").size();

    // A child started meanwhile must not inherit the lock's descriptor, or
    // the lock would outlive its release for as long as the child runs.
    QProcess child;
    child.start("sleep", {"30"});
    ASSERT_TRUE(child.waitForStarted());

    renderMode.stop(Kind::network);
    ASSERT_TRUE(logindHolds(1));
    EXPECT_EQ(logindLocks(), QList<LogindLock>{systemLock});
    renderMode.stopAll();
    EXPECT_TRUE(waitUntil([&] { return held("org.freedesktop.ScreenSaver").isEmpty(); }));
    EXPECT_EQ(logindLocks(), QList<LogindLock>{systemLock});
    session.stopAll();
    EXPECT_TRUE(logindHolds(0));
    child.kill();
    child.waitForFinished();
}

TEST_F(DesktopRoutesTest, WithNothingToAskEveryStartIsRefused)
{
    SleepAssertions owner(backend);
    for (Kind kind : SleepAssertions::allKinds)
        EXPECT_TRUE(owner.start(kind)) << "asked for: " << SleepAssertions::rawValue(kind).toStdString();
    // Each kind ends off with the reason, not shown as held.
    for (Kind kind : SleepAssertions::allKinds)
        EXPECT_EQ(settled(owner, kind).phase, SleepAssertions::KindState::Phase::failed);
    EXPECT_TRUE(owner.ids().empty());
    EXPECT_TRUE(owner.state(Kind::display).problem.contains("nothing on this desktop"))
        << owner.state(Kind::display).problem.toStdString();
}

TEST_F(DesktopRoutesTest, APortalThatWentAwayNeitherBreaksReleaseNorLaterStarts)
{
    auto& portal = startStandIn({"portal"}, "org.freedesktop.portal.Desktop");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    portal.stop();
    owner.stop(Kind::system);
    START_LOGIND();
    ASSERT_TRUE(owner.start(Kind::system));
    EXPECT_TRUE(logindHolds(1));
}

} // namespace
