#include "FreedesktopNotifications.h"

#include "DBusAsync.h"
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>

namespace quillon::platform::linux_ {

namespace {
const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
constexpr int kCallTimeoutMs = 5000;
constexpr int kServerDefaultExpiry = -1;
// Notifications we no longer track; ids are assigned upwards, so this bounds memory only.
constexpr qsizetype kMaxTracked = 64;
} // namespace

FreedesktopNotifications::FreedesktopNotifications(const QDBusConnection& bus, QObject* parent)
    : platform::NotificationCenter(parent)
    , m_bus(bus)
{
    m_bus.connect(
        kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this, SLOT(onActionInvoked(uint, QString)));
    m_bus.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this, SLOT(onClosed(uint, uint)));
    const QDBusMessage capabilities
        = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("GetCapabilities"));
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, capabilities, kCallTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        const QDBusPendingReply<QStringList> reply = *w;
        if (!reply.isError())
            m_bodyMarkup = reply.value().contains(QStringLiteral("body-markup"));
    });
}

bool FreedesktopNotifications::available()
{
    if (!m_bus.isConnected() || !m_bus.interface())
        return false;
    QDBusConnectionInterface* bus = m_bus.interface();
    return bus->isServiceRegistered(kService).value() || bus->activatableServiceNames().value().contains(kService);
}

void FreedesktopNotifications::post(const QString& title, const QString& body, const QList<Action>& actions,
    quint32 replacesId, std::function<void(quint32 id)> posted)
{
    QStringList flatActions;
    for (const Action& action : actions)
        flatActions << action.key << action.label;
    const QVariantMap hints{
        {QStringLiteral("desktop-entry"), QStringLiteral("org.quillon.Quillon")},
        {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")},
    };
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Notify"));
    call << QStringLiteral("Quillon") << static_cast<uint>(replacesId) << QStringLiteral("org.quillon.Quillon") << title
         << (m_bodyMarkup ? body.toHtmlEscaped() : body) << flatActions << hints << kServerDefaultExpiry;
    auto* watcher = new QDBusPendingCallWatcher(DBusAsync::call(m_bus, call, kCallTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, posted](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        const QDBusPendingReply<uint> reply = *w;
        const quint32 id = reply.isError() ? 0 : reply.value();
        if (id != 0 && !m_ours.contains(id)) {
            m_ours.append(id);
            if (m_ours.size() > kMaxTracked)
                m_ours.removeFirst();
        }
        if (posted)
            posted(id);
    });
}

void FreedesktopNotifications::onActionInvoked(uint id, const QString& actionKey)
{
    // The signal is broadcast to every client: act on our own notifications only.
    if (m_ours.contains(id))
        emit actionInvoked(id, actionKey);
}

void FreedesktopNotifications::onClosed(uint id, uint)
{
    m_ours.removeAll(id);
}

} // namespace quillon::platform::linux_
