#pragma once

#include "TickTimer.h"

#include <QTimer>
#include <chrono>
#include <functional>
#include <utility>

namespace quillon::daemon {

// A TickTimer on the calling thread's Qt event loop, precise (no timer
// coalescing), calling handler on every tick. It keeps the worst lateness of
// a tick against its schedule, so the daemon can tell when its loop was held
// up (by a backlog of bus calls, a slow SMC).
class QtTickTimer : public TickTimer {
public:
    QtTickTimer();

    void setHandler(std::function<void()> handler) { m_handler = std::move(handler); }

    void start(std::chrono::milliseconds first, std::chrono::milliseconds interval) override;
    void stop() override;
    bool running() const override { return m_timer.isActive(); }

    // The latest any tick came since the last call, then starts over.
    std::chrono::milliseconds takeWorstLateness() { return std::exchange(m_worstLateness, {}); }

private:
    void fire();

    QTimer m_timer;
    std::chrono::milliseconds m_interval{0};
    std::function<void()> m_handler;
    std::chrono::steady_clock::time_point m_due;
    std::chrono::milliseconds m_worstLateness{0};
};

} // namespace quillon::daemon
