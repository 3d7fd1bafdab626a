#include "Inhibitor.h"

#include <QDBusError>

namespace quillon::platform::linux_ {

QString Inhibitor::callProblem(const QDBusMessage& reply)
{
    const QString name = reply.errorName();
    if (name == QDBusError::errorString(QDBusError::ServiceUnknown)
        || name == QStringLiteral("org.freedesktop.DBus.Error.NameHasNoOwner")
        || name == QDBusError::errorString(QDBusError::UnknownObject)
        || name == QDBusError::errorString(QDBusError::UnknownInterface)
        || name == QDBusError::errorString(QDBusError::UnknownMethod))
        return {};
    if (name == QDBusError::errorString(QDBusError::Disconnected)
        || name == QDBusError::errorString(QDBusError::NoServer))
        return QStringLiteral("no D-Bus connection to it");
    return reply.errorMessage().isEmpty() ? name : reply.errorMessage();
}

} // namespace quillon::platform::linux_
