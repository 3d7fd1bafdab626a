#include "app/GridTimer.h"

#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

using quillon::app::GridTimer;
using namespace std::chrono_literals;

namespace {

std::chrono::milliseconds monotonicNow()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

TEST(GridTimer, WaitsEndOnWholeMultiplesOfTheIntervalThatDivideIntoOneAnother)
{
    EXPECT_EQ(GridTimer::untilNext(12'345ms, 5s), 2'655ms);
    EXPECT_EQ(GridTimer::untilNext(15'000ms, 5s), 5s) << "a timeout on the point waits a whole interval";
    EXPECT_EQ(GridTimer::untilNext(14'999ms, 5s), 1ms);
    for (const auto now : {0ms, 999ms, 4'321ms, 86'400'017ms}) {
        EXPECT_EQ((now + GridTimer::untilNext(now, 5s)) % 1s, 0ms) << now.count();
        EXPECT_EQ((now + GridTimer::untilNext(now, 30s)) % 5s, 0ms) << now.count();
        EXPECT_LE(GridTimer::untilNext(now, 1s), 1s) << "a fast poll never waits longer than its interval";
        EXPECT_GT(GridTimer::untilNext(now, 1s), 0ms);
    }
}

// Two timers started a third of a second apart fire in the same pass of the
// event loop; plain QTimers would wake the app twice.
TEST(GridTimer, TimersStartedApartFireTogetherAndStayOnTheGrid)
{
    GridTimer first(1000);
    GridTimer second(1000);
    std::vector<std::chrono::milliseconds> firstAt;
    std::vector<std::chrono::milliseconds> secondAt;
    QObject::connect(&first, &GridTimer::timeout, [&] { firstAt.push_back(monotonicNow()); });
    QObject::connect(&second, &GridTimer::timeout, [&] {
        secondAt.push_back(monotonicNow());
        second.stop(); // a receiver may stop it
    });
    QSignalSpy secondFired(&second, &GridTimer::timeout);
    // Started early in a second, so the two share their next point.
    while (monotonicNow() % 1s > 500ms)
        QTest::qWait(50);
    first.start();
    QTest::qWait(300);
    second.start();
    ASSERT_TRUE(secondFired.wait(2500));
    ASSERT_FALSE(firstAt.empty());
    const auto nearest = std::min_element(firstAt.begin(), firstAt.end(), [&](auto a, auto b) {
        return std::chrono::abs(a - secondAt[0]) < std::chrono::abs(b - secondAt[0]);
    });
    EXPECT_LT(std::chrono::abs(*nearest - secondAt[0]), 20ms) << "woken apart";
    for (const auto at : firstAt)
        EXPECT_LT(at % 1s, 200ms) << "not on the whole second";
    EXPECT_FALSE(second.isActive());
    EXPECT_TRUE(first.isActive());

    first.setInterval(2000);
    EXPECT_EQ(first.interval(), 2000);
    EXPECT_TRUE(first.isActive()) << "a new interval re-arms a running timer";
    first.stop();
    EXPECT_FALSE(first.isActive());
}

} // namespace
