// Sessions where logind is the only power service (sway, Hyprland, i3, a bare
// X session), against the real systemd-logind: every kind is held by a lock
// of its own, counts only once logind lists it, and stays held while logind
// restarts. On LXQt and a bare X session the display's lock is taken but
// does not hold, and says so.
#include "InhibitBusFixture.h"

#include <algorithm>
#include <tuple>

using namespace quillon::test;
using quillon::platform::PowerAssertionState;
using quillon::platform::PowerAssertionType;

namespace {

using PlainLogindTest = InhibitBusFixture;

const QString networkReason = "SleepTimer: keep network active";

TEST_F(PlainLogindTest, EveryKindIsInForceOnceLogindListsItAndGoneWhenReleased)
{
    START_LOGIND();
    SleepAssertions owner(backend);
    for (Kind kind : SleepAssertions::allKinds)
        ASSERT_TRUE(owner.start(kind)) << SleepAssertions::rawValue(kind).toStdString();
    for (Kind kind : SleepAssertions::allKinds) {
        const auto state = settled(owner, kind);
        EXPECT_EQ(state.phase, Phase::inForce)
            << SleepAssertions::rawValue(kind).toStdString() << ": " << state.problem.toStdString();
        EXPECT_EQ(state.through, "logind");
    }
    // logind names the items in its own order, whatever order they were asked in.
    EXPECT_EQ(logindLocks(),
        sorted({{"sleep:idle", "Quillon", systemReason, "block"}, {"idle", "Quillon", displayReason, "block"},
            {"sleep:idle", "Quillon", networkReason, "block"}}));

    owner.stop(Kind::display);
    ASSERT_TRUE(logindHolds(2));
    EXPECT_FALSE(logindLocks().contains(LogindLock{"idle", "Quillon", displayReason, "block"}));
    owner.stopAll();
    EXPECT_TRUE(logindHolds(0));
}

TEST_F(PlainLogindTest, OnLxqtAndBareXTheDisplayIsNotInForceAndSaysWhatBlanksTheScreen)
{
    START_LOGIND();
    const QByteArray desktop = qgetenv("XDG_CURRENT_DESKTOP");
    const QByteArray session = qgetenv("XDG_SESSION_TYPE");
    for (const auto& [current, type, blanker] : {std::tuple{"LXQt", "x11", "LXQt's idle watcher ignores it"},
             std::tuple{"", "x11", "the X server blanks the screen"}}) {
        qputenv("XDG_CURRENT_DESKTOP", current);
        qputenv("XDG_SESSION_TYPE", type);
        SleepAssertions owner(std::make_shared<LinuxPowerAssertions>(sessionBus.connection(), systemBus.connection()));
        ASSERT_TRUE(owner.start(Kind::display));
        ASSERT_TRUE(owner.start(Kind::system));
        const auto display = settled(owner, Kind::display);
        EXPECT_EQ(display.phase, Phase::failed) << current;
        EXPECT_TRUE(display.problem.contains(QString("logind: logind holds the lock, but ") + blanker))
            << display.problem.toStdString();
        // Sleep still goes through logind, and the display's lock is let go.
        EXPECT_EQ(settled(owner, Kind::system).phase, Phase::inForce);
        EXPECT_TRUE(logindHolds(1)) << current;
    }
    qputenv("XDG_CURRENT_DESKTOP", desktop);
    qputenv("XDG_SESSION_TYPE", session);
}

TEST_F(PlainLogindTest, ALogindRestartKeepsEveryLockInForce)
{
    START_LOGIND();
    SleepAssertions owner(backend);
    for (Kind kind : SleepAssertions::allKinds)
        ASSERT_TRUE(owner.start(kind));
    ASSERT_TRUE(waitUntil([&] {
        return std::ranges::all_of(
            SleepAssertions::allKinds, [&](Kind kind) { return owner.state(kind).through == "logind"; });
    }));
    const auto lid = backend->create(PowerAssertionType::preventLidSleep, "lid closed");
    ASSERT_TRUE(lid);
    const QList<LogindLock> all = sorted({{"sleep:idle", "Quillon", systemReason, "block"},
        {"idle", "Quillon", displayReason, "block"}, {"sleep:idle", "Quillon", networkReason, "block"},
        {"handle-lid-switch", "Quillon", "lid closed", "block"}});
    const auto everyLockInForce = [&] {
        for (Kind kind : SleepAssertions::allKinds)
            EXPECT_TRUE(waitUntil([&] { return owner.state(kind).phase == Phase::inForce; }))
                << SleepAssertions::rawValue(kind).toStdString() << ": " << owner.state(kind).problem.toStdString();
        EXPECT_TRUE(waitUntil([&] { return backend->state(*lid).phase == PowerAssertionState::Phase::inForce; }))
            << backend->state(*lid).problem.toStdString();
        EXPECT_EQ(logindLocks(), all);
    };
    // Restarted while logind is being asked for the lid (and the kinds, as
    // may be): each is asked again once logind is back.
    ASSERT_TRUE(logind->restart());
    everyLockInForce();

    // Restarted while they hold: logind takes them back from its FIFOs.
    ASSERT_TRUE(logind->restart());
    everyLockInForce();
    EXPECT_EQ(otherInhibitors().lines, QStringList{});

    // And the restarted logind notices the release.
    backend->release(*lid);
    EXPECT_TRUE(logindHolds(3));
    owner.stopAll();
    EXPECT_TRUE(logindHolds(0));
}

} // namespace
