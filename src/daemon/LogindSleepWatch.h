#pragma once

#include <QDBusConnection>
#include <QObject>
#include <functional>

namespace quillon::daemon {

// Follows systemd-logind's PrepareForSleep signal: true just before the
// machine suspends or hibernates, false once it is back.
class LogindSleepWatch : public QObject {
    Q_OBJECT

public:
    using Handler = std::function<void(bool goingToSleep)>;

    // bus: where logind lives (the system bus). Whether the match was set up
    // is in watching().
    LogindSleepWatch(QDBusConnection bus, Handler handler);

    bool watching() const { return m_watching; }

private slots:
    void onPrepareForSleep(bool goingToSleep);

private:
    Handler m_handler;
    bool m_watching = false;
};

} // namespace quillon::daemon
