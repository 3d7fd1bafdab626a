#include "LogindSleepWatch.h"

namespace quillon::daemon {

LogindSleepWatch::LogindSleepWatch(QDBusConnection bus, Handler handler)
    : m_handler(std::move(handler))
{
    // Only logind's own name may say so: anyone on the bus can send a signal.
    m_watching = bus.connect(QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"), this,
        SLOT(onPrepareForSleep(bool)));
}

void LogindSleepWatch::onPrepareForSleep(bool goingToSleep)
{
    if (m_handler)
        m_handler(goingToSleep);
}

} // namespace quillon::daemon
