// Drive keep-alive on a real mounted file system: the timer touches the
// volume on schedule, the touches reach the device (where it has a read
// counter), and nothing at all is written: no data, no metadata, not even an
// access time.
#include "TestVolume.h"
#include "app/Settings.h"
#include "app/power/DriveManager.h"
#include "platform/Clock.h"
#include "platform/linux/BlockReadCounter.h"
#include "platform/linux/LinuxDriveToucher.h"
#include "platform/linux/LinuxPlatform.h"

#include "support/EventLoop.h"
#include "support/HungMount.h"
#include "support/LineProcess.h"
#include "support/QStringPrinter.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>

using quillon::app::DriveManager;
using quillon::app::Settings;
using quillon::platform::DriveTouchOutcome;
using quillon::platform::SystemClock;
using quillon::platform::linux_::BlockReadCounter;
using quillon::platform::linux_::LinuxDriveToucher;
using quillon::test::TestVolume;

namespace {

// The toucher the app uses: each touch in the quillon-drive-touch program.
std::shared_ptr<quillon::platform::DriveToucher> appToucher()
{
    return quillon::platform::linux_::LinuxPlatform::driveToucher(QStringLiteral(QUILLON_DRIVE_TOUCH_BIN));
}

// Everything a write could change of each file and folder of the volume:
// size and the three times. Looking with stat() changes none of them.
QStringList stateOf(const TestVolume& volume)
{
    QStringList lines;
    for (const QString& entry : TestVolume::entries()) {
        struct stat s { };
        if (::lstat(QFile::encodeName(volume.mountPoint() + '/' + entry).constData(), &s) != 0) {
            lines << entry + ": gone";
            continue;
        }
        lines << QString::asprintf("%s: size %lld m%lld.%09ld a%lld.%09ld c%lld.%09ld", qPrintable(entry),
            qint64(s.st_size), qint64(s.st_mtim.tv_sec), s.st_mtim.tv_nsec, qint64(s.st_atim.tv_sec), s.st_atim.tv_nsec,
            qint64(s.st_ctim.tv_sec), s.st_ctim.tv_nsec);
    }
    return lines;
}

// The write counter once it has stopped moving for longer than a commit.
std::optional<quint64> settledWrites(const BlockReadCounter& counter, const TestVolume& volume)
{
    auto writes = counter.writesCompleted(volume.deviceMajor(), volume.deviceMinor());
    for (int i = 0; writes && i < 10; ++i) {
        QThread::msleep(TestVolume::commitMs * 2);
        const auto now = counter.writesCompleted(volume.deviceMajor(), volume.deviceMinor());
        if (now == writes)
            break;
        writes = now;
    }
    return writes;
}

struct Poke {
    double atMs;
    DriveTouchOutcome outcome;
    std::optional<quint64> deviceReads;
};

TEST(DriveKeepAlive, TouchesAMountedVolumeOnScheduleAndWritesNothing)
{
    TestVolume volume;
    const BlockReadCounter counter;
    const bool hasCounter = volume.onLoopDevice();
    RecordProperty("volume", hasCounter ? "ext4 on a loop device" : "a folder on /dev/shm (tmpfs)");
    // Looking the files up caches the folders; mount afresh so that the
    // touches meet a cold volume, as a drive that woke from standby would be.
    const QStringList before = stateOf(volume);
    ASSERT_TRUE(volume.remount());
    const auto writesBefore = settledWrites(counter, volume);

    QTemporaryDir settingsDir;
    Settings settings(settingsDir.filePath("Quillon.conf"));
    const SystemClock clock;
    DriveManager manager({&settings, &clock, nullptr, appToucher()});
    manager.setIntervalSeconds(1);
    manager.add({volume.mountPoint(), "Test volume"});

    std::vector<Poke> pokes;
    QElapsedTimer elapsed;
    QObject::connect(&manager, &DriveManager::drivePoked, [&](const QString& path, DriveTouchOutcome outcome) {
        EXPECT_EQ(path, volume.mountPoint());
        pokes.push_back(
            {double(elapsed.elapsed()), outcome, counter.readsCompleted(volume.deviceMajor(), volume.deviceMinor())});
    });
    const auto readsAtStart = counter.readsCompleted(volume.deviceMajor(), volume.deviceMinor());
    elapsed.start();
    manager.setEnabled(true);
    ASSERT_TRUE(quillon::test::waitUntil([&] { return pokes.size() >= 3; }, std::chrono::seconds(8)));
    manager.setEnabled(false);

    // On schedule: about one second apart, the first a second after the start.
    EXPECT_NEAR(pokes[0].atMs, 1000, 400);
    for (size_t i = 1; i < pokes.size(); ++i)
        EXPECT_NEAR(pokes[i].atMs - pokes[i - 1].atMs, 1000, 400) << "poke " << i;

    if (hasCounter) {
        // The first listing of the freshly mounted volume reaches the device;
        // after that the listing is cached and the direct read does it (unless
        // the kernel dropped the cached listing meanwhile: then it is listed again).
        EXPECT_EQ(pokes[0].outcome, DriveTouchOutcome::listed);
        EXPECT_TRUE(std::any_of(pokes.begin() + 1, pokes.end(),
            [](const Poke& poke) { return poke.outcome == DriveTouchOutcome::uncachedRead; }));
        quint64 reads = readsAtStart.value_or(0);
        for (const Poke& poke : pokes) {
            if (&poke != &pokes[0]) {
                EXPECT_TRUE(
                    poke.outcome == DriveTouchOutcome::uncachedRead || poke.outcome == DriveTouchOutcome::listed);
            }
            ASSERT_TRUE(poke.deviceReads.has_value());
            EXPECT_GT(*poke.deviceReads, reads);
            reads = *poke.deviceReads;
        }
        // A directory without files of its own: once its listing is
        // cached, a file one level down is read directly instead.
        LinuxDriveToucher toucher;
        const QString archive = volume.mountPoint() + "/Archive";
        EXPECT_EQ(toucher.touch(archive), DriveTouchOutcome::listed);
        // (The second touch also lists the subfolder for the first time; by
        // the third everything is cached but the file's data.)
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(toucher.touch(archive), DriveTouchOutcome::uncachedRead);
    } else {
        for (const Poke& poke : pokes)
            EXPECT_EQ(poke.outcome, DriveTouchOutcome::unverified);
    }

    // Anything written would have reached the device by now.
    if (hasCounter)
        QThread::msleep(2 * TestVolume::commitMs);
    EXPECT_EQ(counter.writesCompleted(volume.deviceMajor(), volume.deviceMinor()), writesBefore);
    EXPECT_EQ(stateOf(volume), before);
}

// Drives behind a FUSE daemon that never answers (a network share whose
// server is gone), more of them than there are cores: a healthy volume is
// still touched at every round, the hung ones show as not reachable after
// the deadline and come back once their touches return.
TEST(HostileDrives, AHungMountNeverHoldsUpAHealthyVolume)
{
    quillon::test::HungMount hung;
    ASSERT_TRUE(hung.mounted()) << "needs root and /dev/fuse, as CI has";
    TestVolume volume;
    QTemporaryDir settingsDir;
    Settings settings(settingsDir.filePath("Quillon.conf"));
    const SystemClock clock;
    DriveManager manager({&settings, &clock, nullptr, appToucher(), 300});
    manager.setIntervalSeconds(1);
    QStringList hungPaths{hung.path()};
    for (int i = 0; i < 5; ++i)
        hungPaths << hung.path() + QString("/Share%1").arg(i);
    for (const QString& path : hungPaths)
        manager.add({path, path});
    manager.add({volume.mountPoint(), "Test volume"});

    int healthy = 0;
    QObject::connect(&manager, &DriveManager::drivePoked,
        [&](const QString& path, DriveTouchOutcome) { healthy += path == volume.mountPoint(); });
    manager.setEnabled(true);
    ASSERT_TRUE(quillon::test::waitUntil([&] { return healthy >= 3; }, std::chrono::seconds(10)));
    for (const QString& path : hungPaths)
        EXPECT_FALSE(manager.reachable(path)) << path.toStdString();
    EXPECT_TRUE(manager.reachable(volume.mountPoint()));

    hung.breakConnection();
    EXPECT_TRUE(quillon::test::waitUntil(
        [&] {
            return std::all_of(
                hungPaths.begin(), hungPaths.end(), [&](const QString& p) { return manager.reachable(p); });
        },
        std::chrono::seconds(10)));
    manager.setEnabled(false);
}

// A server that took the request and died: whatever touches the drive sleeps
// in the kernel, where not even SIGKILL reaches it. The process that keeps
// the drive alive still quits at once.
TEST(HostileDrives, ATouchStuckInTheKernelNeverKeepsTheAppFromQuitting)
{
    quillon::test::LineProcess probe; // outlives the mount, which lets a stuck probe go
    quillon::test::HungMount hung(quillon::test::HungMount::Mode::swallowing);
    ASSERT_TRUE(hung.mounted()) << "needs root and /dev/fuse, as CI has";
    probe.start(QStringLiteral(QUILLON_DRIVE_QUIT_PROBE), {hung.path()}, {});
    ASSERT_TRUE(probe.waitForLine("overdue", std::chrono::seconds(10)));
    EXPECT_EQ(probe.waitForExit(std::chrono::seconds(5)), 0) << probe.lines().join('\n').toStdString();
}

} // namespace
