#include "LogindInhibitor.h"

#include "AppIdentity.h"
#include "DBusTimeouts.h"

#include <QDBusMessage>
#include <QDBusReply>
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

std::unique_ptr<Inhibitor::Held> LogindInhibitor::inhibit(const QString& reason)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.login1"),
        QStringLiteral("/org/freedesktop/login1"), QStringLiteral("org.freedesktop.login1.Manager"),
        QStringLiteral("Inhibit"));
    call << m_what << AppIdentity::displayName() << reason << QStringLiteral("block");
    const QDBusReply<QDBusUnixFileDescriptor> reply = m_bus.call(call, QDBus::Block, DBusTimeouts::callMs);
    if (!reply.isValid() || !reply.value().isValid())
        return nullptr;
    return std::make_unique<LockFd>(reply.value());
}

} // namespace quillon::platform::linux_
