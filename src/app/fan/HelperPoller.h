#pragma once

#include "app/GridTimer.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QVariantMap>

namespace quillon::app {

class HelperLink;

// The fan model's line to the helper: asks for the status on a timer, every
// second while the helper holds anything its watchdog could hand back or a
// live view is on screen, every five seconds otherwise; and says what the
// link's connection events mean for the status line. Every status, asked for
// or brought by a fresh connection, comes out of statusArrived(). Asking
// never opens a connection: after a loss, polling stays quiet until an
// action reconnects.
class HelperPoller : public QObject {
    Q_OBJECT
public:
    static constexpr int kFastIntervalMs = 1000;
    static constexpr int kRestIntervalMs = 5000;

    // link must outlive the poller; the timer runs only when startTimer
    // (tests call the owner's tick handler themselves).
    HelperPoller(HelperLink& link, bool startTimer, QObject* parent = nullptr);

    // The line shown while the helper is slow to answer; German only, as the
    // link's other messages.
    static QString slowHelperMessage();

    // Asks for the status once, when a connection is open.
    void refresh();
    // source: the caller's name for what shows live figures. Whether the set changed.
    bool setLiveView(const QString& source, bool shown);
    // Fast while holding or while any live view shows, at rest otherwise.
    void updateInterval(bool holding);
    // Fast at once: a floor or the lid lock is going out, and the helper's
    // watchdog must be fed every second from its start.
    void pollFast() { setIntervalMs(kFastIntervalMs); }
    int intervalMs() const { return m_timer.interval(); }
    bool fast() const { return intervalMs() == kFastIntervalMs; }

signals:
    void tick();
    // The poll turned fast or back to the rest interval.
    void intervalChanged();
    void statusArrived(const QVariantMap& status);
    // What the status line says after a connection event ("" when all is well again).
    void linkMessage(const QString& text);

private:
    void setIntervalMs(int ms);

    HelperLink& m_link;
    GridTimer m_timer{kRestIntervalMs};
    QSet<QString> m_liveViews;
};

} // namespace quillon::app
