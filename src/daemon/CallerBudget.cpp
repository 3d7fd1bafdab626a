#include "CallerBudget.h"

#include <algorithm>

namespace quillon::daemon {

CallerBudget::Bucket& CallerBudget::bucketOf(const std::string& caller, std::chrono::nanoseconds now)
{
    auto found = std::find_if(m_buckets.begin(), m_buckets.end(), [&](const Bucket& b) { return b.caller == caller; });
    if (found != m_buckets.end())
        return *found;
    // The least recently used bucket makes room.
    Bucket& oldest = *std::min_element(
        m_buckets.begin(), m_buckets.end(), [](const Bucket& a, const Bucket& b) { return a.at < b.at; });
    oldest = {caller, static_cast<double>(kBurst), now};
    return oldest;
}

bool CallerBudget::spend(const std::string& caller, std::chrono::nanoseconds now)
{
    Bucket& bucket = bucketOf(caller, now);
    const double elapsed = std::chrono::duration<double>(now - bucket.at).count();
    bucket.tokens = std::min(static_cast<double>(kBurst), bucket.tokens + std::max(0.0, elapsed) * kPerSecond);
    bucket.at = now;
    if (bucket.tokens < 1.0)
        return false;
    bucket.tokens -= 1.0;
    return true;
}

} // namespace quillon::daemon
