#pragma once

#include <chrono>

namespace quillon::daemon {

// The helper's sense of time: a clock that only moves forward and does not
// count time the machine spends suspended, so a resume never looks like a
// silent app. Tests substitute a clock they advance by hand.
class MonotonicClock {
public:
    virtual ~MonotonicClock() = default;

    // Time since an arbitrary fixed point.
    virtual std::chrono::nanoseconds now() const = 0;

    // Blocks the caller for the given time (the pause between release attempts).
    virtual void sleepFor(std::chrono::milliseconds duration) = 0;
};

} // namespace quillon::daemon
