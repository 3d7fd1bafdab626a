#pragma once

#include "BoostTimer.h"
#include "FanInfo.h"
#include "SpinUpIndicator.h"

#include <QDateTime>
#include <QObject>
#include <optional>

namespace quillon::platform {
class Clock;
} // namespace quillon::platform

namespace quillon::app {

class HelperLink;
class HelperPoller;
class Notifier;

// The floor the helper gets (percent) and everything that goes with sending
// it: the boosted flag, the spin-up indicator, a manual boost's end, and the
// batching of one user action into one command. Floors and stops go out at
// once, or, while a user action runs, only the last one is kept and sent
// when the outermost action ends, so no intermediate floor reaches the fans.
// A floor the helper refuses or that cannot reach it clears the boosted flag
// (floorAnswered(false)); every answer asks for a fresh status. The caller
// decides whether a floor may go out at all (helper installed, link open, no
// safety hold). Main thread only.
class FloorSender : public QObject {
    Q_OBJECT
public:
    static constexpr double kMaxBoostSeconds = 3600.0;

    // All references must outlive this; notifier may be null. The boost
    // timer runs only when startTimers (tests end a boost themselves).
    FloorSender(HelperLink& link, HelperPoller& poller, const platform::Clock& clock, Notifier* notifier,
        bool startTimers, QObject* parent = nullptr);

    double targetPercent() const { return m_targetPercent; }
    void setTargetPercent(double percent);
    bool isBoosted() const { return m_isBoosted; }
    void setBoosted(bool boosted);
    QDateTime expiresAt() const { return m_boostTimer.expiresAt(); }
    QString remainingText(const QDateTime& now) const { return m_boostTimer.remainingText(now); }
    const SpinUpIndicator& spinUp() const { return m_spinUp; }

    // Sends the target floor. durationS: how long a manual boost lasts
    // (seconds, capped at kMaxBoostSeconds; none: defaultS, and a running
    // boost keeps its end); automatic cooling and a zero floor never end.
    void hold(std::optional<double> durationS, bool automatic, double defaultS);
    // Sends the target floor again after the helper dropped it; a running
    // boost keeps its end.
    void reassert();
    // Drops the floor, its end and the spin-up, and tells the helper to stop
    // when a connection is open (whether it was).
    bool reset();
    void cancelExpiry();
    void clearSpinUp();
    // The fans as the helper reports them at now; ends the spin-up once reached.
    void followFans(const QList<FanInfo>& fans, const QDateTime& now);

    void beginUserAction() { ++m_userActionDepth; }
    void endUserAction();
    bool inUserAction() const { return m_userActionDepth > 0; }

signals:
    void boostChanged();
    void spinUpChanged();
    // The manual boost's time is up.
    void expired();
    // The helper answered a floor: ok, or refused / unreachable.
    void floorAnswered(bool ok);

private:
    void sendFloor(double percent);
    void sendStop();
    void startSpinUp();
    void scheduleExpiry(double seconds);

    HelperLink& m_link;
    HelperPoller& m_poller;
    const platform::Clock& m_clock;
    Notifier* m_notifier;
    BoostTimer m_boostTimer;
    SpinUpIndicator m_spinUp;
    double m_targetPercent = 0;
    bool m_isBoosted = false;
    int m_userActionDepth = 0;
    // The command the running user action will send: a floor, or a stop (nullopt inside).
    std::optional<std::optional<double>> m_pendingCommand;
};

} // namespace quillon::app
