// Render Mode: what it switches on and puts back, the peaks and throttling
// episodes it samples, its closing report and its finish.
#include "app/automation/RenderModeManager.h"

#include "support/KeepAwakeRig.h"
#include "support/QStringPrinter.h"

#include <QJsonObject>
#include <cmath>
#include <limits>
#include <tuple>

using namespace quillon::test;
using quillon::app::RenderModeManager;
using Level = quillon::platform::ThermalPressure::Level;

namespace {

class RenderModeManagerTest : public KeepAwakeRig {
protected:
    RenderModeManager& render() { return *manager->renderMode(); }
    // The helper reports these readings; one poll fetches them.
    void helperReports(const QVariantMap& status)
    {
        link.status = status;
        manager->fan()->refresh();
        link.deliver();
    }
    QString lastBody() const { return center.shown.isEmpty() ? QString() : center.shown.last().body; }
};

TEST_F(RenderModeManagerTest, OnHoldsItsPartsAndOffPutsBackWhatItFound)
{
    manager->drives()->setEnabled(false);
    supply->battery(57, false);
    render().setEnabled(true);
    link.deliver();
    EXPECT_EQ(render().powerStatus().kind, quillon::app::RenderPowerStatus::Case::onBattery) << "read at once";
    EXPECT_EQ(render().powerStatus().percent, 57);
    EXPECT_EQ(render().sampleTimer().interval(), 1000);
    render().davinci()->apply(QJsonObject{{"ok", true}, {"rendering", true}});
    EXPECT_TRUE(render().assertions().isHeld(Kind::system));
    EXPECT_TRUE(render().assertions().isHeld(Kind::network));
    EXPECT_FALSE(render().assertions().isHeld(Kind::display)) << "the screen may sleep under the overlay";
    EXPECT_TRUE(manager->drives()->enabled());
    EXPECT_TRUE(manager->lid()->enabled());
    EXPECT_EQ(manager->fan()->triggerProfile(), quillon::core::CoolingProfile::Kind::balanced);
    EXPECT_TRUE(manager->anythingActive());

    render().setEnabled(false);
    EXPECT_FALSE(render().monitor().available()) << "DaVinci Resolve is no longer followed";
    EXPECT_FALSE(render().monitor().rendering());
    EXPECT_FALSE(manager->lid()->enabled());
    EXPECT_FALSE(manager->drives()->enabled());
    EXPECT_FALSE(manager->fan()->triggerProfile().has_value());
    EXPECT_EQ(liveAssertions(), 0);

    manager->drives()->setEnabled(true); // already on before: left on after
    manager->lid()->setEnabled(true);
    render().setEnabled(true);
    render().setEnabled(false);
    EXPECT_TRUE(manager->lid()->enabled());
    EXPECT_TRUE(manager->drives()->enabled());
}

TEST_F(RenderModeManagerTest, WithoutTheHelperTheLidAndCoolingAreLeftAlone)
{
    link.available = false;
    SetUp();
    render().setEnabled(true);
    EXPECT_FALSE(manager->lid()->enabled());
    EXPECT_FALSE(manager->fan()->triggerProfile().has_value());
    manager->lid()->setEnabled(true); // the user's own choice meanwhile
    render().setEnabled(false);
    EXPECT_TRUE(manager->lid()->enabled());
}

// The peaks come from the smoothed readings, so a single GPU spike is none,
// and the report rounds them.
TEST_F(RenderModeManagerTest, PeaksAndThrottlingEpisodesMakeTheReport)
{
    render().setEnabled(true);
    for (const double gpu : {59.5, 59.5, 95.0}) { // a single GPU spike is no peak
        helperReports({{"cpuTemp", 71.6}, {"gpuTemp", gpu},
            {"fans",
                QVariantList{QVariantMap{{"index", 0}, {"currentRPM", 3400}, {"minRPM", 1200}, {"maxRPM", 5700}},
                    QVariantMap{{"index", 1}, {"currentRPM", 3900}, {"minRPM", 1200}, {"maxRPM", 6200}}}}});
        render().sample();
    }
    thermal.set(Level::serious);
    for (int i = 0; i < 30; ++i)
        render().sample();
    EXPECT_EQ(render().throttleCount(), 1) << "one long episode";
    thermal.set(Level::fair);
    render().sample();
    thermal.set(Level::critical);
    render().sample();
    EXPECT_EQ(render().throttleCount(), 2);

    clock.advance(3599);
    render().setEnabled(false);
    EXPECT_EQ(center.titles().last(), "🎬 Render Mode ended");
    EXPECT_EQ(lastBody(), "Ran 59m 59s · peak CPU 72° / GPU 60° · fans max 3900 rpm · throttling 2×");
    EXPECT_EQ(render().throttleCount(), 2) << "the session's figures outlive it";
}

// Without a single reading there is nothing to report but that: no 0°, no
// verdict that the Mac stayed cool.
TEST_F(RenderModeManagerTest, ASessionWithoutReadingsReportsDashesAndNoVerdict)
{
    render().setEnabled(true);
    render().sample();
    clock.advance(65);
    render().setEnabled(false);
    EXPECT_EQ(lastBody(), "Ran 1m 05s · peak CPU — / GPU — · fans max — · throttling never");
    EXPECT_EQ(render().doneSummary(), "Peak CPU — / GPU —");

    render().setEnabled(true);
    helperReports({{"cpuTemp", 71.4}});
    render().sample();
    EXPECT_EQ(render().doneSummary(), "Your Mac stayed cool · peak CPU 71° / GPU —");
}

QJsonObject renderingJob(bool on, const char* watched = "")
{
    return {{"ok", true}, {"rendering", on}, {"job", on ? "b" : ""}, {"watched", watched}};
}

// Only a job Resolve calls complete is a finished render with its chime;
// cancelled and failed ones say what happened, and so does one that vanished.
TEST_F(RenderModeManagerTest, ARenderEndsAsItsJobSays)
{
    render().setEnabled(true);
    const std::tuple<const char*, const char*, int> rows[] = {
        {"Complete", "🎬 Render finished", 1},
        {"Cancelled", "🎬 Render cancelled", 0},
        {"Failed", "🎬 Render failed", 0},
        {"", "🎬 Render stopped", 0},
    };
    for (const auto& [status, title, chimes] : rows) {
        sound.played = 0;
        render().davinci()->apply(renderingJob(true));
        render().davinci()->apply(renderingJob(false, status));
        EXPECT_EQ(sound.played, chimes) << status;
        EXPECT_EQ(center.titles().last(), title) << status;
    }
    EXPECT_TRUE(render().enabled());

    // Reset-all switches it off with the rest.
    manager->resetAll();
    EXPECT_FALSE(render().enabled());
    EXPECT_EQ(center.titles().last(), "🎬 Render Mode ended");
    EXPECT_TRUE(lastBody().endsWith("throttling never")) << lastBody().toStdString();
}

TEST(RenderModeTexts, ElapsedTimesAndTheDoneSummary)
{
    const std::pair<double, const char*> rows[] = {{0, "0m 00s"}, {65.9, "1m 05s"}, {3599, "59m 59s"}, {3600, "1h 00m"},
        {7380, "2h 03m"}, {-5, "0m 00s"}, {std::numeric_limits<double>::quiet_NaN(), "0m 00s"}};
    for (const auto& [seconds, text] : rows)
        EXPECT_EQ(RenderModeManager::durationString(seconds), text) << seconds;

    EXPECT_EQ(RenderModeManager::summaryOf(89.9, 64.2, 0), "Your Mac stayed cool · peak CPU 90° / GPU 64°");
    EXPECT_EQ(RenderModeManager::summaryOf(std::nullopt, std::nullopt, 2), "Your Mac ran warm · peak CPU — / GPU —");
    EXPECT_EQ(RenderModeManager::summaryOf(90.0, 64.2, 0), "Your Mac ran warm · peak CPU 90° / GPU 64°");
    EXPECT_EQ(RenderModeManager::summaryOf(50.0, 40.0, 1), "Your Mac ran warm · peak CPU 50° / GPU 40°");
}

} // namespace
