#pragma once

#include "MonotonicClock.h"

namespace quillon::daemon {

// CLOCK_MONOTONIC: steady, and stopped while the machine is suspended.
class SystemMonotonicClock : public MonotonicClock {
public:
    std::chrono::nanoseconds now() const override;
    void sleepFor(std::chrono::milliseconds duration) override;
};

} // namespace quillon::daemon
