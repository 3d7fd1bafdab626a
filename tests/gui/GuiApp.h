#pragma once

#include "DemoAppRig.h"
#include "XDisplay.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <optional>

namespace quillon::test {

// Starts the demo app on the display, as an X11 client, with env added to its
// environment. In a sanitizer build the app's leak check needs whole stacks
// (the slow unwinder) to tell Qt's image cache apart from leaks of ours.
inline ::testing::AssertionResult startOnDisplay(
    DemoAppRig& rig, const XDisplay& display, const QStringList& env = {})
{
    const QString sanitizer = qEnvironmentVariable("ASAN_OPTIONS") + ":fast_unwind_on_malloc=0";
    if (rig.start(QStringList{"DISPLAY=" + display.name(), "QT_QPA_PLATFORM=xcb", "ASAN_OPTIONS=" + sanitizer,
                      "LSAN_OPTIONS=suppressions=" QUILLON_LEAK_SUPPRESSIONS}
            + env))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << rig.log();
}

// Our windows are told apart by size: the tray icon small, the panel wide,
// the intro and the others fixed.
constexpr int kIconMaxSide = 64;
constexpr int kPanelMinWidth = 300;
const QSize kIntroSize(560, 640);

// The app's first visible window whose frame fits.
inline std::optional<XDisplay::Window> appWindow(
    const XDisplay& display, const std::function<bool(const QRect&)>& fits)
{
    for (const XDisplay::Window& w : display.visibleWindows("quillon")) {
        if (fits(w.frame))
            return w;
    }
    return std::nullopt;
}

// Ends the app as the session would; in a sanitizer build its leak check
// decides the exit status.
inline void quitApp(DemoAppRig& rig, std::chrono::milliseconds within = std::chrono::seconds(30))
{
    rig.app.signal(SIGTERM);
    EXPECT_EQ(rig.app.waitForExit(within), 0) << rig.log();
}

} // namespace quillon::test
