#include "ReleaseRetry.h"

#include <algorithm>

namespace quillon::daemon {

ReleaseRetry::ReleaseRetry(std::chrono::milliseconds first, std::chrono::milliseconds ceiling)
    : m_first(first)
    , m_ceiling(ceiling)
{
}

bool ReleaseRetry::begin(std::chrono::nanoseconds now)
{
    if (m_pending)
        return false;
    m_pending = true;
    m_since = now;
    m_retries = 0;
    m_backoff = m_first;
    m_nextAt = now + m_backoff;
    return true;
}

bool ReleaseRetry::due(std::chrono::nanoseconds now)
{
    if (now < m_nextAt)
        return false;
    ++m_retries;
    return true;
}

void ReleaseRetry::failed(std::chrono::nanoseconds now)
{
    m_backoff = std::min(m_backoff * 2, m_ceiling);
    m_nextAt = now + m_backoff;
}

double ReleaseRetry::pendingSeconds(std::chrono::nanoseconds now) const
{
    return std::chrono::duration<double>(now - m_since).count();
}

} // namespace quillon::daemon
