#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>

namespace quillon::app {

// A repeating timer whose timeouts fall on whole multiples of its interval
// on the monotonic clock. Timers whose intervals divide one another (the
// 1 s and 5 s helper poll, the 5 s automation round, the 30 s battery check)
// so come due at the same instants, and an app at rest wakes once for all
// of them instead of once for each. Every timeout arms a one-shot coarse
// QTimer for the next grid point (Qt keeps coarse timeouts on whole seconds
// of the same clock, so two timers due there fire in one pass of the event
// loop); a late wake-up or a suspend never shifts the phase. The first
// timeout after start() comes within one interval, so a poll made fast for
// the helper's watchdog is never late. Main thread only.
class GridTimer : public QObject {
    Q_OBJECT
public:
    // intervalMs: whole seconds work best (Qt's coarse timers round to them).
    explicit GridTimer(int intervalMs, QObject* parent = nullptr);

    // While running, re-armed at once for the new interval's next grid point.
    void setInterval(int ms);
    int interval() const { return m_intervalMs; }
    void start();
    void stop() { m_timer.stop(); }
    bool isActive() const { return m_timer.isActive(); }

    // The wait from now (monotonic) to the next multiple of interval after it.
    static std::chrono::milliseconds untilNext(std::chrono::milliseconds now, std::chrono::milliseconds interval);

signals:
    void timeout();

private:
    void arm();

    QTimer m_timer;
    int m_intervalMs;
};

} // namespace quillon::app
