// Every owner's assertion is an inhibition of its own, and letting go of one
// leaves the others in force.
#include "InhibitBusFixture.h"

#include <QProcess>

using namespace quillon::test;

namespace {

using InhibitBusTest = InhibitBusFixture;

TEST_F(InhibitBusTest, WhereOnlyThePortalRunsEveryOwnerHoldsItsOwnRequestThere)
{
    startStandIn("portal", "org.freedesktop.portal.Desktop");

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

TEST_F(InhibitBusTest, WithoutAPortalSleepGoesToLogindAndTheDisplayToTheScreenSaver)
{
    START_LOGIND();
    startStandIn("screensaver", "org.freedesktop.ScreenSaver");

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
    EXPECT_TRUE(waitUntil([&] { return held("org.freedesktop.ScreenSaver") == QList<Inhibition>{{8, displayReason}}; }))
        << held("org.freedesktop.ScreenSaver").size();

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

TEST_F(InhibitBusTest, GnomeSessionIsAskedBeforeLogind)
{
    START_LOGIND();
    startStandIn("gnome-session", "org.gnome.SessionManager");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    EXPECT_EQ(settled(owner, Kind::system).through, "GNOME session");
    EXPECT_EQ(held("org.gnome.SessionManager"), (QList<Inhibition>{{4, systemReason}}));
    EXPECT_TRUE(logindLocks().isEmpty());
    owner.stop(Kind::system);
    EXPECT_TRUE(waitUntil([&] { return held("org.gnome.SessionManager").isEmpty(); }));
}

TEST_F(InhibitBusTest, WithNothingToAskEveryStartIsRefused)
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

TEST_F(InhibitBusTest, APortalThatWentAwayNeitherBreaksReleaseNorLaterStarts)
{
    auto& portal = startStandIn("portal", "org.freedesktop.portal.Desktop");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    portal.stop();
    owner.stop(Kind::system);
    START_LOGIND();
    ASSERT_TRUE(owner.start(Kind::system));
    EXPECT_TRUE(logindHolds(1));
}

} // namespace
