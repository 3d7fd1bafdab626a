#pragma once

#include <chrono>

namespace quillon::daemon {

// When to try again a hand-back the firmware has not confirmed: first one
// interval after it began, then each wait twice the last, up to a ceiling;
// never given up. Times are the helper's monotonic clock.
class ReleaseRetry {
public:
    ReleaseRetry(std::chrono::milliseconds first, std::chrono::milliseconds ceiling);

    bool pending() const { return m_pending; }
    // Starts retrying at now; false when already retrying (the back-off
    // stays where it is).
    bool begin(std::chrono::nanoseconds now);
    void end() { m_pending = false; }
    // Whether an attempt is due at now; a due attempt is counted.
    bool due(std::chrono::nanoseconds now);
    // The attempt failed: the next waits longer.
    void failed(std::chrono::nanoseconds now);

    int retries() const { return m_retries; }
    double pendingSeconds(std::chrono::nanoseconds now) const;

private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_ceiling;
    bool m_pending = false;
    std::chrono::nanoseconds m_since{0};
    std::chrono::nanoseconds m_nextAt{0};
    std::chrono::milliseconds m_backoff{0};
    int m_retries = 0;
};

} // namespace quillon::daemon
