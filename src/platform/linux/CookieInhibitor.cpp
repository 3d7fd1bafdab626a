#include "CookieInhibitor.h"

#include "AppIdentity.h"
#include "DBusTimeouts.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace quillon::platform::linux_ {

namespace {

// Released to the connection that took it, never to the well-known name,
// which may belong to a restarted service by then.
class Cookie : public Inhibitor::Held {
public:
    Cookie(
        QDBusConnection bus, const CookieInhibitor::Service& service, const QString& owner, quint32 cookie, Phase phase)
        : Inhibition(phase)
        , m_bus(std::move(bus))
        , m_release(QDBusMessage::createMethodCall(owner, service.path, service.interface, service.uninhibitMethod))
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

std::function<QString(QDBusConnection&)> fixedName(const QString& name)
{
    return [name](QDBusConnection&) {
        return name;
    };
}

bool owned(QDBusConnection& bus, const QString& name)
{
    return bus.interface() && bus.interface()->isServiceRegistered(name).value();
}

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
            },
            fixedName(QStringLiteral("ScreenSaver")), {}, {}, 0});
}

std::unique_ptr<CookieInhibitor> CookieInhibitor::gnomeSession(QDBusConnection sessionBus, quint32 flags)
{
    return std::make_unique<CookieInhibitor>(std::move(sessionBus),
        Service{QStringLiteral("org.gnome.SessionManager"), QStringLiteral("/org/gnome/SessionManager"),
            QStringLiteral("org.gnome.SessionManager"), QStringLiteral("Inhibit"), QStringLiteral("Uninhibit"),
            [flags](const QString& reason) {
                // No toplevel window: 0, as GNOME asks of Wayland clients.
                return QVariantList{AppIdentity::appId(), quint32{0}, reason, flags};
            },
            fixedName(QStringLiteral("GNOME session")), QStringLiteral("IsInhibited"), {flags}, 0});
}

std::unique_ptr<CookieInhibitor> CookieInhibitor::powerDevil(QDBusConnection sessionBus, quint32 types, int settleMs)
{
    return std::make_unique<CookieInhibitor>(std::move(sessionBus),
        Service{QStringLiteral("org.kde.Solid.PowerManagement.PolicyAgent"),
            QStringLiteral("/org/kde/Solid/PowerManagement/PolicyAgent"),
            QStringLiteral("org.kde.Solid.PowerManagement.PolicyAgent"), QStringLiteral("AddInhibition"),
            QStringLiteral("ReleaseInhibition"),
            [types](const QString& reason) {
                return QVariantList{types, AppIdentity::displayName(), reason};
            },
            fixedName(QStringLiteral("PowerDevil (KDE)")), QStringLiteral("HasInhibition"), {types}, settleMs});
}

std::unique_ptr<CookieInhibitor> CookieInhibitor::powerManagement(QDBusConnection sessionBus, int settleMs)
{
    // Xfce's power manager serves the name at once; KDE's PowerDevil serves
    // it too and applies it late.
    const bool kde = owned(sessionBus, QStringLiteral("org.kde.Solid.PowerManagement"));
    return std::make_unique<CookieInhibitor>(std::move(sessionBus),
        Service{QStringLiteral("org.freedesktop.PowerManagement"),
            QStringLiteral("/org/freedesktop/PowerManagement/Inhibit"),
            QStringLiteral("org.freedesktop.PowerManagement.Inhibit"), QStringLiteral("Inhibit"),
            QStringLiteral("UnInhibit"),
            [](const QString& reason) {
                return QVariantList{AppIdentity::displayName(), reason};
            },
            [](QDBusConnection& bus) {
                if (owned(bus, QStringLiteral("org.xfce.PowerManager")))
                    return QStringLiteral("PowerManagement (Xfce)");
                if (owned(bus, QStringLiteral("org.kde.Solid.PowerManagement")))
                    return QStringLiteral("PowerManagement (KDE)");
                return QStringLiteral("PowerManagement");
            },
            QStringLiteral("HasInhibit"), {}, kde ? settleMs : 0});
}

QString CookieInhibitor::through() const
{
    QDBusConnection bus = m_bus;
    return m_service.through(bus);
}

std::unique_ptr<Inhibitor::Held> CookieInhibitor::inhibit(const QString& reason, QString& problem)
{
    QDBusMessage call
        = QDBusMessage::createMethodCall(m_service.name, m_service.path, m_service.interface, m_service.inhibitMethod);
    call.setArguments(m_service.inhibitArguments(reason));
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, DBusTimeouts::callMs);
    const QVariant cookie = reply.arguments().value(0);
    if (reply.type() != QDBusMessage::ReplyMessage || cookie.metaType() != QMetaType::fromType<quint32>()) {
        problem = callProblem(reply);
        return nullptr;
    }
    const bool confirms = !m_service.confirmMethod.isEmpty();
    // A reply's sender is the unique name of the connection that answered.
    const QString owner = reply.service().isEmpty() ? m_service.name : reply.service();
    auto held = std::make_unique<Cookie>(
        m_bus, m_service, owner, cookie.value<quint32>(), confirms ? Held::Phase::confirming : Held::Phase::inForce);
    if (confirms) {
        QDBusMessage query = QDBusMessage::createMethodCall(
            m_service.name, m_service.path, m_service.interface, m_service.confirmMethod);
        query.setArguments(m_service.confirmArguments);
        held->confirmWith(
            m_bus, query, m_service.confirmDelayMs,
            [](const QDBusMessage& answer) {
                const QVariant yes = answer.arguments().value(0);
                return yes.metaType() == QMetaType::fromType<bool>() && yes.toBool();
            },
            QStringLiteral("%1 accepted the request but does not list it").arg(through()));
    }
    return held;
}

} // namespace quillon::platform::linux_
