// The app's open-file limit is raised at start, within what the kernel allows.
#include "platform/linux/OpenFileLimit.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/resource.h>

using quillon::platform::linux_::OpenFileLimit;

namespace {

rlimit current()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    return limit;
}

TEST(OpenFileLimit, RaisesTheSoftLimitUpToTheHardOneAndNeverLowersIt)
{
    const rlimit before = current();
    const bool unlimited = before.rlim_max == RLIM_INFINITY;
    const long hard = unlimited ? 1L << 30 : static_cast<long>(before.rlim_max);
    rlimit low = before;
    low.rlim_cur = std::min<rlim_t>(256, before.rlim_max);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);

    const long raised = std::min(512L, hard);
    EXPECT_EQ(OpenFileLimit::raise(512), raised);
    EXPECT_EQ(static_cast<long>(current().rlim_cur), raised);
    EXPECT_EQ(OpenFileLimit::raise(100), raised) << "never lowered";
    if (!unlimited) {
        EXPECT_EQ(OpenFileLimit::raise(hard + 1000), hard) << "never beyond the hard limit";
    }
    EXPECT_EQ(current().rlim_max, before.rlim_max);

    setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace
