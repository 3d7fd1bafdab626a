// DriveManager with fake volumes, a fake toucher and a hand-moved clock: the
// stored state, the schedule, and the touches that run off the main thread.
#include "app/power/DriveManager.h"

#include "app/Settings.h"

#include "support/EventLoop.h"
#include "support/FakeAppServices.h"
#include "support/FakeDrives.h"
#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QJsonObject>
#include <QLocale>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <gtest/gtest.h>

using quillon::app::DriveItem;
using quillon::app::DriveManager;
using quillon::app::Settings;
using quillon::platform::DriveTouchOutcome;
using quillon::test::FakeClock;
using quillon::test::FakeDriveToucher;
using quillon::test::FakeVolumeSource;
using Key = Settings::Key;

namespace {

const DriveItem archive{"/media/ada/Archive", "Archive"};
const DriveItem footage{"/media/ada/Footage", "Footage"};

class DriveManagerTest : public ::testing::Test {
protected:
    QString iniPath() const { return m_dir.filePath("Quillon.conf"); }
    void writeIni(const QByteArray& text) const { ASSERT_TRUE(quillon::test::writeFile(iniPath(), text)); }
    std::unique_ptr<DriveManager> makeManager(int touchDeadlineMs = DriveManager::touchDeadlineDefaultMs)
    {
        settings = std::make_unique<Settings>(iniPath());
        return std::make_unique<DriveManager>(
            DriveManager::Parts{settings.get(), &clock, volumes, toucher, touchDeadlineMs});
    }
    // No touch is left waiting on a held drive once the test ends.
    void TearDown() override { toucher->release(); }
    static int timerIntervalS(const DriveManager& manager)
    {
        const auto* timer = manager.findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
        return timer && timer->isActive() ? timer->interval() / 1000 : -1;
    }

