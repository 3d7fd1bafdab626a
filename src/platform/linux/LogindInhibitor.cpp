#include "LogindInhibitor.h"

#include "AppIdentity.h"
#include "DBusTimeouts.h"
#include "LogindInhibitorList.h"

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>

namespace quillon::platform::linux_ {

namespace {

// Owns the lock's descriptor: QDBusUnixFileDescriptor holds its own
// close-on-exec duplicate and closes it when destroyed, which ends the lock.
class LockFd : public Inhibitor::Held {
public:
    explicit LockFd(QDBusUnixFileDescriptor fd)
        : m_fd(std::move(fd))
    {
    }

private:
    QDBusUnixFileDescriptor m_fd;
};

} // namespace

LogindInhibitor::LogindInhibitor(QDBusConnection systemBus, QString what)
    : m_bus(std::move(systemBus))
    , m_what(std::move(what))
{
}

std::unique_ptr<Inhibitor::Held> LogindInhibitor::inhibit(const QString& reason, QString& problem)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.login1"),
        QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
        QStringLiteral("Inhibit"));
    const QString who = AppIdentity::displayName();
    call << m_what << who << reason << QStringLiteral("block");
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, DBusTimeouts::callMs);
    const auto fd = reply.arguments().value(0).value<QDBusUnixFileDescriptor>();
    if (reply.type() != QDBusMessage::ReplyMessage || !fd.isValid()) {
        problem = callProblem(reply);
        return nullptr;
    }
    auto held = std::make_unique<LockFd>(fd);
    held->confirmWith(
        m_bus, LogindInhibitorList::query(), 0,
        [what = m_what, who, reason](const QDBusMessage& list) {
            const auto locks = LogindInhibitorList::parse(list);
            return std::any_of(locks.begin(), locks.end(), [&](const LogindLock& lock) {
                return lock.coversExactly(what) && lock.who == who && lock.why == reason && lock.mode == u"block";
            });
        },
        QStringLiteral("logind took the lock but does not list it"));
    return held;
}

} // namespace quillon::platform::linux_
