#include "BusCallerIdentity.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>

namespace quillon::daemon {

std::optional<CallerAuthorization::Caller> BusCallerIdentity::of(
    const QDBusConnection& bus, const QDBusMessage& message)
{
    const QString sender = message.service();
    if (sender.isEmpty())
        return std::nullopt;
    for (const Entry& entry : m_entries) {
        if (entry.busName == sender)
            return CallerAuthorization::Caller{sender.toStdString(), entry.uid};
    }
    QDBusConnectionInterface* daemon = bus.interface();
    if (!daemon)
        return std::nullopt;
    const QDBusReply<uint> uid = daemon->serviceUid(sender);
    if (!uid.isValid())
        return std::nullopt;
    m_entries[m_next] = {sender, uid.value()};
    m_next = (m_next + 1) % kRemembered;
    return CallerAuthorization::Caller{sender.toStdString(), uid.value()};
}

} // namespace quillon::daemon
