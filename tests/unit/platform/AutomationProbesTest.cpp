// The automation's Linux probes on captured trees: DRM connectors, and the
// desktop entries and /proc of a desktop with applications started in every
// way Linux desktops start them.
#include "platform/linux/DesktopEntry.h"
#include "platform/linux/DesktopEntryIndex.h"
#include "platform/linux/DrmDisplays.h"
#include "platform/linux/LinuxProcessWatcher.h"
#include "platform/linux/LinuxRunningApps.h"

#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

using platform::linux_::DesktopEntry;
using platform::linux_::DesktopEntryIndex;
using platform::linux_::DrmDisplays;
using platform::linux_::LinuxProcessWatcher;
using platform::linux_::LinuxRunningApps;

const QString kFixtures = QStringLiteral(QUILLON_FIXTURES);

TEST(DrmDisplaysTest, OnlyAConnectedConnectorThatIsNoBuiltInPanelCounts)
{
    const struct {
        const char* tree;
        bool external;
    } trees[] = {
        {"laptop-panel-only", false},
        {"laptop-hdmi", true},
        {"desktop-dp", true},
        {"disconnected", false}, // "unknown" is not connected
        {"garbage", false},      // odd names, a built-in LVDS and DSI, a writeback, a status folder
        {"no-such-tree", false},
    };
    for (const auto& t : trees) {
        DrmDisplays displays(kFixtures + "/drm/" + t.tree);
        EXPECT_EQ(displays.connected(), t.external) << t.tree;
    }
    EXPECT_EQ(DrmDisplays::connectorType("card0-HDMI-A-1"), "HDMI-A");
    EXPECT_EQ(DrmDisplays::connectorType("card12-eDP-2"), "eDP");
    for (const char* odd : {"card0", "card0-", "cardX-DP-1", "renderD128", "card0-DP-", "card0--1", "version"})
        EXPECT_EQ(DrmDisplays::connectorType(odd), "") << odd;
}

TEST(DrmDisplaysTest, QuillonSysfsRootPointsItAtACapturedTree)
{
    qputenv("QUILLON_SYSFS_ROOT", (kFixtures + "/drm/laptop-hdmi").toUtf8());
    EXPECT_TRUE(DrmDisplays().connected());
    qunsetenv("QUILLON_SYSFS_ROOT");
    EXPECT_EQ(DrmDisplays::fromEnvironment(), "/sys");
}

