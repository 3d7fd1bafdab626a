#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>

namespace quillon::app {

// A one-shot timer for any span, also weeks: QTimer takes at most INT_MAX ms
// (24.8 days), so longer spans are waited out in chunks of at most `chunk`,
// each re-armed against a monotonic deadline. fired() comes once, at the end.
// Main thread only.
class LongTimer : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds kDefaultChunk = std::chrono::hours(24);

    explicit LongTimer(std::chrono::milliseconds chunk = kDefaultChunk, QObject* parent = nullptr);

    // (Re)starts for span (negative counts as 0).
    void start(std::chrono::milliseconds span);
    void stop();
    bool isActive() const { return m_timer.isActive(); }
    // Time left until fired(), 0 when not running.
    std::chrono::milliseconds remaining() const;

signals:
    void fired();

private:
    void armNextChunk();

    QTimer m_timer;
    std::chrono::milliseconds m_chunk;
    std::chrono::steady_clock::time_point m_deadline;
};

} // namespace quillon::app
