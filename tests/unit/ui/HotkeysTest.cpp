// The hotkeys over a fake platform: switching is idempotent, presses reach
// the handler by action, on the main thread and only after the press's own
// delivery has returned; unknown ids and presses without a handler do nothing.
#include "ui/Hotkeys.h"

#include "support/FakeGlobalShortcuts.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>
#include <gtest/gtest.h>
#include <memory>

namespace {

using quillon::platform::GlobalShortcuts;
using quillon::ui::Hotkeys;

using FakeShortcuts = quillon::test::FakeGlobalShortcuts;

// Lets queued deliveries run.
void settle()
{
    QTest::qWait(50);
}

TEST(Hotkeys, SwitchingTwiceRegistersOnceAndOffWhenOffCallsNothing)
{
    FakeShortcuts platform;
    {
        Hotkeys hotkeys(platform);
        hotkeys.setEnabled(false);
        EXPECT_EQ(platform.unregistrations, 0) << "off when never on calls nothing";
        hotkeys.setEnabled(true);
        hotkeys.setEnabled(true);
        EXPECT_EQ(platform.registrations, 1);
        EXPECT_EQ(platform.registered.size(), 2);
        EXPECT_TRUE(hotkeys.installed());
        EXPECT_TRUE(hotkeys.state().held);
        hotkeys.setEnabled(false);
        hotkeys.setEnabled(false);
        EXPECT_EQ(platform.unregistrations, 1);
        EXPECT_FALSE(hotkeys.installed());
        hotkeys.setEnabled(true);
        EXPECT_EQ(platform.registrations, 2) << "on again after off registers again";
    }
    EXPECT_EQ(platform.unregistrations, 2) << "given up when the hotkeys go";
}

// Whatever thread reports a press, the handler runs on the main thread;
// without a handler, or once switched off, a press does nothing.
TEST(Hotkeys, DeliversEachActionLaterOnTheMainThreadAndNothingWithoutAHandlerOrOff)
{
    FakeShortcuts platform;
    Hotkeys hotkeys(platform);
    hotkeys.setEnabled(true);
    platform.press(Hotkeys::keepAwakeId); // no handler: nothing, no crash
    settle();
    QList<Hotkeys::Action> got;
    bool onMainThread = true;
    hotkeys.setHandler([&](Hotkeys::Action action) {
        got.append(action);
        onMainThread = onMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
    });
    platform.press(Hotkeys::keepAwakeId);
    EXPECT_TRUE(got.isEmpty()) << "not inside the platform's delivery";
    std::unique_ptr<QThread> reader(QThread::create([&] {
        platform.press(Hotkeys::fanBoostId);
        platform.press("toggle-something-else");
        platform.press("");
    }));
    reader->start();
    reader->wait();
    settle();
    EXPECT_EQ(got, (QList<Hotkeys::Action>{Hotkeys::Action::toggleKeepAwake, Hotkeys::Action::toggleFanBoost}));
    EXPECT_TRUE(onMainThread);

    platform.press(Hotkeys::keepAwakeId);
    hotkeys.setEnabled(false); // a press still queued when switched off is dropped
    settle();
    EXPECT_EQ(got.size(), 2);
}

} // namespace
