#include "QtTickTimer.h"

#include <algorithm>

namespace quillon::daemon {

QtTickTimer::QtTickTimer()
{
    m_timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&m_timer, &QTimer::timeout, [this] { fire(); });
}

void QtTickTimer::start(std::chrono::milliseconds first, std::chrono::milliseconds interval)
{
    m_interval = interval;
    m_due = std::chrono::steady_clock::now() + first;
    m_timer.start(first);
}

void QtTickTimer::stop()
{
    m_timer.stop();
}

void QtTickTimer::fire()
{
    const auto now = std::chrono::steady_clock::now();
    m_worstLateness = std::max(m_worstLateness, std::chrono::duration_cast<std::chrono::milliseconds>(now - m_due));
    m_due = now + m_interval;
    // Switch from the first delay to the interval before the handler runs,
    // so a handler that stops the timer is not undone afterwards.
    if (m_timer.intervalAsDuration() != m_interval)
        m_timer.setInterval(m_interval);
    if (m_handler)
        m_handler();
}

} // namespace quillon::daemon
