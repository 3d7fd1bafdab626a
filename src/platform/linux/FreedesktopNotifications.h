#pragma once

#include "platform/NotificationCenter.h"

#include <QDBusConnection>

namespace quillon::platform::linux_ {

// The desktop's org.freedesktop.Notifications service on the session bus.
// Calls are asynchronous, so a slow or hung notification server never stalls
// the app. Only our own notifications' actions are reported. Bodies are text,
// never markup: where the server reads markup in them, they are escaped (also
// while it has not said yet whether it does).
class FreedesktopNotifications : public platform::NotificationCenter {
    Q_OBJECT
public:
    explicit FreedesktopNotifications(
        const QDBusConnection& bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);

    // A server is running, or the bus can start one.
    bool available() override;
    void post(const QString& title, const QString& body, const QList<Action>& actions, quint32 replacesId,
        std::function<void(quint32 id)> posted = {}) override;

private slots:
    void onActionInvoked(uint id, const QString& actionKey);
    void onClosed(uint id, uint reason);

private:
    QDBusConnection m_bus;
    QList<quint32> m_ours; // ids of our notifications still on screen
    bool m_bodyMarkup = true;
};

} // namespace quillon::platform::linux_
