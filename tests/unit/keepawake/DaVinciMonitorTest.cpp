// The render-queue follower's rules for one poll's result: what counts as
// reachable, and a finish seen exactly once per running-to-stopped change,
// even across failed polls, and never after a stop; and its polling.
#include "app/automation/DaVinciMonitor.h"

#include "support/QStringPrinter.h"

#include <QJsonObject>
#include <gtest/gtest.h>

using quillon::app::DaVinciMonitor;

namespace {

QJsonObject rendering(bool on, int percent = 0)
{
    return {{"ok", true}, {"rendering", on}, {"percent", percent}, {"index", on ? 1 : 0}, {"total", 2},
        {"project", "Trailer"}};
}

class DaVinciMonitorTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        monitor.onRenderFinished = [this] {
            ++finishes;
        };
    }
    DaVinciMonitor monitor{"/nonexistent/python3"};
    int finishes = 0;
};

TEST_F(DaVinciMonitorTest, AFinishIsReportedOncePerRenderThatStops)
{
    monitor.apply(rendering(true, 40));
    EXPECT_TRUE(monitor.available());
    monitor.apply(rendering(false));
    EXPECT_TRUE(monitor.justFinished());
    monitor.apply(rendering(false));
    monitor.apply(rendering(false));
    EXPECT_EQ(finishes, 1);
    EXPECT_TRUE(monitor.justFinished()) << "stays up until the next render starts";

    monitor.apply(rendering(true));
    EXPECT_FALSE(monitor.justFinished());
    monitor.apply(rendering(false));
    EXPECT_EQ(finishes, 2);
}

TEST_F(DaVinciMonitorTest, AFailedPollIsNotAFinishAndDoesNotHideOne)
{
    monitor.apply(rendering(true, 70));
    for (const auto& failure : {std::optional<QJsonObject>{}, std::optional(QJsonObject{{"ok", false}}),
             std::optional(QJsonObject{{"ok", "true"}}), std::optional(QJsonObject{})}) {
        monitor.apply(failure);
        EXPECT_FALSE(monitor.available());
        EXPECT_FALSE(monitor.rendering());
        EXPECT_EQ(monitor.percent(), 0);
    }
    EXPECT_EQ(finishes, 0);
    EXPECT_EQ(monitor.jobIndex(), 1) << "kept through failures";
    EXPECT_EQ(monitor.jobTotal(), 2);
    EXPECT_EQ(monitor.project(), "Trailer");
    monitor.apply(rendering(false));
    EXPECT_EQ(finishes, 1);
}

// From start() to stop() it polls every 3 s, each poll failing without an
// interpreter; a stop during a render forgets it.
TEST_F(DaVinciMonitorTest, PollsEveryThreeSecondsUntilAStopThatForgetsTheRender)
{
    monitor.apply(rendering(true));
    monitor.poll();
    EXPECT_FALSE(monitor.available());
    EXPECT_EQ(finishes, 0);

    monitor.start();
    EXPECT_TRUE(monitor.running());
    EXPECT_EQ(monitor.pollTimer().interval(), 3000);
    monitor.apply(rendering(true));
    monitor.stop();
    EXPECT_FALSE(monitor.running());
    EXPECT_FALSE(monitor.available());
    EXPECT_EQ(monitor.jobTotal(), 0);
    EXPECT_EQ(monitor.project(), "Trailer") << "the last project outlives a stop";
    monitor.apply(rendering(false));
    EXPECT_EQ(finishes, 0);
    EXPECT_FALSE(monitor.justFinished());
}

// Resolve's answers are outside input: numbers shown only as far as they can
// be true, a name fit for one line, and values of the wrong type as defaults.
TEST_F(DaVinciMonitorTest, ResolvesNumbersAreClampedItsNamesCutAndWrongTypesIgnored)
{
    const struct {
        int percent, index, total;
        int shownPercent, shownIndex, shownTotal;
    } rows[] = {
        {150, 7, -3, 100, 0, 0},
        {-50, 2, 3, 0, 2, 3},
        {42, 9, 3, 42, 3, 3},
        {42, -1, 2000000000, 42, 0, DaVinciMonitor::maxJobs},
    };
    for (const auto& row : rows) {
        monitor.apply(QJsonObject{
            {"ok", true}, {"rendering", true}, {"percent", row.percent}, {"index", row.index}, {"total", row.total}});
        EXPECT_EQ(monitor.percent(), row.shownPercent) << row.percent;
        EXPECT_EQ(monitor.jobIndex(), row.shownIndex) << row.index;
        EXPECT_EQ(monitor.jobTotal(), row.shownTotal) << row.total;
    }
    monitor.apply(QJsonObject{{"ok", true}, {"percent", 1e300}, {"project", "Final\ncut\u2028" + QString(500, 'x')}});
    EXPECT_EQ(monitor.percent(), 100);
    EXPECT_EQ(monitor.project().size(), DaVinciMonitor::maxProjectChars);
    EXPECT_TRUE(monitor.project().startsWith("Final cut xxx")) << monitor.project().toStdString();
    EXPECT_TRUE(monitor.project().endsWith(QChar(0x2026)));

    monitor.apply(QJsonObject{{"ok", true}, {"rendering", "yes"}, {"percent", "50"}, {"index", QJsonValue()},
        {"total", 3.7}, {"project", 12}});
    EXPECT_TRUE(monitor.available());
    EXPECT_FALSE(monitor.rendering());
    EXPECT_EQ(monitor.percent(), 0);
    EXPECT_EQ(monitor.jobIndex(), 0);
    EXPECT_EQ(monitor.project(), "");
}

// The end of a render is read from its job's status, once Resolve has moved
// it on from "Rendering"; a failed poll in between changes nothing.
TEST_F(DaVinciMonitorTest, ARenderEndsWithItsJobsStatus)
{
    using Outcome = DaVinciMonitor::Outcome;
    const auto poll = [&](bool on, const char* watched) {
        monitor.apply(QJsonObject{{"ok", true}, {"rendering", on}, {"job", on ? "b" : ""}, {"watched", watched}});
    };
    poll(true, "");
    poll(false, "Rendering");
    EXPECT_EQ(finishes, 0) << "the job has not ended yet";
    EXPECT_TRUE(monitor.rendering());
    monitor.apply(std::nullopt);
    poll(false, "Cancelled");
    EXPECT_EQ(finishes, 1);
    EXPECT_EQ(monitor.outcome(), Outcome::cancelled);

    // The other endings are Render Mode's test's; a status that is none ends it as stopped.
    poll(true, "");
    poll(false, "Queued");
    EXPECT_EQ(monitor.outcome(), Outcome::stopped);
    monitor.stop();
    EXPECT_EQ(monitor.outcome(), Outcome::none);
}

} // namespace
