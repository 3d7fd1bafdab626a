// The global shortcuts in the tray app in demo mode on a virtual X display
// (no GlobalShortcuts portal on its private bus, so X11 key grabs): pressed
// with xdotool, Super+Alt+K switches keep-awake on (system and display for
// 24 hours) and off again, Super+Alt+L switches fan control on and off, also
// while the app's own panel has the keyboard focus; switched off in the
// settings window, the keys do nothing and `quillon ctl status` says so.
#include "GuiApp.h"

#include "support/Files.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTest>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

// The settings window's width (qml/Settings.qml), a point on its shortcuts'
// switch (the third row, rows 38 px apart) and, with the shortcuts off (no
// caption under them), on the language picker; its list opens over it, one
// choice every 26 px.
constexpr int kSettingsWidth = 460;
const QPoint kHotkeysRow(150, 109);
const QPoint kLanguagePicker(360, 246);
// The language question's "Restart now" (German, centred in the window).
const QPoint kRestartNow(283, 235);

class HotkeysGuiTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(display.ready()) << "Xvfb or trayer did not start"; }
    ::testing::AssertionResult startApp() { return startOnDisplay(rig, display); }
    void press(const QString& keys) const
    {
        const auto result = ChildProcess::run("xdotool", {"key", keys}, {"DISPLAY=" + display.name()}, 10000);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }
    QJsonObject section(const char* name) const { return rig.status().value(QLatin1String(name)).toObject(); }
    QJsonArray awakeKinds() const { return section("awake").value("kinds").toArray(); }
    bool panelShown() const
    {
        return appWindow(display, [](const QRect& frame) { return frame.width() >= kPanelMinWidth; }).has_value();
    }
    bool fansEnabled() const { return section("fans").value("enabled").toBool(); }
    // The settings window: the only one of ours this wide.
    std::optional<XDisplay::Window> settingsWindow() const
    {
        return appWindow(display, [](const QRect& frame) { return frame.width() == kSettingsWidth; });
    }

    XDisplay display;
    DemoAppRig rig;
    QString artifacts = QStringLiteral(QUILLON_ARTIFACT_DIR);
};

TEST_F(HotkeysGuiTest, SuperAltKAndLToggleKeepAwakeAndFanControlUntilSwitchedOffInTheSettings)
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

    // Switched off in the settings window, which `quillon ctl settings` opens,
    // the keys do nothing at once. Screenshots of the window in English and,
    // once German is chosen there, of its question to restart (in German).
    ASSERT_EQ(rig.ctl({"settings"}).exitCode, 0);
    ASSERT_TRUE(waitUntil([&] { return settingsWindow().has_value(); }, 10s)) << "no settings window";
    const XDisplay::Window window = *settingsWindow();
    QTest::qWait(500); // its first frame
    QDir().mkpath(artifacts);
    display.grab(artifacts + "/settings-en.png", window.id);

    display.click(window, kHotkeysRow);
    ASSERT_TRUE(waitUntil([&] { return !section("hotkeys").value("enabled").toBool(); }, 5s));
    EXPECT_FALSE(section("hotkeys").value("held").toBool());
    press("super+alt+k");
    press("super+alt+l");
    QTest::qWait(1000);
    EXPECT_TRUE(awakeKinds().isEmpty());
    EXPECT_FALSE(fansEnabled());

    // The language picker opened, and German below the current choice.
    display.click(window, kLanguagePicker);
    QTest::qWait(500);
    display.click(window, kLanguagePicker + QPoint(0, 28));
    QTest::qWait(800); // the question fades in
    display.grab(artifacts + "/settings-language-alert-de.png", window.id);
    EXPECT_EQ(QSettings(rig.demoDirectory() + "/Quillon.conf", QSettings::IniFormat).value("appLanguage"), "de");

    // "Restart now": this app ends, and a new one takes over its bus name.
    display.click(window, kRestartNow);
    EXPECT_EQ(rig.app.waitForExit(20s), 0) << rig.log();
    ASSERT_TRUE(waitUntil([&] { return !rig.status().isEmpty(); }, 30s)) << "no app answers after the restart\n"
                                                                         << rig.log();
    QDBusMessage quitCall
        = QDBusMessage::createMethodCall("org.quillon.Quillon", "/org/quillon/Quillon", "org.quillon.Quillon", "Quit");
    rig.bus.connection().call(quitCall);
    EXPECT_TRUE(waitUntil([&] { return rig.status().isEmpty(); }, 20s)) << "the restarted app did not quit";
}

} // namespace
} // namespace quillon::test
