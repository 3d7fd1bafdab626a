#include "SafetyTempHistory.h"

#include <algorithm>
#include <utility>

namespace quillon::daemon {

double SafetyTempHistory::add(double celsius)
{
    if (m_count == kWindow) {
        std::move(m_samples.begin() + 1, m_samples.end(), m_samples.begin());
        --m_count;
    }
    m_samples[m_count++] = celsius;

    // Five values at most: an insertion sort of a copy.
    std::array<double, kWindow> sorted = m_samples;
    for (std::size_t i = 1; i < m_count; ++i) {
        for (std::size_t j = i; j > 0 && sorted[j - 1] > sorted[j]; --j)
            std::swap(sorted[j - 1], sorted[j]);
    }
    return sorted[m_count / 2];
}

} // namespace quillon::daemon
