// The tray app in demo mode on a virtual display with a system tray: the
// icon appears, a click opens the panel, `quillon ctl` switches the icon and
// runs the panel's countdown, cooling spins the simulated fans up, and
// quitting stops the demo's processes. Screenshots of each step are kept in
// QUILLON_ARTIFACT_DIR.
#include "DemoAppRig.h"
#include "XDisplay.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

// The tray icon is a small window of ours, the panel a wide one.
constexpr int kIconMaxSide = 64;
constexpr int kPanelMinWidth = 300;

class TrayTourTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(display.ready()) << "Xvfb or trayer did not start";
        QDir().mkpath(artifacts);
        // In a sanitizer build the app's leak check needs whole stacks (the
        // slow unwinder) to tell Qt's image cache apart from leaks of ours.
        const QString sanitizer = qEnvironmentVariable("ASAN_OPTIONS") + ":fast_unwind_on_malloc=0";
        ASSERT_TRUE(rig.start({"DISPLAY=" + display.name(), "QT_QPA_PLATFORM=xcb", "ASAN_OPTIONS=" + sanitizer,
            "LSAN_OPTIONS=suppressions=" QUILLON_LEAK_SUPPRESSIONS}))
            << rig.log();
    }

    std::optional<XDisplay::Window> window(bool icon) const
    {
        for (const XDisplay::Window& w : display.visibleWindows("quillon")) {
            if (icon ? w.frame.width() <= kIconMaxSide : w.frame.width() >= kPanelMinWidth)
                return w;
        }
        return std::nullopt;
    }
    bool panelShown() const { return window(false).has_value(); }
    // Once shown, a window takes a moment to draw its first frame.
    void letItDraw() const { QTest::qWait(500); }

    QString artifact(const char* name) const { return artifacts + "/" + name; }

    // The panel's head (title and status lines), where a running session
    // counts down; the rows below it carry live temperatures.
    QImage statusBand(const char* name) const
    {
        const auto panel = window(false);
        return panel ? display.grab(artifact(name), panel->id).copy(0, 0, panel->frame.width(), 80) : QImage();
    }

    QJsonObject fans() const { return rig.status().value("fans").toObject(); }
    int fanSpeed(int index) const
    {
        return fans().value("fans").toArray().at(index).toObject().value("currentRPM").toInt();
    }

    XDisplay display;
    DemoAppRig rig;
    QString artifacts = QStringLiteral(QUILLON_ARTIFACT_DIR);
};

TEST_F(TrayTourTest, IconPanelScriptingAndQuit)
{
    // The icon appears in the tray; a new build opens its panel by itself once.
    ASSERT_TRUE(waitUntil([&] { return window(true).has_value(); }, 15s)) << "no tray icon";
    EXPECT_EQ(rig.status().value("icon").toString(), "idle");
    ASSERT_TRUE(waitUntil([&] { return panelShown(); }, 5s)) << "the panel did not present itself";
    const XDisplay::Window icon = *window(true);
    const XDisplay::Window panel = *window(false);
    EXPECT_GE(panel.frame.top(), icon.frame.bottom()) << "the panel opens below the icon in a top tray";
    letItDraw();
    display.grab(artifact("1-panel-at-launch.png"));

    // A click closes it, the next one opens it again.
    display.click(icon);
    ASSERT_TRUE(waitUntil([&] { return !panelShown(); }, 5s)) << "a click did not close the panel";
    display.click(icon);
    ASSERT_TRUE(waitUntil([&] { return panelShown(); }, 5s)) << "a click did not open the panel";
    letItDraw();
    display.grab(artifact("2-panel-opened-by-click.png"));

    // Idle, the panel's head stands still.
    const QImage idle = statusBand("3-panel-idle.png");
    QTest::qWait(2500);
    EXPECT_EQ(statusBand("3-panel-idle-later.png"), idle);

    // Keep-awake from a script: the active gauge, and a countdown in the panel.
    EXPECT_EQ(rig.ctl({"awake", "--for", "1h"}).exitCode, 0);
    ASSERT_TRUE(waitUntil([&] { return rig.status().value("icon").toString() == "active"; }, 5s));
    letItDraw();
    const QImage counting = statusBand("4-panel-awake.png");
    EXPECT_NE(counting, idle);
    QTest::qWait(2500);
    EXPECT_NE(statusBand("4-panel-awake-later.png"), counting) << "the countdown does not run";
    display.grab(artifact("4-screen-awake.png"));

    // Cooling at max: the helper holds the fans and the simulated fans speed up.
    const int before = fanSpeed(0);
    EXPECT_EQ(rig.ctl({"fans", "auto", "max"}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return fans().value("boosted").toBool(); }, 5s)) << "the helper did not take the fans";
    EXPECT_TRUE(waitUntil([&] { return fanSpeed(0) > before + 1000; }, 15s))
        << "fan 0 stayed at " << fanSpeed(0) << " rpm (from " << before << ")";
    display.grab(artifact("5-screen-fans.png"));

    // Quitting stops the simulated Mac, its bus and its helper.
    const QList<qint64> children = rig.children();
    EXPECT_EQ(children.size(), 3);
    rig.app.signal(SIGTERM);
    EXPECT_EQ(rig.app.waitForExit(15s), 0) << rig.log();
    for (const qint64 pid : children)
        EXPECT_TRUE(waitUntil([&] { return !processAlive(pid); }, 5s)) << "process " << pid << " outlived the app";
    std::printf("Screenshots: %s\n", qPrintable(artifacts));
}

} // namespace
} // namespace quillon::test
