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

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace quillon::test {
namespace {

using platform::linux_::DesktopEntry;
using platform::linux_::DesktopEntryIndex;
using platform::linux_::DrmDisplays;
using platform::linux_::LinuxProcessWatcher;
using platform::linux_::LinuxRunningApps;
using platform::linux_::ProcessTable;

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

    // QUILLON_SYSFS_ROOT points it at a captured tree.
    qputenv("QUILLON_SYSFS_ROOT", (kFixtures + "/drm/laptop-hdmi").toUtf8());
    EXPECT_TRUE(DrmDisplays().connected());
    qunsetenv("QUILLON_SYSFS_ROOT");
    EXPECT_EQ(DrmDisplays::fromEnvironment(), "/sys");
}

TEST(DesktopEntryTest, AnApplicationEntryNamesTheProgramOrNothing)
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

    // It is an application entry or nothing.
    for (const char* text : {"", "garbage\n\x01\x02", "[Desktop Entry]\nName=A\nExec=a\n",
             "[Desktop Entry]\nType=Link\nName=A\nURL=x\n", "[Desktop Entry]\nType=Application\nExec=a\n",
             "[Desktop Entry]\nType=Application\nName=A\n", "[Other]\nType=Application\nName=A\nExec=a\n",
             "[Desktop Entry]\nType=Application\nName=A\nExec=a\nHidden=true\n"})
        EXPECT_FALSE(DesktopEntry::parse(text, "x")) << text;
    EXPECT_FALSE(DesktopEntry::parse(QByteArray("[Desktop Entry]\nType=Application\nName=A\nExec=a\0b\n", 44), "x"));
    const QByteArray longExec = "[Desktop Entry]\nType=Application\nName=A\nExec=" + QByteArray(5000, 'a') + "\n";
    EXPECT_FALSE(DesktopEntry::parse(longExec, "x"));
}

class RunningAppsFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(QTest::qWaitFor([&] { return apps.index().ready(); }, 5000));
    }

    LinuxRunningApps apps{{kFixtures + "/apps/home-share", kFixtures + "/apps/share"}, kFixtures + "/apps/proc",
        QDBusConnection(QStringLiteral("no-bus"))};
};

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

    // The same answer from the worker thread, in the order asked.
    QSignalSpy found(&apps, &LinuxRunningApps::found);
    apps.lookUp(ids);
    apps.lookUp({"org.kde.kdenlive", "garbage"});
    ASSERT_TRUE(QTest::qWaitFor([&] { return found.size() == 2; }, 5000));
    EXPECT_EQ(found[0][0].value<QSet<QString>>(), expected);
    EXPECT_EQ(found[1][0].value<QSet<QString>>(), QSet<QString>{"org.kde.kdenlive"});
}

// What a process's folder holds, for a process started `age` seconds before
// the tree's uptime of 1000 s.
void writeProcess(const QString& folder, const QByteArray& comm, const QByteArray& exe, double age)
{
    const QByteArray start = QByteArray::number(qRound64((1000.0 - age) * double(::sysconf(_SC_CLK_TCK))));
    writeFile(folder + "/stat", "4242 (" + comm + ") S 1 4242 4242 0 -1 4194560 1 0 0 0 0 0 0 0 20 0 1 0 " + start
            + " 100 1 18446744073709551615\n");
    writeFile(folder + "/cmdline", exe + '\0');
    writeFile(folder + "/cgroup", "0::/user.slice/session-2.scope\n");
    QFile::remove(folder + "/exe");
    QFile::link(QString::fromUtf8(exe), folder + "/exe");
}

