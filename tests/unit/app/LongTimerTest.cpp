#include "app/LongTimer.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using quillon::app::LongTimer;
using namespace std::chrono_literals;

namespace {

TEST(LongTimer, SpansBeyondQtsLimitRunTheirFullLengthInChunks)
{
    // 30 days: more than a QTimer's int of milliseconds holds.
    LongTimer month;
    QSignalSpy monthFired(&month, &LongTimer::fired);
    month.start(std::chrono::hours(24 * 30));
    EXPECT_FALSE(monthFired.wait(50)) << "an overflowing interval would end at once";
    EXPECT_TRUE(month.isActive());
    EXPECT_GT(month.remaining(), std::chrono::hours(24 * 30) - 1s);

    // The same mechanism at a scale a test can wait for: 5 chunks of 20 ms.
    LongTimer chunked(20ms);
    QSignalSpy fired(&chunked, &LongTimer::fired);
    chunked.start(100ms);
    EXPECT_FALSE(fired.wait(60)) << "not after the first chunk";
    EXPECT_TRUE(fired.wait(500));
    EXPECT_EQ(fired.count(), 1);
    EXPECT_FALSE(chunked.isActive());
    EXPECT_EQ(chunked.remaining(), 0ms);

    chunked.start(-5s);
    EXPECT_TRUE(fired.wait(200)) << "a span already past ends at once";
    chunked.start(30ms);
    chunked.stop();
    EXPECT_FALSE(fired.wait(100));
}

} // namespace
