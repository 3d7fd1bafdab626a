#include "LogindInhibitor.h"

#include "AppIdentity.h"
#include "DBusTimeouts.h"
#include "LogindInhibitorList.h"

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>

namespace quillon::platform::linux_ {

namespace {

// Owns the lock's descriptor once logind has sent it:
// QDBusUnixFileDescriptor holds its own close-on-exec duplicate and closes it
// when destroyed, which ends the lock. Ended before the answer came, the
// descriptor is closed with the unread answer.
class LockFd : public Inhibitor::Held {
public:
    void take(QDBusConnection bus, const QString& what, const QString& reason, const QString& ignoredBy)
    {
        QDBusMessage call
            = QDBusMessage::createMethodCall(LogindInhibitor::service(), QStringLiteral("/org/freedesktop/login1"),
                QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
        const QString who = AppIdentity::displayName();
        call << what << who << reason << QStringLiteral("block");
        ask(bus, call, DBusTimeouts::callMs, [this, bus, what, who, reason, ignoredBy](const QDBusMessage& reply) {
            m_fd = reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
            if (!m_fd.isValid()) {
                settle(Phase::failed, QStringLiteral("logind answered without a lock"));
                return;
            }
            query(bus, LogindInhibitorList::query(), [this, what, who, reason, ignoredBy](const QDBusMessage& list) {
                const auto locks = LogindInhibitorList::parse(list);
                const bool listed = std::any_of(locks.begin(), locks.end(), [&](const LogindLock& lock) {
                    return lock.coversExactly(what) && lock.who == who && lock.why == reason && lock.mode == u"block";
                });
                if (!listed)
                    settle(Phase::failed, QStringLiteral("logind took the lock but does not list it"));
                else if (!ignoredBy.isEmpty())
                    settle(Phase::failed, QStringLiteral("logind holds the lock, but %1").arg(ignoredBy));
                else
                    settle(Phase::inForce);
            });
        });
    }

private:
    QDBusUnixFileDescriptor m_fd;
};

} // namespace

LogindInhibitor::LogindInhibitor(QDBusConnection systemBus, QString what, QString ignoredBy)
    : m_bus(std::move(systemBus))
    , m_what(std::move(what))
    , m_ignoredBy(std::move(ignoredBy))
{
}

std::unique_ptr<Inhibitor::Held> LogindInhibitor::inhibit(const QString& reason)
{
    auto held = std::make_unique<LockFd>();
    held->take(m_bus, m_what, reason, m_ignoredBy);
    return held;
}

} // namespace quillon::platform::linux_