// A process is read in full once per pid and start time; the name changing
// (an exec), a new start time (the pid reused) or youth reads it again.
TEST(ProcessTableTest, ReadsAProcessAgainOnlyWhenItMayHaveChanged)
{
    QTemporaryDir proc;
    const QString folder = proc.path() + "/4242";
    writeFile(proc.path() + "/uptime", "1000.00 1.00\n");
    writeProcess(folder, "editor", "/usr/bin/editor", 60);
    ProcessTable table(proc.path());
    const auto exeOf = [&] {
        const auto processes = table.read(::getuid(), false);
        return processes.size() == 1 ? processes[0].exe : QString("<%1 processes>").arg(processes.size());
    };
    EXPECT_EQ(exeOf(), "/usr/bin/editor");
    writeFile(folder + "/cgroup", "0::/user.slice/app-org.example.Moved-1.scope\n");
    EXPECT_EQ(exeOf(), "/usr/bin/editor");
    EXPECT_EQ(table.fullReads(), 1) << "a settled process is read once";

    writeProcess(folder, "player", "/usr/bin/player", 60);
    EXPECT_EQ(exeOf(), "/usr/bin/player") << "the same start time, another name: an exec";
    writeProcess(folder, "player", "/opt/other/player", 30);
    EXPECT_EQ(exeOf(), "/opt/other/player") << "the pid reused, with the same name";
    EXPECT_EQ(table.fullReads(), 3);

    // Young: its launcher may still move it into the app's scope.
    writeProcess(folder, "viewer", "/usr/bin/viewer", 1);
    EXPECT_EQ(exeOf(), "/usr/bin/viewer");
    writeFile(folder + "/cgroup", "0::/user.slice/app-gnome-org.example.Viewer-77.scope\n");
    const auto again = table.read(::getuid(), false);
    ASSERT_EQ(again.size(), 1);
    EXPECT_EQ(again[0].scopeIds, QStringList({"gnome", "org.example.Viewer", "77"}));
    EXPECT_EQ(table.fullReads(), 5);

    // Exited, not yet reaped by its parent: its folder stays, but it runs no more.
    QByteArray stat = readFile(folder + "/stat");
    stat.replace(") S ", ") Z ");
    writeFile(folder + "/stat", stat);
    EXPECT_EQ(exeOf(), "<0 processes>") << "a zombie is no running app";

    // A process gone and a tree without stat lines: nothing kept.
    QDir(folder).removeRecursively();
    EXPECT_EQ(exeOf(), "<0 processes>");
    ProcessTable captured(kFixtures + "/apps/proc");
    captured.read(::getuid(), false);
    const int once = captured.fullReads();
    captured.read(::getuid(), false);
    EXPECT_EQ(captured.fullReads(), 2 * once);
}

// With the kernel's pid counter known, a settled process costs nothing to
// read again until the counter wraps, the caller asks for it or the periodic
// full check comes round.
TEST(ProcessTableTest, ASettledProcessIsLookedAtAgainOnlyWhenItMayHaveChanged)
{
    QTemporaryDir proc;
    const QString folder = proc.path() + "/4242";
    writeFile(proc.path() + "/uptime", "1000.00 1.00\n");
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 4242\n");
    writeProcess(folder, "editor", "/usr/bin/editor", 60);
    ProcessTable table(proc.path());
    const auto exeOf = [&](const QSet<qint64>& check) {
        const auto processes = table.read(::getuid(), false, check);
        return processes.size() == 1 ? processes[0].exe : QString("<%1 processes>").arg(processes.size());
    };
    EXPECT_EQ(exeOf({}), "/usr/bin/editor");
    const int statReads = table.statReads();
    writeProcess(folder, "player", "/usr/bin/player", 60);
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 4300\n");
    EXPECT_EQ(exeOf({}), "/usr/bin/editor");
    EXPECT_EQ(table.statReads(), statReads) << "a settled process's stat line is not read again";
    int reads = 1;
    while (exeOf({}) != "/usr/bin/player" && reads < 2 * ProcessTable::fullCheckEvery)
        ++reads;
    EXPECT_LE(reads, ProcessTable::fullCheckEvery) << "the exec is seen at the periodic full check";

    QByteArray stat = readFile(folder + "/stat");
    writeFile(folder + "/stat", stat.replace(") S ", ") Z "));
    EXPECT_EQ(exeOf({4242}), "<0 processes>") << "a process asked for is checked for its exit every time";
    writeProcess(folder, "viewer", "/usr/bin/viewer", 60);
    EXPECT_EQ(exeOf({}), "/usr/bin/viewer");
    writeProcess(folder, "viewer", "/opt/other/viewer", 30);
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 300\n");
    EXPECT_EQ(exeOf({}), "/opt/other/viewer") << "after a wrap any pid may be another process";
}

