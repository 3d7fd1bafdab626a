#include "PortalInhibitor.h"

#include "DBusTimeouts.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QVariantMap>
#include <atomic>

namespace quillon::platform::linux_ {

namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");

class PortalRequest : public Inhibitor::Held {
public:
    PortalRequest(QDBusConnection bus, QString handle)
        : m_bus(std::move(bus))
        , m_handle(std::move(handle))
    {
    }
    ~PortalRequest() override
    {
        // Fire and forget: a portal that is gone has dropped the request already.
        m_bus.send(QDBusMessage::createMethodCall(
            kService, m_handle, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Close")));
    }

private:
    QDBusConnection m_bus;
    QString m_handle;
};

} // namespace

PortalInhibitor::PortalInhibitor(QDBusConnection sessionBus, quint32 flags)
    : m_bus(std::move(sessionBus))
    , m_flags(flags)
{
}

std::unique_ptr<Inhibitor::Held> PortalInhibitor::inhibit(const QString& reason)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kService, QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"));
    // The portal refuses a token that names a request still open on this
    // connection, and every inhibitor of the process shares the connection.
    static std::atomic<quint32> lastToken{0};
    const QVariantMap options{
        {QStringLiteral("handle_token"), QStringLiteral("quillon%1").arg(++lastToken)},
        {QStringLiteral("reason"), reason},
    };
    call << QString() << m_flags << options;
    const QDBusReply<QDBusObjectPath> reply = m_bus.call(call, QDBus::Block, DBusTimeouts::activatingCallMs);
    if (!reply.isValid() || reply.value().path().isEmpty())
        return nullptr;
    return std::make_unique<PortalRequest>(m_bus, reply.value().path());
}

} // namespace quillon::platform::linux_
