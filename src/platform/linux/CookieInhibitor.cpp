#include "CookieInhibitor.h"

#include "AppIdentity.h"
#include "DBusTimeouts.h"

#include <QDBusMessage>
#include <QDBusReply>

namespace quillon::platform::linux_ {

namespace {

class Cookie : public Inhibitor::Held {
public:
    Cookie(QDBusConnection bus, const CookieInhibitor::Service& service, quint32 cookie)
        : m_bus(std::move(bus))
        , m_release(
              QDBusMessage::createMethodCall(service.name, service.path, service.interface, service.uninhibitMethod))
    {
        m_release << cookie;
    }
    ~Cookie() override
    {
        // Fire and forget: a service that is gone has dropped the cookie already.
        m_bus.send(m_release);
    }

private:
    QDBusConnection m_bus;
    QDBusMessage m_release;
};

} // namespace

CookieInhibitor::CookieInhibitor(QDBusConnection bus, Service service)
    : m_bus(std::move(bus))
    , m_service(std::move(service))
{
}

std::unique_ptr<CookieInhibitor> CookieInhibitor::screenSaver(QDBusConnection sessionBus)
{
    return std::make_unique<CookieInhibitor>(std::move(sessionBus),
        Service{QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("/org/freedesktop/ScreenSaver"),
            QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("Inhibit"), QStringLiteral("UnInhibit"),
            [](const QString& reason) {
                return QVariantList{AppIdentity::appId(), reason};
            }});
}

std::unique_ptr<CookieInhibitor> CookieInhibitor::gnomeSession(QDBusConnection sessionBus, quint32 flags)
{
    return std::make_unique<CookieInhibitor>(std::move(sessionBus),
        Service{QStringLiteral("org.gnome.SessionManager"), QStringLiteral("/org/gnome/SessionManager"),
            QStringLiteral("org.gnome.SessionManager"), QStringLiteral("Inhibit"), QStringLiteral("Uninhibit"),
            [flags](const QString& reason) {
                // No toplevel window: 0, as GNOME asks of Wayland clients.
                return QVariantList{AppIdentity::appId(), quint32{0}, reason, flags};
            }});
}

std::unique_ptr<Inhibitor::Held> CookieInhibitor::inhibit(const QString& reason)
{
    QDBusMessage call
        = QDBusMessage::createMethodCall(m_service.name, m_service.path, m_service.interface, m_service.inhibitMethod);
    call.setArguments(m_service.inhibitArguments(reason));
    const QDBusReply<quint32> reply = m_bus.call(call, QDBus::Block, DBusTimeouts::callMs);
    if (!reply.isValid())
        return nullptr;
    return std::make_unique<Cookie>(m_bus, m_service, reply.value());
}

} // namespace quillon::platform::linux_
