// The demo's private folder goes with the app however the app ends, and so do
// the processes the demo started; a starting demo removes the folders that
// outlived theirs, and only those.
#include "DemoAppRig.h"
#include "ui/demo/DemoMode.h"

#include "support/Files.h"

#include <QFileInfo>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

namespace quillon::test {
namespace {

const QStringList offscreen{"QT_QPA_PLATFORM=offscreen", "QT_QUICK_BACKEND=software"};

// Where a file descriptor, /proc/PID/fd/N, leads ("pipe:[N]", a path); empty
// when there is no such descriptor.
QString openFile(const std::filesystem::path& descriptor)
{
    std::error_code error;
    return QString::fromStdString(std::filesystem::read_symlink(descriptor, error).string());
}

// Where each of a process's file descriptors leads.
QStringList openFiles(qint64 pid)
{
    QStringList targets;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd", error))
        targets.append(openFile(entry.path()));
    return targets;
}

bool exists(const QString& path)
{
    return QFileInfo::exists(path);
}

// A running demo with its folder and the processes around it: its three
// children, and the watcher that removes the folder once the app is gone (the
// process with the folder itself as an argument).
class DemoFolderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(rig.start(offscreen)) << rig.log();
        folder = rig.demoDirectory();
        ASSERT_TRUE(folder.startsWith(rig.temporaryDirectory() + "/")) << folder.toStdString();
        ASSERT_TRUE(QFileInfo(folder).isDir());
        processes = rig.children();
        const QList<qint64> watchers
            = processesWhere([&](qint64 pid) { return commandLine(pid).mid(1).contains(folder); });
        if (watchers.size() == 1) {
            watcher = watchers.first();
            processes.append(watcher);
        }
        for (const qint64 pid : processes)
            commands[pid] = commandLine(pid).join(' ').toStdString();
    }

    // Expects every process of the demo to end within timeout.
    void expectAllProcessesEnd(std::chrono::milliseconds timeout)
    {
        for (const qint64 pid : processes)
            EXPECT_TRUE(waitUntil([&] { return !processAlive(pid); }, timeout)) << commands[pid] << " outlived the app";
    }

    DemoAppRig rig;
    QString folder;
    // The app's children, and the watcher.
    QList<qint64> processes;
    // 0 when there is not exactly one.
    qint64 watcher = 0;
    std::map<qint64, std::string> commands;
};

TEST_F(DemoFolderTest, GoesWithAKilledAppEvenAfterTheTerminalsSignalsAndSoDoItsProcesses)
{
    ASSERT_NE(watcher, 0) << "no process watches the folder";
    // Ctrl-C signals the terminal's foreground process group: the app's, not the watcher's.
    const QStringList watcherStat = processStat(watcher);
    const QStringList appStat = processStat(rig.app.pid());
    ASSERT_GT(watcherStat.size(), 2);
    ASSERT_GT(appStat.size(), 2);
    EXPECT_NE(watcherStat[2], appStat[2]);
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP, SIGTERM})
        ::kill(static_cast<pid_t>(watcher), signal);

    rig.app.signal(SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return !exists(folder); }, 2s)) << "the folder outlived the app";
    expectAllProcessesEnd(3s);
}

// Only the app holds the watcher's input: a child of the app holding it open
// would keep the folder for as long as that child lives. Once the app is
// gone, `quillon ctl` says so.
TEST_F(DemoFolderTest, GoesWithTheAppsQuitAndSoDoesTheWatcherAndCtlFindsNoApp)
{
    ASSERT_NE(watcher, 0) << "no process watches the folder";
    const QString input = openFile("/proc/" + std::to_string(watcher) + "/fd/0");
    ASSERT_TRUE(input.startsWith("pipe:")) << input.toStdString();
    EXPECT_TRUE(openFiles(rig.app.pid()).contains(input));
    for (const qint64 pid : rig.children())
        EXPECT_FALSE(openFiles(pid).contains(input)) << commands[pid] << " holds the watcher's input";

    rig.app.signal(SIGTERM);
    ASSERT_EQ(rig.app.waitForExit(10s), 0) << rig.log();
    EXPECT_FALSE(exists(folder)) << "the app left its folder behind";
    expectAllProcessesEnd(2s);
    const auto ctl = rig.ctl({"status"});
    EXPECT_EQ(ctl.exitCode, 1);
    EXPECT_NE(ctl.err.find("Quillon is not running"), std::string::npos) << ctl.err;
}

TEST(DemoFolders, AStartingDemoRemovesOnlyThoseWhoseDemoIsGone)
{
    DemoAppRig rig;
    // A folder as a demo leaves it, with an owner file of this content unless null.
    const auto plant = [&](const char* suffix, const QByteArray& owner) {
        const QString folder = rig.temporaryDirectory() + "/" + ui::DemoMode::kDirectoryPrefix + suffix;
        EXPECT_TRUE(writeFile(folder + "/helper.log", "what a demo leaves\n"));
        EXPECT_TRUE(owner.isNull() || writeFile(folder + "/" + ui::DemoMode::kOwnerFile, owner));
        return folder;
    };
    const QString gone = plant("gone00", "4242\n");         // its lock is free: its demo died
    const QString running = plant("runnin", "4243\n");      // locked below, as by a running demo
    const QString starting = plant("starts", "");           // not yet locked and written by its demo
    const QString unmarked = plant("unmark", QByteArray()); // nothing tells whose it is
    const QByteArray runningOwner = QFile::encodeName(running + "/" + ui::DemoMode::kOwnerFile);
    const int lock = ::open(runningOwner.constData(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0);
    QString foreign; // another user's, when the test may make one
    if (::geteuid() == 0) {
        foreign = plant("foreig", "4244\n");
        for (const QString& path : {foreign, foreign + "/" + ui::DemoMode::kOwnerFile}) {
            ASSERT_EQ(::chown(QFile::encodeName(path).constData(), kNobody, kNobody), 0);
        }
    }

    ASSERT_TRUE(rig.start(offscreen)) << rig.log();
    EXPECT_FALSE(exists(gone));
    for (const QString& kept : {running, starting, unmarked, foreign, rig.demoDirectory()})
        EXPECT_TRUE(kept.isEmpty() || exists(kept)) << kept.toStdString() << " was removed";
    ::close(lock);
}

} // namespace
} // namespace quillon::test
