// The tray app in demo mode on a virtual display with a system tray: the
// icon appears, a click opens the panel, `quillon ctl` switches the icon and
// runs the panel's countdown, cooling spins the simulated fans up, and
// quitting stops the demo's processes. Screenshots of each step are kept in
// QUILLON_ARTIFACT_DIR.
#include "GuiApp.h"

#include "support/BusService.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

// The summaries dbusmock's notification daemon on this bus was sent, in order.
QStringList notificationTitles(PrivateBus& bus)
{
    const QDBusMessage reply
        = bus.connection().call(QDBusMessage::createMethodCall("org.freedesktop.Notifications",
                                    "/org/freedesktop/Notifications", "org.freedesktop.DBus.Mock", "GetMethodCalls")
            << QString("Notify"));
    QStringList titles;
    const auto calls = reply.arguments().value(0).value<QDBusArgument>();
    calls.beginArray();
    while (!calls.atEnd()) {
        quint64 when = 0;
        QVariantList args;
        calls.beginStructure();
        calls >> when >> args;
        calls.endStructure();
        QVariant summary = args.value(3);
        if (summary.canConvert<QDBusVariant>())
            summary = summary.value<QDBusVariant>().variant();
        titles << summary.toString();
    }
    calls.endArray();
    return titles;
}

class TrayTourTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(display.ready()) << "Xvfb or trayer did not start";
        QDir().mkpath(artifacts);
    }
    // Starts the app on the display, with env added to its environment.
    ::testing::AssertionResult startApp(const QStringList& env = {}) { return startOnDisplay(rig, display, env); }

    std::optional<XDisplay::Window> window(bool icon) const
    {
        return appWindow(display, [icon](const QRect& frame) {
            return icon ? frame.width() <= kIconMaxSide : frame.width() >= kPanelMinWidth;
        });
    }
    bool panelShown() const { return window(false).has_value(); }
    // Render Mode's overlay covers the whole screen.
    std::optional<XDisplay::Window> overlay() const
    {
        return appWindow(display, [](const QRect& frame) { return frame.width() >= 1280 && frame.height() >= 800; });
    }
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

    // One section of `quillon ctl status`.
    QJsonObject section(const char* name) const { return rig.status().value(QLatin1String(name)).toObject(); }
    bool enabled(const char* name) const { return section(name).value("enabled").toBool(); }
    int fanSpeed(int index) const
    {
        return section("fans").value("fans").toArray().at(index).toObject().value("currentRPM").toInt();
    }

    XDisplay display;
    DemoAppRig rig;
    QString artifacts = QStringLiteral(QUILLON_ARTIFACT_DIR);
};

TEST_F(TrayTourTest, IconPanelScriptingAndQuit)
{
    ASSERT_TRUE(startApp());
    // The icon appears in the tray; a new build opens its panel by itself once
    // (the demo's intro counts as completed).
    ASSERT_TRUE(waitUntil([&] { return window(true).has_value(); }, 15s)) << "no tray icon";
    EXPECT_EQ(rig.status().value("icon").toString(), "idle");
    ASSERT_TRUE(waitUntil([&] { return panelShown(); }, 5s)) << "the panel did not present itself";
    const XDisplay::Window icon = *window(true);
    const XDisplay::Window panel = *window(false);
    EXPECT_GE(panel.frame.top(), icon.frame.bottom()) << "the panel opens below the icon in a top tray";
    EXPECT_FALSE(appWindow(display, [](const QRect& frame) { return frame.size() == kIntroSize; }))
        << "no intro once this version's was completed";
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
    EXPECT_TRUE(waitUntil([&] { return section("fans").value("boosted").toBool(); }, 5s))
        << "the helper did not take the fans";
    EXPECT_TRUE(waitUntil([&] { return fanSpeed(0) > before + 1000; }, 15s))
        << "fan 0 stayed at " << fanSpeed(0) << " rpm (from " << before << ")";
    display.grab(artifact("5-screen-fans.png"));

    // Quitting stops the simulated Mac, its bus and its helper.
    const QList<qint64> children = rig.children();
    EXPECT_EQ(children.size(), 3);
    quitApp(rig, 15s);
    for (const qint64 pid : children)
        EXPECT_TRUE(waitUntil([&] { return !processAlive(pid); }, 5s)) << "process " << pid << " outlived the app";
    std::printf("Screenshots: %s\n", qPrintable(artifacts));
}