// The same ask is answered again without reading /proc until the kernel
// gives out a new pid, unless the last read saw a process still young.
TEST(RunningAppsTest, AnsweredAgainWithoutReadingUntilAProcessStarts)
{
    QTemporaryDir proc;
    writeFile(proc.path() + "/uptime", "1000.00 1.00\n");
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 4242\n");
    writeProcess(proc.path() + "/4242", "kdenlive", "/usr/bin/kdenlive", 60);
    LinuxRunningApps apps({kFixtures + "/apps/share"}, proc.path(), QDBusConnection(QStringLiteral("no-bus")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return apps.index().ready(); }, 5000));
    QSignalSpy found(&apps, &LinuxRunningApps::found);
    const auto ask = [&] {
        const qsizetype before = found.size();
        apps.lookUp({"org.kde.kdenlive"});
        EXPECT_TRUE(QTest::qWaitFor([&] { return found.size() > before; }, 5000));
        return found.isEmpty() ? QSet<QString>() : found.last()[0].value<QSet<QString>>();
    };
    const QSet<QString> kdenlive{"org.kde.kdenlive"};
    EXPECT_EQ(ask(), kdenlive);
    QDir(proc.path() + "/4242").removeRecursively();
    EXPECT_EQ(ask(), kdenlive) << "no new pid: the last answer";
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 4250\n");
    EXPECT_EQ(ask(), QSet<QString>());

    writeProcess(proc.path() + "/4242", "kdenlive", "/usr/bin/kdenlive", 1);
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 4260\n");
    EXPECT_EQ(ask(), kdenlive);
    QDir(proc.path() + "/4242").removeRecursively();
    EXPECT_EQ(ask(), QSet<QString>()) << "a young process may still change: read again";

    // Exited but not yet reaped: the process found is looked at again, settled or not.
    writeProcess(proc.path() + "/4242", "kdenlive", "/usr/bin/kdenlive", 60);
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 4270\n");
    EXPECT_EQ(ask(), kdenlive);
    QByteArray stat = readFile(proc.path() + "/4242/stat");
    writeFile(proc.path() + "/4242/stat", stat.replace(") S ", ") Z "));
    writeFile(proc.path() + "/loadavg", "0.00 0.00 0.00 1/90 4280\n");
    EXPECT_EQ(ask(), QSet<QString>());
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

// --- desktop entries as a hostile or merely huge system has them ---

QByteArray entryText(const QString& name)
{
    return "[Desktop Entry]\nType=Application\nName=" + name.toUtf8() + "\nExec=" + name.toLower().toUtf8() + "\n";
}

class HostileDesktopEntries : public ::testing::Test {
protected:
    QString folder() const { return m_data.path() + "/applications"; }
    // The caller never waits for a read: the index answers at once, empty
    // until its own thread has read the folders and said so.
    std::unique_ptr<DesktopEntryIndex> readIndex()
    {
        auto index = std::make_unique<DesktopEntryIndex>(QStringList{m_data.path()});
        QSignalSpy changed(index.get(), &DesktopEntryIndex::changed);
        EXPECT_FALSE(index->ready());
        EXPECT_TRUE(index->entries().isEmpty());
        EXPECT_TRUE(changed.wait(5000));
        EXPECT_TRUE(index->ready());
        return index;
    }

private:
    QTemporaryDir m_data;
};

