#pragma once

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>

namespace quillon::platform::linux_::DBusAsync {

// QDBusConnection::asyncCall, except on a bus that is not there at all (no
// system bus in a container, an unset session bus): Qt then gives a pending
// call that never finishes, so a watcher on it never hears back and whatever
// waits for it stays "asked" for good. Here it finishes at once with a
// Disconnected error, which the watcher reports on the next event loop turn.
inline QDBusPendingCall call(const QDBusConnection& bus, const QDBusMessage& message, int timeoutMs = -1)
{
    if (!bus.isConnected())
        return QDBusPendingCall::fromError(
            QDBusError(QDBusError::Disconnected, QStringLiteral("not connected to this D-Bus bus")));
    return bus.asyncCall(message, timeoutMs);
}

} // namespace quillon::platform::linux_::DBusAsync