    FakeClock clock;
    std::shared_ptr<FakeVolumeSource> volumes = std::make_shared<FakeVolumeSource>();
    std::shared_ptr<FakeDriveToucher> toucher = std::make_shared<FakeDriveToucher>();
    std::unique_ptr<Settings> settings;

private:
    QTemporaryDir m_dir;
};

// The stored state starts the timer at once. One element the app cannot read
// costs only itself, and the list as stored is kept aside before a save
// rewrites it; a list that cannot be decoded at all loads empty.
TEST_F(DriveManagerTest, StoredStateIsReadBackAndAnUnreadableElementCostsOnlyItself)
{
    const QByteArray stored = "[{\\\"path\\\":\\\"/media/ada/Archive\\\",\\\"name\\\":\\\"Archive\\\"},"
                              "{\\\"path\\\":\\\"/media/ada/Old\\\",\\\"label\\\":1}]";
    writeIni("[General]\ndrivealive.enabled=true\ndrivealive.interval=120\ndrivealive.drives=\"" + stored + "\"\n");
    const QString original = QSettings(iniPath(), QSettings::IniFormat).value("drivealive.drives").toString();
    ASSERT_TRUE(original.contains("/media/ada/Old"));
    auto manager = makeManager();
    EXPECT_TRUE(manager->enabled());
    EXPECT_EQ(manager->drives(), QList{archive});
    EXPECT_EQ(manager->intervalSeconds(), 120);
    EXPECT_TRUE(manager->active());
    EXPECT_EQ(timerIntervalS(*manager), 120);
    EXPECT_EQ(manager->nextPokeAt(), clock.now().addSecs(120));
    manager->add(footage);
    manager.reset();
    manager = makeManager();
    EXPECT_EQ(manager->drives(), (QList{archive, footage}));
    EXPECT_EQ(QSettings(iniPath(), QSettings::IniFormat).value("drivealive.drives.unreadable").toString(), original);

    const QByteArray broken[] = {
        "drivealive.drives=\"[{\\\"path\\\":\\\"/media/ada/Archive\\\"}]\"\n", // no name
        "drivealive.drives=\"[\\\"/media/ada/Archive\\\"]\"\n",
        "drivealive.drives=\"[{\\\"path\\\":\"\n",
    };
    manager.reset();
    for (const QByteArray& line : broken) {
        writeIni("[General]\ndrivealive.enabled=true\n" + line);
        const auto reread = makeManager();
        EXPECT_TRUE(reread->drives().isEmpty()) << line.constData();
        EXPECT_FALSE(reread->active());
        EXPECT_EQ(timerIntervalS(*reread), -1);
    }
}

// The timer runs exactly while enabled with at least one drive, and a new
// interval replaces the running one.
TEST_F(DriveManagerTest, TheTimerRunsWhileEnabledWithADriveAtTheIntervalLastSet)
{
    const auto manager = makeManager();
    QSignalSpy activeChanged(manager.get(), &DriveManager::activeChanged);
    manager->setEnabled(true);
    EXPECT_FALSE(manager->active());
    EXPECT_EQ(timerIntervalS(*manager), -1);
    EXPECT_FALSE(manager->nextPokeAt().isValid());

    manager->add(archive);
    EXPECT_TRUE(manager->active());
    EXPECT_EQ(timerIntervalS(*manager), 60);
    EXPECT_EQ(manager->nextPokeAt(), clock.now().addSecs(60));

    clock.advance(25);
    QSignalSpy scheduled(manager.get(), &DriveManager::nextPokeAtChanged);
    manager->setIntervalSeconds(300);
    EXPECT_EQ(timerIntervalS(*manager), 300);
    EXPECT_EQ(manager->nextPokeAt(), clock.now().addSecs(300));
    EXPECT_EQ(scheduled.count(), 1);
    for (const int refused : {0, -60}) {
        manager->setIntervalSeconds(refused);
        EXPECT_EQ(manager->intervalSeconds(), 300);
    }
    // Intervals beyond what a timer counts still run, at the timer's bound.
    manager->setIntervalSeconds(30 * 24 * 3600);
    EXPECT_EQ(timerIntervalS(*manager), INT_MAX / 1000);
    EXPECT_EQ(manager->nextPokeAt(), clock.now().addSecs(30 * 24 * 3600));

    manager->remove(DriveItem{archive.path, "renamed meanwhile"});
    EXPECT_FALSE(manager->active());
    EXPECT_EQ(timerIntervalS(*manager), -1);
    EXPECT_EQ(activeChanged.count(), 2);
}

TEST_F(DriveManagerTest, EveryChangeIsStoredAndAnnouncedOnce)
{
    {
        const auto manager = makeManager();
        QSignalSpy enabled(manager.get(), &DriveManager::enabledChanged);
        QSignalSpy drives(manager.get(), &DriveManager::drivesChanged);
        QSignalSpy interval(manager.get(), &DriveManager::intervalSecondsChanged);
        manager->setEnabled(true);
        manager->setEnabled(true);
        manager->add(archive);
        manager->add(footage);
        manager->add(DriveItem{archive.path, "Another name"}); // the path is already chosen
        manager->remove(DriveItem{"/media/ada/Elsewhere", "Elsewhere"});
        manager->setIntervalSeconds(90);
        manager->setIntervalSeconds(90);
        EXPECT_EQ(enabled.count(), 1);
        EXPECT_EQ(drives.count(), 2);
        EXPECT_EQ(interval.count(), 1);
    }
    const auto reopened = makeManager();
    EXPECT_TRUE(reopened->enabled());
    EXPECT_EQ(reopened->drives(), (QList{archive, footage}));
    EXPECT_EQ(reopened->intervalSeconds(), 90);
    EXPECT_EQ(settings->jsonArray(Key::driveAliveDrives).at(1).toObject().value("name").toString(), "Footage");
}

TEST_F(DriveManagerTest, PokeTouchesEveryDriveOffTheMainThreadAndReportsBackOnIt)
{
    const auto manager = makeManager();
    manager->add(archive);
    manager->add(footage);
    toucher->setOutcome(footage.path, DriveTouchOutcome::missing); // unplugged
    QSignalSpy poked(manager.get(), &DriveManager::drivePoked);
    QObject::connect(manager.get(), &DriveManager::drivePoked, manager.get(),
        [] { EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread()); });

    manager->poke();
    ASSERT_TRUE(quillon::test::waitUntil([&] { return poked.count() == 2; }));
    QMap<QString, DriveTouchOutcome> outcomes;
    for (const auto& signal : poked)
        outcomes[signal.at(0).toString()] = signal.at(1).value<DriveTouchOutcome>();
    EXPECT_EQ(outcomes.value(archive.path), DriveTouchOutcome::listed);
    EXPECT_EQ(outcomes.value(footage.path), DriveTouchOutcome::missing);
    for (const auto& touch : toucher->touches())
        EXPECT_NE(touch.thread, QThread::currentThread());
    // The unplugged drive stays chosen and is touched again next time.
    EXPECT_EQ(manager->drives().size(), 2);
}

