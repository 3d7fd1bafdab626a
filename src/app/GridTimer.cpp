#include "GridTimer.h"

#include <algorithm>

namespace quillon::app {

GridTimer::GridTimer(int intervalMs, QObject* parent)
    : QObject(parent)
    , m_intervalMs(std::max(intervalMs, 1))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::CoarseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        arm(); // first, so a receiver may stop it
        emit timeout();
    });
}

std::chrono::milliseconds GridTimer::untilNext(std::chrono::milliseconds now, std::chrono::milliseconds interval)
{
    return (now / interval + 1) * interval - now;
}

void GridTimer::setInterval(int ms)
{
    m_intervalMs = std::max(ms, 1);
    if (m_timer.isActive())
        arm();
}

void GridTimer::start()
{
    arm();
}

void GridTimer::arm()
{
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
    // Rounded down, so the wait ends on the grid point or a fraction of a
    // millisecond after it, never before, and Qt rounds it onto the point.
    // (A wait of 20 ms or less Qt keeps precise: then this one wake-up may
    // come a moment apart from the others.)
    m_timer.start(untilNext(now, std::chrono::milliseconds(m_intervalMs)));
}

} // namespace quillon::app