// Render Mode from a script, with DaVinci Resolve played by the stand-in
// module: the overlay covers the screen, the render finishing is announced,
// and switching off hides the overlay, reports, and puts the closed lid and
// drive keep-alive back as they were; the overlay's own Exit and Escape
// switch it off too.
TEST_F(TrayTourTest, RenderModeOverlayFinishReportAndExit)
{
    const QString state = rig.home.filePath("resolve.json");
    const auto resolveIs = [&](bool rendering, int percent) {
        QFile file(state);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(QJsonDocument(
            QJsonObject{{"running", true}, {"project", "Trailer"}, {"rendering", rendering},
                {"jobs",
                    QJsonArray{QJsonObject{{"JobId", "a"}, {"JobStatus", rendering ? "Rendering" : "Complete"},
                        {"CompletionPercentage", percent}}}}})
                       .toJson());
    };
    resolveIs(true, 42);
    BusService notifications(QUILLON_PYTHON, {"-m", "dbusmock", "--template", "notification_daemon"}, rig.bus,
        "org.freedesktop.Notifications");
    ASSERT_TRUE(notifications.started());
    ASSERT_TRUE(
        startApp({"QUILLON_RESOLVE_SCRIPT_API=" QUILLON_RESOLVE_STANDIN, "QUILLON_TEST_RESOLVE_STATE=" + state}));
    const auto davinci = [&] {
        return section("render").value("davinci").toObject();
    };
    const auto notified = [&](const QString& title) {
        return notificationTitles(rig.bus).contains(title);
    };
    const bool lidBefore = enabled("lid");
    const bool drivesBefore = enabled("drives");

    EXPECT_EQ(rig.ctl({"render", "on"}).exitCode, 0);
    ASSERT_TRUE(waitUntil([&] { return davinci().value("percent").toInt() == 42; }, 30s))
        << QJsonDocument(section("render")).toJson().toStdString();
    EXPECT_EQ(davinci().value("project"), "Trailer");
    ASSERT_TRUE(waitUntil([&] { return overlay().has_value(); }, 15s)) << "no overlay";
    letItDraw();
    display.grab(artifact("6-render-overlay.png"));
    EXPECT_TRUE(enabled("lid"));
    EXPECT_TRUE(enabled("drives"));

    resolveIs(false, 100);
    EXPECT_TRUE(waitUntil([&] { return notified("🎬 Render finished"); }, 30s));
    EXPECT_TRUE(enabled("render")) << "a finished render leaves Render Mode on";

    EXPECT_EQ(rig.ctl({"render", "off"}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return !overlay(); }, 15s)) << "the overlay stayed";
    EXPECT_TRUE(waitUntil([&] { return notified("🎬 Render Mode ended"); }, 15s));
    EXPECT_EQ(enabled("lid"), lidBefore);
    EXPECT_EQ(enabled("drives"), drivesBefore);
    display.grab(artifact("7-render-off.png"));

    // The overlay covers every screen, so its own controls are the user's way
    // out: a real click on Exit, then a real Escape, each switch Render Mode
    // off and take the overlay away, and the app lives on.
    for (const bool click : {true, false}) {
        const char* way = click ? "Exit" : "Escape";
        ASSERT_EQ(rig.ctl({"render", "on"}).exitCode, 0) << way;
        ASSERT_TRUE(waitUntil([&] { return overlay().has_value(); }, 15s)) << way << ": no overlay";
        letItDraw();
        const XDisplay::Window shown = *overlay();
        if (click) // the button sits centred, 64 px above the bottom edge, about 40 px tall
            display.click(shown, QPoint(shown.frame.width() / 2, shown.frame.height() - 64 - 20));
        else
            display.key(shown, "Escape");
        EXPECT_TRUE(waitUntil([&] { return !enabled("render"); }, 10s)) << way << " left Render Mode on";
        EXPECT_TRUE(waitUntil([&] { return !overlay(); }, 10s)) << way << ": the overlay stayed";
        ASSERT_TRUE(rig.app.running()) << way << " ended the app:\n" << rig.log();
    }
}

} // namespace
} // namespace quillon::test
