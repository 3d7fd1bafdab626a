// The app's fan model against the real helper: quillon-helper --daemon on a
// private bus over the shared simulated Mac, reached through DBusHelperLink.
#include "DaemonHarness.h"
#include "app/Settings.h"
#include "app/fan/DBusHelperLink.h"
#include "app/fan/FanController.h"
#include "platform/Clock.h"

#include "smc/SimulatedMac.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>

using namespace quillon::test;
using namespace std::chrono_literals;
using quillon::app::FanController;

namespace {

// The real link, noting the app's poll interval as each floor leaves for the helper.
class FloorNotingLink : public quillon::app::DBusHelperLink {
public:
    using DBusHelperLink::DBusHelperLink;
    void setFanFloor(double percent, QObject* context, Reply reply) override
    {
        pollAtFloor.append(fan ? fan->pollIntervalMs() : -1);
        DBusHelperLink::setFanFloor(percent, context, std::move(reply));
    }
    const FanController* fan = nullptr;
    QList<int> pollAtFloor;
};

class FanControllerLive : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(rig.mac.ready);
        ASSERT_EQ(rig.smc.writeU8("QLOD", 100), 0u); // a machine under full load
        ASSERT_TRUE(rig.startHelper()) << rig.helperLog().toStdString();
        connectFan(quillon::app::DBusHelperLink::kCallTimeoutMs);
    }

    void connectFan(int callTimeoutMs)
    {
        fan.reset();
        link = std::make_unique<FloorNotingLink>(quillon::daemon::HelperBus::Setting{quillon::daemon::HelperBus::Kind::address, rig.bus.address()}, callTimeoutMs);
        FanController::Parts parts;
        parts.link = link.get();
        parts.settings = &settings;
        parts.clock = &clock;
        fan = std::make_unique<FanController>(std::move(parts)); // real timers
        link->fan = fan.get();
    }

    HelperRig rig;
    QTemporaryDir dir;
    quillon::app::Settings settings{dir.path() + "/Quillon.ini"};
    quillon::platform::SystemClock clock;
    std::unique_ptr<FloorNotingLink> link;
    std::unique_ptr<FanController> fan;
};

// Also: the poll, slow at rest, is back to every second before the floor
// leaves, so the helper's watchdog (6 s of silence) never fires while the app
// holds the fans.
TEST_F(FanControllerLive, MaxProfileSpinsTheFansUpAndOffHandsThemBack)
{
    EXPECT_TRUE(fan->helperInstalled());
    ASSERT_TRUE(waitUntil([&] { return fan->cpuTemp().has_value() && fan->fans().size() == 2; }, 5s));
    EXPECT_EQ(fan->pollIntervalMs(), 5000) << "at rest";

    QElapsedTimer held;
    held.start();
    fan->setCoolingProfile(quillon::core::CoolingProfile::Kind::max);
    fan->setFansEnabled(true);
    const float minimum = rig.smc.readFlt("F0Mn");
    ASSERT_TRUE(waitUntil([&] { return fan->isBoosted() && rig.mode(0) == 1 && rig.mode(1) == 1; }, 5s))
        << rig.helperLog().toStdString();
    EXPECT_TRUE(fan->autoEngaged());
    ASSERT_TRUE(waitUntil([&] { return rig.smc.readFlt("F0Ac") > minimum + 1500; }, 8s));
    EXPECT_TRUE(waitUntil(
        [&] { return !fan->fans().isEmpty() && static_cast<float>(fan->fans()[0].currentRPM) > minimum + 1500; }, 3s));
    ASSERT_FALSE(link->pollAtFloor.isEmpty());
    EXPECT_EQ(link->pollAtFloor, QList<int>(link->pollAtFloor.size(), 1000));
    // Past the watchdog's silence limit and its next check.
    QTest::qWait(static_cast<int>(std::max<qint64>(0, 8500 - held.elapsed())));
    EXPECT_FALSE(rig.helperLog().contains("WATCHDOG")) << rig.helperLog().toStdString();
    EXPECT_TRUE(fan->isBoosted() && rig.mode(0) == 1);

    fan->setFansEnabled(false);
    EXPECT_TRUE(waitUntil([&] { return rig.allFansInFirmwareMode() && !fan->isBoosted(); }, 5s))
        << rig.helperLog().toStdString();
}

