// The global shortcuts in the tray app in demo mode on a virtual X display
// (no GlobalShortcuts portal on its private bus, so X11 key grabs): pressed
// with xdotool, Super+Alt+K switches keep-awake on (system and display for
// 24 hours) and off again, Super+Alt+L switches fan control on and off, also
// while the app's own panel has the keyboard focus; with
// "hotkeysEnabled" off in the user's settings (which the demo follows) the
// keys do nothing and `quillon ctl status` says so.
#include "DemoAppRig.h"
#include "XDisplay.h"

#include "support/Files.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

class HotkeysGuiTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(display.ready()) << "Xvfb or trayer did not start"; }
    ::testing::AssertionResult startApp()
    {
        const QString sanitizer = qEnvironmentVariable("ASAN_OPTIONS") + ":fast_unwind_on_malloc=0";
        if (rig.start({"DISPLAY=" + display.name(), "QT_QPA_PLATFORM=xcb", "ASAN_OPTIONS=" + sanitizer,
                "LSAN_OPTIONS=suppressions=" QUILLON_LEAK_SUPPRESSIONS}))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << rig.log();
    }
    void press(const QString& keys) const
    {
        const auto result = ChildProcess::run("xdotool", {"key", keys}, {"DISPLAY=" + display.name()}, 10000);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }
    QJsonObject section(const char* name) const { return rig.status().value(QLatin1String(name)).toObject(); }
    QJsonArray awakeKinds() const { return section("awake").value("kinds").toArray(); }
    bool panelShown() const
    {
        const auto windows = display.visibleWindows("quillon");
        return std::any_of(
            windows.begin(), windows.end(), [](const XDisplay::Window& w) { return w.frame.width() >= 300; });
    }
    bool fansEnabled() const { return section("fans").value("enabled").toBool(); }
    void quit()
    {
        rig.app.signal(SIGTERM);
        EXPECT_EQ(rig.app.waitForExit(15s), 0) << rig.log();
    }

    XDisplay display;
    DemoAppRig rig;
};

TEST_F(HotkeysGuiTest, SuperAltKAndLToggleKeepAwakeAndFanControl)
{
    ASSERT_TRUE(startApp());
    ASSERT_TRUE(waitUntil([&] { return section("hotkeys").value("held").toBool(); }, 10s))
        << "hotkeys: " << QJsonDocument(section("hotkeys")).toJson().toStdString();
    EXPECT_EQ(
        section("hotkeys"), (QJsonObject{{"enabled", true}, {"held", true}, {"through", "X11"}, {"problem", ""}}));
    // A new build opens its panel, which takes the keyboard focus: the keys
    // still reach the shortcuts, not the panel.
    ASSERT_TRUE(waitUntil([&] { return panelShown(); }, 10s)) << "the panel did not present itself";

    // Keep-awake: system and display for 24 hours, then everything off.
    ASSERT_TRUE(awakeKinds().isEmpty());
    press("super+alt+k");
    ASSERT_TRUE(waitUntil([&] { return awakeKinds() == QJsonArray{"system", "display"}; }, 5s));
    const QDateTime until = QDateTime::fromString(section("awake").value("until").toString(), Qt::ISODate);
    const qint64 left = QDateTime::currentDateTimeUtc().secsTo(until);
    EXPECT_GT(left, 86400 - 60);
    EXPECT_LE(left, 86400);
    press("super+alt+k");
    ASSERT_TRUE(waitUntil([&] { return awakeKinds().isEmpty(); }, 5s));
    EXPECT_TRUE(section("awake").value("until").isNull());

    // Fan control, once the demo's helper is there.
    ASSERT_TRUE(waitUntil([&] { return section("helper").value("installed").toBool(); }, 10s));
    ASSERT_FALSE(fansEnabled());
    press("super+alt+l");
    ASSERT_TRUE(waitUntil([&] { return fansEnabled(); }, 5s));
    press("super+alt+l");
    ASSERT_TRUE(waitUntil([&] { return !fansEnabled(); }, 5s))
        << QJsonDocument(section("fans")).toJson().toStdString()
        << QJsonDocument(section("helper")).toJson().toStdString() << rig.log();
    quit();
}

TEST_F(HotkeysGuiTest, SwitchedOffInTheSettingsTheKeysDoNothing)
{
    ASSERT_TRUE(writeFile(rig.home.filePath("config/quillon/Quillon.ini"), "[General]\nhotkeysEnabled=false\n"));
    ASSERT_TRUE(startApp());
    EXPECT_EQ(section("hotkeys"), (QJsonObject{{"enabled", false}, {"held", false}, {"through", ""}, {"problem", ""}}));
    ASSERT_TRUE(waitUntil([&] { return section("helper").value("installed").toBool(); }, 10s));
    press("super+alt+k");
    press("super+alt+l");
    QTest::qWait(1000);
    EXPECT_TRUE(awakeKinds().isEmpty());
    EXPECT_FALSE(fansEnabled());
    quit();
}

} // namespace
} // namespace quillon::test
