// What the controller makes of the helper's status, its connection and its
// installation, and the alerts it raises.
#include "FanControllerTest.h"

#include "app/Translations.h"
#include "support/Files.h"

using namespace quillon::test;
using quillon::app::FanInfo;
using quillon::app::InstallResult;
using Level = quillon::platform::ThermalPressure::Level;

namespace {

class FanStatus : public FanControllerTest {
protected:
    void SetUp() override { create(); }
};

TEST_F(FanStatus, FansNeedEveryRequiredIntegerAndDefaultTheTarget)
{
    QVariantMap s = status(50);
    s.insert("fans", QVariantList{
                         QVariantMap{{"index", 0}, {"currentRPM", 1200}, {"minRPM", 1200}, {"maxRPM", 5700}},
                         QVariantMap{{"index", 1}, {"currentRPM", "fast"}, {"minRPM", 1300}, {"maxRPM", 6200}},
                         QVariantMap{{"index", 2}, {"currentRPM", 2000}, {"minRPM", 1300}, {"maxRPM", 6200},
                             {"targetRPM", 2400}},
                         QVariant("not a fan"),
                     });
    poll(s);
    const QList<FanInfo> expected{{0, 1200, 1200, 5700, 0}, {2, 2000, 1300, 6200, 2400}};
    EXPECT_EQ(fc->fans(), expected);

    // A status without fans, or with fans of the wrong type, leaves them alone.
    poll(status(50));
    s.insert("fans", "many");
    poll(s);
    EXPECT_EQ(fc->fans(), expected);
}

// Absent, wrongly typed and non-finite values are no readings: the CPU keeps
// its last one, the GPU's and the flags are cleared.
TEST_F(FanStatus, MissingOrInvalidReadingsKeepCpuButClearGpuAndFlags)
{
    QVariantMap full = status(60, 55);
    full.insert("thermalOverride", true);
    full.insert("effectivePercent", 70.0);
    poll(full);
    EXPECT_EQ(fc->gpuTemp(), 55.0);
    EXPECT_TRUE(fc->thermalOverride());
    EXPECT_EQ(fc->effectivePercent(), 70.0);

    QList<QVariantMap> noReadings{{}};
    for (const QVariant& bad : {QVariant("hot"), QVariant(qQNaN()), QVariant(qInf()), QVariant(true), QVariant()})
        noReadings.append({{"cpuTemp", bad}, {"gpuTemp", bad}, {"isBoosted", 1}, {"effectivePercent", "x"}});
    for (const QVariantMap& s : noReadings) {
        poll(s);
        EXPECT_EQ(fc->cpuTemp(), 60.0);
        EXPECT_EQ(fc->cpuTempSmoothed(), 60.0);
        EXPECT_EQ(fc->tempHistory().size(), 1);
        EXPECT_FALSE(fc->gpuTemp().has_value());
        EXPECT_EQ(fc->gpuTempSmoothed(), 55.0);
        EXPECT_EQ(fc->gpuHistory().size(), 1);
        EXPECT_FALSE(fc->thermalOverride());
        EXPECT_FALSE(fc->isBoosted());
        EXPECT_EQ(fc->effectivePercent(), 0.0);
    }
}

TEST_F(FanStatus, MediansRejectSpikesAverageAnEvenCountAndHistoriesKeepTheirLimits)
{
    pollTemps({40, 42});
    EXPECT_EQ(fc->cpuTempSmoothed(), 41.0);
    pollTemps({50, 50, 50, 90, 50, 50, 50, 50});
    EXPECT_EQ(fc->cpuTempSmoothed(), 50.0);
    EXPECT_EQ(fc->cpuTemp(), 50.0);
    poll(status(50, 30));
    poll(status(50, 95));
    poll(status(50, 31));
    EXPECT_EQ(fc->gpuTempSmoothed(), 31.0);

    for (int i = 1; i <= 91; ++i)
        poll(status(i));
    ASSERT_EQ(fc->tempHistory().size(), 15);
    EXPECT_EQ(fc->tempHistory().first(), 77.0);
    EXPECT_EQ(fc->tempHistory().last(), 91.0);
    ASSERT_EQ(fc->tempTrend().size(), 90);
    EXPECT_EQ(fc->tempTrend().last(), 84.0); // median of 77..91
}

TEST_F(FanStatus, SelfHealActsOnTheFifthMismatchingPollOnlyAndOnlyOnWhatTheAppDoesNotWant)
{
    for (int i = 0; i < 4; ++i)
        poll(status(50, qQNaN(), true));
    poll(status(50)); // matching: the count starts over
    for (int i = 0; i < 4; ++i)
        poll(status(50, qQNaN(), true));
    EXPECT_EQ(link.count("stopBoost"), 0);
    poll(status(50, qQNaN(), true));
    EXPECT_EQ(link.count("stopBoost"), 1);
    // The stop's reply refreshes the status at once, which counts as the next poll.
    for (int i = 0; i < 3; ++i)
        poll(status(50, qQNaN(), true));
    EXPECT_EQ(link.count("stopBoost"), 1);
    poll(status(50, qQNaN(), true));
    EXPECT_EQ(link.count("stopBoost"), 2);

    fc->setLidStayAwake(true);
    fc->requestCooling(Kind::max, "render");
    for (int i = 0; i < 6; ++i)
        poll(status(50, qQNaN(), true, true));
    EXPECT_EQ(link.count("setLidStayAwake 0"), 0) << "a wanted lid lock stays";
    EXPECT_EQ(link.count("stopBoost"), 2) << "fans the app wants stay";

    fc->setLidStayAwake(false);
    for (int i = 0; i < 5; ++i)
        poll(status(50, qQNaN(), true, true));
    EXPECT_EQ(link.count("setLidStayAwake 0"), 2); // ours, then self-heal's
    EXPECT_EQ(link.count("stopBoost"), 2);
}

TEST_F(FanStatus, HeatAlertsComeOncePerEpisodeWhileSwitchedOnAndHeard)
{
    thermal.set(Level::serious);
    thermal.set(Level::critical);
    thermal.set(Level::serious);
    EXPECT_EQ(center.titles(), QStringList{"⚠️ Mac is throttling"});
    EXPECT_EQ(fc->thermalState(), Level::serious);
    thermal.set(Level::fair);
    thermal.set(Level::critical);
    EXPECT_EQ(center.titles().size(), 2);
    thermal.set(Level::nominal);

    pollTemps({96});
    ASSERT_EQ(center.shown.size(), 3);
    EXPECT_EQ(center.shown[2].title, "🔥 CPU running very hot");
    EXPECT_EQ(center.shown[2].body, "The CPU is at 96 °C.");
    pollTemps({90, 90, 90, 96, 96, 96, 96});
    EXPECT_EQ(center.shown.size(), 3);
    for (int i = 0; i < 15; ++i)
        poll(status(87));
    pollTemps({96, 96, 96, 96, 96, 96, 96, 96});
    EXPECT_EQ(center.shown.size(), 4);

    settings.setFlag(quillon::app::Settings::Key::heatAlerts, false);
    thermal.set(Level::serious);
    for (int i = 0; i < 15; ++i)
        poll(status(87));
    pollTemps({99, 99, 99, 99, 99, 99, 99, 99});
    EXPECT_EQ(center.shown.size(), 4) << "alerts off";
    thermal.set(Level::nominal);
    center.present = false;
    settings.setFlag(quillon::app::Settings::Key::heatAlerts, true);
    thermal.set(Level::serious);
    EXPECT_EQ(center.shown.size(), 4) << "no notification service: silent";
}

TEST_F(FanStatus, LinkEventsBecomeStatusMessagesAndPollsNeverOpenAConnection)
{
    emit link.connectionInterrupted();
    EXPECT_EQ(fc->statusMessage(), "Helper unterbrochen — verbinde neu");
    emit link.requestFailed("No such method");
    EXPECT_EQ(fc->statusMessage(), "XPC-Fehler: No such method");
    emit link.connectionLost();
    EXPECT_EQ(fc->statusMessage(), "Helper-Verbindung verloren");

    link.invalidate();
    const QDateTime before = fc->now();
    poll(status(50));
    EXPECT_EQ(fc->now(), before) << "at rest a poll does not read the time";
    fc->setLiveView("panel", true);
    EXPECT_EQ(before.secsTo(fc->now()), 1) << "read as the poll turns fast";
    poll(status(50));
    EXPECT_EQ(before.secsTo(fc->now()), 2);
    EXPECT_FALSE(link.isOpen());
    EXPECT_TRUE(link.requests.isEmpty());
    EXPECT_FALSE(fc->cpuTemp().has_value());
    emit link.statusArrived(status(66)); // what a new connection brings
    EXPECT_EQ(fc->cpuTemp(), 66.0);
}

class FanInstall : public FanControllerTest { };

TEST_F(FanInstall, NothingIsSentWithoutAHelperAndResultsMapToTheirMessages)
{
    link.available = false;
    InstallResult next = InstallResult::cancelled();
    create([&next](auto done) { done(next); });
    EXPECT_FALSE(fc->helperInstalled());
    EXPECT_FALSE(link.isOpen());
    // Without a helper nothing is sent.
    fc->setFansEnabled(true);
    fc->requestCooling(Kind::max, "render");
    poll(status(90));
    EXPECT_FALSE(fc->fansEnabled());
    EXPECT_TRUE(link.requests.isEmpty());
    EXPECT_FALSE(fc->applyBoost(600, false));
    fc->requestCooling(std::nullopt, "render");

    fc->installHelper();
    EXPECT_EQ(fc->statusMessage(), "Installation abgebrochen");
    next = InstallResult::failed("polkit said no");
    fc->installHelper();
    EXPECT_EQ(fc->statusMessage(), "Fehler: polkit said no");
    EXPECT_FALSE(fc->helperInstalled());

    link.available = true;
    next = InstallResult::success();
    fc->installHelper();
    EXPECT_EQ(fc->statusMessage(), "Helper installiert");
    EXPECT_TRUE(fc->helperInstalled());
    EXPECT_FALSE(fc->helperNeedsUpdate());
    EXPECT_TRUE(link.isOpen());
}

TEST_F(FanInstall, NeedsUpdateIsByteIdentity)
{
    const auto write = [this](const QString& name, const QByteArray& bytes) {
        EXPECT_TRUE(writeFile(dir.path() + "/" + name, bytes));
        return dir.path() + "/" + name;
    };
    const QString bundled = write("bundled", "helper v2");
    create({}, bundled, write("same", "helper v2"));
    EXPECT_FALSE(fc->helperNeedsUpdate());
    create({}, bundled, write("older", "helper v1"));
    EXPECT_TRUE(fc->helperNeedsUpdate());
    create({}, bundled, dir.path() + "/missing");
    EXPECT_FALSE(fc->helperNeedsUpdate());
    link.available = false;
    create({}, bundled, dir.path() + "/older");
    EXPECT_FALSE(fc->helperNeedsUpdate()); // only asked of an installed helper
}

TEST_F(FanInstall, RefusedFloorSaysSoInTheInterfaceLanguage)
{
    create();
    link.floorsSucceed = false;
    fc->setCoolingMode(quillon::app::CoolingMode::manual);
    fc->setFansEnabled(true);
    link.deliver();
    EXPECT_FALSE(fc->isBoosted());
    EXPECT_EQ(fc->statusMessage(), "Couldn't set fans.");

    ASSERT_TRUE(quillon::app::Translations::apply(true));
    fc->setManualFloor(50);
    link.deliver();
    EXPECT_EQ(fc->statusMessage(), "Lüfter konnte nicht gesetzt werden.");
    quillon::app::Translations::apply(false);
}

} // namespace
