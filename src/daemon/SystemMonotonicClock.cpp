#include "SystemMonotonicClock.h"

#include <cerrno>
#include <ctime>

namespace quillon::daemon {

std::chrono::nanoseconds SystemMonotonicClock::now() const
{
    timespec ts{};
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return std::chrono::seconds(ts.tv_sec) + std::chrono::nanoseconds(ts.tv_nsec);
}

void SystemMonotonicClock::sleepFor(std::chrono::milliseconds duration)
{
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(duration);
    timespec remaining{static_cast<time_t>(ns.count() / 1'000'000'000), static_cast<long>(ns.count() % 1'000'000'000)};
    // A signal arriving mid-pause must not cut a release attempt short.
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &remaining, &remaining) == EINTR) { }
}

} // namespace quillon::daemon
