#pragma once

#include <array>
#include <cstddef>

namespace quillon::daemon {

// The last few hottest-sensor readings and their median, which is what the
// control loop acts on: one wild sample (a spike, a sensor glitch) moves
// nothing; a real change shows once it makes up half the window. Fixed
// storage, no heap.
class SafetyTempHistory {
public:
    static constexpr std::size_t kWindow = 5;

    // Adds a reading (°C), dropping the oldest beyond kWindow, and returns the
    // median of what is kept: the middle element in sorted order, the upper
    // of the two middle ones when the count is even.
    double add(double celsius);

    void clear() { m_count = 0; }
    std::size_t size() const { return m_count; }

private:
    std::array<double, kWindow> m_samples{}; // oldest first
    std::size_t m_count = 0;
};

} // namespace quillon::daemon
