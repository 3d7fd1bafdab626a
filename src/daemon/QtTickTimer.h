#pragma once

#include "TickTimer.h"

#include <QTimer>
#include <functional>

namespace quillon::daemon {

// A TickTimer on the calling thread's Qt event loop, precise (no timer
// coalescing), calling handler on every tick.
class QtTickTimer : public TickTimer {
public:
    QtTickTimer();

    void setHandler(std::function<void()> handler) { m_handler = std::move(handler); }

    void start(std::chrono::milliseconds first, std::chrono::milliseconds interval) override;
    void stop() override;
    bool running() const override { return m_timer.isActive(); }

private:
    void fire();

    QTimer m_timer;
    std::chrono::milliseconds m_interval{0};
    std::function<void()> m_handler;
};

} // namespace quillon::daemon
