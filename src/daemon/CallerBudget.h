#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

namespace quillon::daemon {

// How many requests each caller may make, as a token bucket per bus name:
// kBurst at once, then kPerSecond. The helper applies it to callers whose
// requests do not count as the app's (strangers), so that no flood from
// another account can crowd out the app's poll or the control loop. The
// kTracked callers seen last are remembered; a caller that drops out starts
// again with a full bucket, which only matters to a flood that spreads over
// more than kTracked connections at once. Fixed storage.
class CallerBudget {
public:
    static constexpr int kBurst = 20;
    static constexpr double kPerSecond = 10.0;
    static constexpr std::size_t kTracked = 64;

    // Takes one request from caller's bucket at time now; false when it is
    // empty (the request should be turned away).
    bool spend(const std::string& caller, std::chrono::nanoseconds now);

private:
    struct Bucket {
        std::string caller;
        double tokens = 0;
        std::chrono::nanoseconds at{0};
    };
    Bucket& bucketOf(const std::string& caller, std::chrono::nanoseconds now);

    std::array<Bucket, kTracked> m_buckets;
};

} // namespace quillon::daemon