// Read once, then again only after a change, and then only the file that
// changed; a burst of changes is read as one.
TEST_F(HostileDesktopEntries, ReadsOnlyWhatChangedAndABurstOnce)
{
    for (int i = 0; i < 200; ++i)
        writeFile(folder() + QString("/org.example.App%1.desktop").arg(i), entryText(QString("App%1").arg(i)));
    writeFile(folder() + "/kde/okular.desktop", entryText("Okular"));
    const auto index = readIndex();
    EXPECT_EQ(index->entries().size(), 201);
    EXPECT_TRUE(index->find("kde-okular"));
    EXPECT_EQ(index->parsed(), 201);
    EXPECT_EQ(index->reads(), 1);

    writeFile(folder() + "/b.desktop", entryText("B"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return index->find("b") != nullptr; }, 5000));
    EXPECT_EQ(index->parsed(), 202) << "only the new file is parsed";
    EXPECT_TRUE(index->find("org.example.App7"));

    const int reads = index->reads();
    const int parsed = index->parsed();
    for (int i = 0; i < 20; ++i) {
        writeFile(folder() + QString("/burst%1.desktop").arg(i), entryText(QString("Burst%1").arg(i)));
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return index->find("burst19") != nullptr; }, 5000));
    EXPECT_LE(index->reads() - reads, 2) << "twenty changes in a row are one or two reads, not twenty";
    EXPECT_LE(index->parsed() - parsed, 40) << "the other two hundred are not parsed again";

    // An installer writes a new file and renames it over the old one.
    writeFile(folder() + "/../App3.new", entryText("Renamed"));
    ASSERT_EQ(::rename(QFile::encodeName(folder() + "/../App3.new").constData(),
                  QFile::encodeName(folder() + "/org.example.App3.desktop").constData()),
        0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return index->find("org.example.App3")->name == "Renamed"; }, 5000));

    QFile::remove(folder() + "/kde/okular.desktop");
    EXPECT_TRUE(QTest::qWaitFor([&] { return index->find("kde-okular") == nullptr; }, 5000));
}

// A desktop entry that is a FIFO, or a link to one, to a device or to a
// folder, is never opened: opening a FIFO waits for a writer for good. A
// link to a regular file is followed.
TEST_F(HostileDesktopEntries, OnlyRegularFilesAreEverOpened)
{
    QDir().mkpath(folder());
    const QString fifo = folder() + "/../pipe";
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    ASSERT_EQ(::mkfifo(QFile::encodeName(folder() + "/fifo.desktop").constData(), 0600), 0);
    QFile::link(fifo, folder() + "/tofifo.desktop");
    QFile::link("/dev/zero", folder() + "/zero.desktop");
    QFile::link(folder() + "/..", folder() + "/folder.desktop");
    writeFile(folder() + "/../real", entryText("Real"));
    QFile::link(folder() + "/../real", folder() + "/linked.desktop");
    writeFile(folder() + "/plain.desktop", entryText("Plain"));

    // Anyone opening a FIFO to read is let go by a writer, and caught.
    std::atomic<bool> opened = false;
    std::atomic<bool> done = false;
    std::thread rescuer([&] {
        while (!done) {
            for (const QString& pipe : {fifo, folder() + "/fifo.desktop"}) {
                const int fd = ::open(QFile::encodeName(pipe).constData(), O_WRONLY | O_NONBLOCK);
                if (fd >= 0) {
                    opened = true;
                    ::close(fd);
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    const auto index = readIndex();
    done = true;
    rescuer.join();
    EXPECT_FALSE(opened) << "a FIFO was opened";
    EXPECT_TRUE(index->find("plain"));
    EXPECT_TRUE(index->find("linked"));
    for (const char* id : {"fifo", "tofifo", "zero", "folder"})
        EXPECT_FALSE(index->find(id)) << id;
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
