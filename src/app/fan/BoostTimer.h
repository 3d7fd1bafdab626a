#pragma once

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QTimer>

namespace quillon::app {

// The end of a timed manual boost: a one-shot timer and the moment it fires.
class BoostTimer : public QObject {
    Q_OBJECT
public:
    // The timer runs only when startTimer; tests end a boost themselves.
    explicit BoostTimer(bool startTimer, QObject* parent = nullptr);

    // Ends the boost seconds after now (a running end is replaced).
    void schedule(const QDateTime& now, double seconds);
    // Whether there was an end to cancel.
    bool cancel();
    // Invalid without a boost.
    QDateTime expiresAt() const { return m_expiresAt; }
    // "m:ss" from now until the end, never below 0:00; "" without a boost.
    QString remainingText(const QDateTime& now) const;

signals:
    void expired();

private:
    bool m_startTimer;
    QTimer m_timer;
    QDateTime m_expiresAt;
};

} // namespace quillon::app