// A drive still busy from the last poke is left out; a result arriving after
// the manager is gone is dropped.
TEST_F(DriveManagerTest, ADriveStillBusyIsLeftOutAndALateResultDropped)
{
    auto manager = makeManager();
    manager->add(archive);
    QSignalSpy poked(manager.get(), &DriveManager::drivePoked);
    toucher->hold(archive.path);
    manager->poke();
    ASSERT_TRUE(toucher->waitForTouches(1));
    manager->poke();
    manager->poke();
    toucher->release();
    ASSERT_TRUE(poked.wait(1000));
    EXPECT_EQ(toucher->touches().size(), 1u);

    toucher->hold(archive.path);
    manager->poke();
    ASSERT_TRUE(toucher->waitForTouches(2));
    manager.reset();
    toucher->release();
    // The worker finishes and must not post to the destroyed manager.
    QThread::msleep(50);
    QCoreApplication::processEvents();
    EXPECT_EQ(toucher->touches().size(), 2u);
}

// Drives that hang (a dead network share, a stopped FUSE daemon) never keep
// the healthy ones from being touched on time, however many hang; past the
// deadline they show as not reachable and are left out until they answer.
using HostileDrives = DriveManagerTest;

TEST_F(HostileDrives, HungDrivesAreMarkedAndNeverHoldUpTheHealthyOnes)
{
    // Long enough that a healthy touch never misses it on a loaded machine.
    const auto manager = makeManager(1000);
    QList<DriveItem> hung;
    for (int i = 0; i < 6; ++i) {
        hung.append({QString("/media/ada/Dead%1").arg(i), QString("Dead %1").arg(i)});
        toucher->hold(hung.last().path);
        manager->add(hung.last());
    }
    manager->add(archive);
    QSignalSpy poked(manager.get(), &DriveManager::drivePoked);
    for (int round = 1; round <= 3; ++round) {
        manager->poke();
        ASSERT_TRUE(quillon::test::waitUntil([&] { return poked.count() == round; })) << "round " << round;
        EXPECT_EQ(poked.last().at(0).toString(), archive.path);
        EXPECT_EQ(toucher->touchesOf(archive.path), size_t(round));
    }
    // Each hung touch misses its own deadline, one after the other.
    const auto reachableHung = [&] {
        return std::count_if(
            hung.begin(), hung.end(), [&](const DriveItem& drive) { return manager->reachable(drive.path); });
    };
    ASSERT_TRUE(quillon::test::waitUntil([&] { return reachableHung() == 0; }));
    for (const DriveItem& drive : hung)
        EXPECT_EQ(toucher->touchesOf(drive.path), 1u) << "a hung drive is not touched again";
    EXPECT_TRUE(manager->reachable(archive.path));
    EXPECT_EQ(manager->drives().size(), 7) << "still chosen";

    QSignalSpy reachability(manager.get(), &DriveManager::reachabilityChanged);
    toucher->release();
    ASSERT_TRUE(quillon::test::waitUntil([&] { return reachableHung() == hung.size(); }));
    EXPECT_GE(reachability.count(), 1);
    manager->poke();
    ASSERT_TRUE(quillon::test::waitUntil([&] { return toucher->touchesOf(hung.first().path) == 2; }));
}

// Listing asks the system, which may be slow: the last list shows until the
// answer is in, and only one question is out at a time.
TEST_F(DriveManagerTest, AvailableDrivesAreNamedAndSortedForTheUserOnceTheSystemAnswers)
{
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    volumes->volumes = {
        {"/media/ada/zeta", "zeta"},
        {"/", "root"},
        {"/media/ada/ALPHA", ""},
        {"/run/media/ada/beta", "beta"},
        {"/media/ada/Beta-2", "Beta"},
        {"/media/ada/Édition", "Édition"},
    };
    volumes->held = true;
    auto manager = makeManager();
    QSignalSpy listed(manager.get(), &DriveManager::availableDrivesChanged);
    manager->refreshAvailableDrives();
    manager->refreshAvailableDrives();
    EXPECT_EQ(volumes->asked, 1);
    EXPECT_TRUE(manager->availableDrives().isEmpty());
    volumes->answerHeld();
    EXPECT_EQ(listed.count(), 1);

    QStringList names;
    QStringList paths;
    for (const DriveItem& item : manager->availableDrives()) {
        names << item.name;
        paths << item.path;
    }
    // Case-insensitive and stable: "beta" and "Beta" keep their order.
    EXPECT_EQ(names, (QStringList{"ALPHA", "beta", "Beta", "Édition", "zeta"}));
    EXPECT_FALSE(paths.contains("/"));
    QLocale::setDefault(before);

    volumes->volumes.clear();
    manager->refreshAvailableDrives();
    EXPECT_EQ(volumes->asked, 2);
    EXPECT_EQ(manager->availableDrives().size(), 5);
    volumes->answerHeld();
    EXPECT_TRUE(manager->availableDrives().isEmpty());

    // An answer that comes after the manager has gone is dropped.
    manager->refreshAvailableDrives();
    manager.reset();
    volumes->answerHeld();
}

} // namespace