TEST(DesktopEntryTest, ExecLinesNameTheProgramOrNothing)
{
    const auto program = [](const char* exec) {
        const auto entry
            = DesktopEntry::parse(QByteArray("[Desktop Entry]\nType=Application\nName=A\nExec=") + exec + "\n", "a");
        return entry ? entry->program + "|" + entry->flatpakId + "|" + entry->snapName : QStringLiteral("<none>");
    };
    EXPECT_EQ(program("kdenlive %F"), "kdenlive||");
    EXPECT_EQ(program(R"("/opt/My App/bin/app" --x "%f")"), "/opt/My App/bin/app||");
    EXPECT_EQ(program(R"("/opt/a\sb/run")"), "/opt/a b/run||"); // the format's \s, quoted
    EXPECT_EQ(program("env GDK_BACKEND=x11 LANG=C /usr/bin/gimp %U"), "/usr/bin/gimp||");
    EXPECT_EQ(program("flatpak run --branch=stable org.blender.Blender @@ %f @@"), "|org.blender.Blender|");
    EXPECT_EQ(program("/snap/bin/code.url-handler --open-url %U"), "||code");
    EXPECT_EQ(program("snap run --experimental-gdb spotify"), "||spotify");
    // Shells, interpreters and other launchers name nothing of the application.
    for (const char* hostile : {R"(sh -c "rm -rf ~")", "bash", "env A=1 bash -c x", "python3 /usr/bin/tool.py",
             "xdg-open https://example.org", R"(kdenlive "unterminated)", "%F", "env", "flatpak", "snap run"})
        EXPECT_EQ(program(hostile), "||") << hostile;

    // TryExec is the program when Exec only launches.
    const auto viaTry = DesktopEntry::parse(
        "[Desktop Entry]\nType=Application\nName=A\nExec=sh -c 'exec steam'\nTryExec=steam\n", "steam");
    ASSERT_TRUE(viaTry);
    EXPECT_EQ(viaTry->program, "steam");
}

TEST(DesktopEntryTest, ItIsAnApplicationEntryOrNothing)
{
    for (const char* text : {"", "garbage\n\x01\x02", "[Desktop Entry]\nName=A\nExec=a\n",
             "[Desktop Entry]\nType=Link\nName=A\nURL=x\n", "[Desktop Entry]\nType=Application\nExec=a\n",
             "[Desktop Entry]\nType=Application\nName=A\n", "[Other]\nType=Application\nName=A\nExec=a\n",
             "[Desktop Entry]\nType=Application\nName=A\nExec=a\nHidden=true\n"})
        EXPECT_FALSE(DesktopEntry::parse(text, "x")) << text;
    EXPECT_FALSE(DesktopEntry::parse(QByteArray("[Desktop Entry]\nType=Application\nName=A\nExec=a\0b\n", 44), "x"));
    const QByteArray longExec = "[Desktop Entry]\nType=Application\nName=A\nExec=" + QByteArray(5000, 'a') + "\n";
    EXPECT_FALSE(DesktopEntry::parse(longExec, "x"));

    const auto hidden = DesktopEntry::parse("[Desktop Entry]\nType=Application\nName=A\nExec=a\nNoDisplay=true\n", "x");
    ASSERT_TRUE(hidden);
    EXPECT_FALSE(hidden->shown);
}

class RunningAppsFixture : public ::testing::Test {
protected:
    LinuxRunningApps apps{{kFixtures + "/apps/home-share", kFixtures + "/apps/share"}, kFixtures + "/apps/proc",
        QDBusConnection(QStringLiteral("no-bus"))};
};

// Each way of starting an application is recognised, and nothing else is.
TEST_F(RunningAppsFixture, FindsAppsByScopeFlatpakSnapAndProgram)
{
    const QStringList ids{"org.kde.kdenlive", // a plain binary, by its bare name
        "resolve",                            // a wrapper script, run by bash
        "org.blender.Blender",                // a Flatpak, in its app scope
        "org.gimp.GIMP",                      // a Flatpak, by its sandbox's .flatpak-info only
        "firefox_firefox",                    // a snap, by its scope and its files
        "google-chrome",                      // a scope naming an id with an escaped dash
        "kde-okular",                         // a service on a cgroup v1 machine
        "org.gnome.Calculator",               // a process whose cgroup cannot be read
        "evil", "evil-env", "broken-quote",   // hostile or broken Exec lines, while bash runs
        "com.example.NotInstalled", "garbage", ""};
    const QSet<QString> expected{"org.kde.kdenlive", "resolve", "org.blender.Blender", "org.gimp.GIMP",
        "firefox_firefox", "google-chrome", "kde-okular", "org.gnome.Calculator"};
    EXPECT_EQ(apps.running(ids), expected);
    EXPECT_TRUE(apps.running({}).isEmpty());
}

// The first data dir wins even where its entry hides the app: a user's
// Hidden=true copy (home-share/broken-quote) removes the system's entry.
TEST_F(RunningAppsFixture, InstalledAppsAreTheShownEntriesTheFirstDataDirWinning)
{
    QStringList names;
    for (const auto& app : apps.installed())
        names.append(app.id + "=" + app.name);
    EXPECT_EQ(names,
        QStringList({"org.blender.Blender=Blender", "org.gnome.Calculator=Calculator", "resolve=DaVinci Resolve",
            "evil=Evil", "evil-env=Evil env", "firefox_firefox=Firefox Web Browser",
            "org.gimp.GIMP=GNU Image Manipulation Program", "google-chrome=Google Chrome", "org.kde.kdenlive=Kdenlive",
            "kde-okular=Okular"}))
        << names.join(", ").toStdString();
    EXPECT_EQ(apps.find("resolve")->icon, "/opt/resolve/graphics/DV_Resolve.png");
    EXPECT_EQ(apps.find("nodisplay")->name, "Helper") << "not offered, but still known";
    EXPECT_FALSE(apps.find("hidden"));
    EXPECT_FALSE(apps.find("broken-quote")) << "hidden by the user's own entry";
    EXPECT_EQ(apps.find("org.gimp.GIMP")->germanName, "GNU Bildbearbeitungsprogramm");
    EXPECT_EQ(apps.find("resolve")->germanName, "");
    EXPECT_FALSE(apps.find("garbage"));
}

// The folders are read once, and again only after they change.
TEST(DesktopEntryIndexTest, ReadsAgainOnlyAfterAFolderChanged)
{
    QTemporaryDir data;
    const QString folder = data.path() + "/applications";
    writeFile(folder + "/a.desktop", "[Desktop Entry]\nType=Application\nName=A\nExec=a\n");
    DesktopEntryIndex index({data.path()});
    EXPECT_TRUE(index.find("a"));
    EXPECT_FALSE(index.find("b"));
    EXPECT_EQ(index.reads(), 1);

    writeFile(folder + "/b.desktop", "[Desktop Entry]\nType=Application\nName=B\nExec=b\n");
    EXPECT_TRUE(QTest::qWaitFor([&] { return index.find("b") != nullptr; }, 5000));
    EXPECT_EQ(index.reads(), 2);
    EXPECT_TRUE(index.find("a"));
}

// A real child: its end is told at once, and a pid nobody has is refused.
TEST(ProcessWatcherTest, TellsWhenAProcessEnds)
{
    LinuxProcessWatcher watcher;
    QProcess child;
    child.start("sleep", {"30"});
    ASSERT_TRUE(child.waitForStarted());
    const qint64 pid = child.processId();
    QString problem;
    EXPECT_EQ(watcher.watch(pid, problem), "sleep");
    QSignalSpy exited(&watcher, &LinuxProcessWatcher::exited);
    child.kill();
    EXPECT_TRUE(exited.wait(5000));
    EXPECT_EQ(exited.value(0).value(0).toLongLong(), pid);

    EXPECT_EQ(watcher.watch(0, problem), "");
    EXPECT_EQ(watcher.watch(999999999, problem), "");
    EXPECT_EQ(problem, "no process 999999999 is running");
}

} // namespace
} // namespace quillon::test