TEST_F(FanControllerLive, ASafetyReleaseIsNotFoughtOverAndARestartedHelperIsFollowed)
{
    ASSERT_TRUE(waitUntil([&] { return fan->cpuTemp().has_value(); }, 5s));
    fan->setCoolingProfile(quillon::core::CoolingProfile::Kind::max);
    fan->setFansEnabled(true);
    ASSERT_TRUE(waitUntil([&] { return rig.mode(0) == 1; }, 5s)) << rig.helperLog().toStdString();

    // Every temperature read fails: the helper lets go, and the app must not
    // ask again and again while the fault lasts.
    ASSERT_EQ(rig.smc.writeU8("QFLT", quillon::smc::SimulatedMac::temperatureReadsFail), 0u);
    ASSERT_TRUE(waitUntil([&] { return fan->safetyHold() == "no-readings"; }, 5s)) << rig.helperLog().toStdString();
    const auto startsSoFar = rig.helperLog().count("Quillon daemon: loop started");
    waitUntil([] { return false; }, 3s);
    EXPECT_EQ(rig.helperLog().count("Quillon daemon: loop started"), startsSoFar);
    EXPECT_TRUE(rig.allFansInFirmwareMode());

    // The user asks again once the sensors are back; then the helper dies,
    // which the app shows, and comes back, and the app follows it unasked.
    ASSERT_EQ(rig.smc.writeU8("QFLT", 0), 0u);
    fan->setCoolingProfile(quillon::core::CoolingProfile::Kind::max);
    ASSERT_TRUE(waitUntil([&] { return rig.mode(0) == 1; }, 5s)) << rig.helperLog().toStdString();
    rig.helper.signal(SIGKILL);
    rig.helper.waitForExit(5s);
    ASSERT_TRUE(waitUntil([&] { return !link->isOpen(); }, 5s));
    EXPECT_EQ(fan->statusMessage(), "Helper-Verbindung verloren");
    ASSERT_TRUE(rig.startHelper()) << "its start-up hands the fans back";
    EXPECT_TRUE(waitUntil([&] { return link->isOpen() && rig.mode(0) == 1 && fan->isBoosted(); }, 5s))
        << rig.helperLog().toStdString();
    EXPECT_EQ(fan->statusMessage(), "");
}

// Also: the bus itself going away closes the connection, which the app
// shows, and asking again later finds nothing to dial.
TEST_F(FanControllerLive, AHelperTooSlowToAnswerIsWaitedForNotDroppedAndALostBusIsShown)
{
    connectFan(300);
    // The panel is open: the poll runs every second.
    fan->setLiveView("panel", true);
    ASSERT_TRUE(waitUntil([&] { return fan->cpuTemp().has_value(); }, 5s));
    rig.helper.signal(SIGSTOP);
    EXPECT_TRUE(waitUntil([&] { return !fan->statusMessage().isEmpty(); }, 3s));
    EXPECT_EQ(fan->statusMessage(), "Helper antwortet langsam — warte weiter");
    EXPECT_TRUE(link->isOpen());
    rig.helper.signal(SIGCONT);
    EXPECT_TRUE(waitUntil([&] { return fan->statusMessage().isEmpty(); }, 4s)) << "polling went on by itself";

    rig.bus.kill();
    EXPECT_TRUE(waitUntil([&] { return !link->isOpen(); }, 3s));
    EXPECT_EQ(fan->statusMessage(), "Helper-Verbindung verloren");
    link->connectIfNeeded();
    EXPECT_FALSE(link->isOpen());
    EXPECT_FALSE(link->helperAvailable());
}

} // namespace
