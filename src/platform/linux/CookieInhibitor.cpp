#include "CookieInhibitor.h"

#include "AppIdentity.h"
#include "DBusTimeouts.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QPointer>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace quillon::platform::linux_ {

namespace {

// Released to the connection that took it, never to the well-known name,
// which may belong to a restarted service by then.
class Cookie : public Inhibitor::Held {
public:
    Cookie(QDBusConnection bus, const CookieInhibitor::Service& service)
        : m_bus(std::move(bus))
        , m_service(service)
    {
    }
    ~Cookie() override
    {
        if (m_cookie) {
            // Fire and forget: a service that is gone has dropped the cookie already.
            m_bus.send(release(m_owner, *m_cookie));
            return;
        }
        // Ended before its answer was read: the service grants it all the
        // same, so it is handed back once the cookie is there.
        if (m_asked.isFinished()) {
            releaseGranted(m_bus, m_service, m_asked.reply());
            return;
        }
        if (!QCoreApplication::instance())
            return;
        auto* late = new QDBusPendingCallWatcher(m_asked, QCoreApplication::instance());
        QObject::connect(late, &QDBusPendingCallWatcher::finished, late,
            [bus = m_bus, service = m_service](QDBusPendingCallWatcher* answered) mutable {
                answered->deleteLater();
                releaseGranted(bus, service, answered->reply());
            });
    }

    void take(const QString& reason)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            m_service.name, m_service.path, m_service.interface, m_service.inhibitMethod);
        call.setArguments(m_service.inhibitArguments(reason));
        m_asked = ask(m_bus, call, DBusTimeouts::callMs, [this, reason](const QDBusMessage& reply) {
            const QVariant cookie = reply.arguments().value(0);
            if (cookie.metaType() != QMetaType::fromType<quint32>()) {
                settle(Phase::failed, QStringLiteral("%1 answered without a cookie").arg(m_service.through));
                return;
            }
            // A reply's sender is the unique name of the connection that answered.
            m_owner = reply.service().isEmpty() ? m_service.name : reply.service();
            m_cookie = cookie.value<quint32>();
            if (!m_service.confirm) {
                settle(Phase::inForce);
                return;
            }
            confirmWith(m_service.confirmDelayMs, m_service.confirm(m_bus, m_owner, *m_cookie, reason),
                QStringLiteral("%1 accepted the request but does not list it").arg(m_service.through),
                m_service.confirmLateMs);
        });
    }

private:
    QDBusMessage release(const QString& owner, quint32 cookie) const { return releaseOf(m_service, owner, cookie); }
    static void releaseGranted(QDBusConnection bus, const CookieInhibitor::Service& service, const QDBusMessage& reply)
    {
        const QVariant cookie = reply.arguments().value(0);
        if (reply.type() == QDBusMessage::ReplyMessage && cookie.metaType() == QMetaType::fromType<quint32>())
            bus.send(releaseOf(service, reply.service(), cookie.value<quint32>()));
    }
    static QDBusMessage releaseOf(const CookieInhibitor::Service& service, const QString& owner, quint32 cookie)
    {
        QDBusMessage call
            = QDBusMessage::createMethodCall(owner, service.path, service.interface, service.uninhibitMethod);
        call << cookie;
        return call;
    }

    QDBusConnection m_bus;
    CookieInhibitor::Service m_service;
    QDBusPendingCall m_asked = QDBusPendingCall::fromCompletedCall(QDBusMessage());
    QString m_owner;
    std::optional<quint32> m_cookie;
};

QDBusMessage callOn(const QString& owner, const QString& path, const QString& interface, const QString& method)
{
    return QDBusMessage::createMethodCall(owner, path, interface, method);
}

// gnome-session's (and mate-session's) inhibitor objects, which do not
// give their cookie: ours is the one with our app id, reason and flags.
Inhibition::Check gnomeListed(const QDBusConnection& bus, const QString& owner, quint32 flags, const QString& reason)
{
    return [bus, owner, flags, reason](Inhibition& context, Inhibition::Done done) {
        const QDBusMessage list = callOn(owner, QStringLiteral("/org/gnome/SessionManager"),
            QStringLiteral("org.gnome.SessionManager"), QStringLiteral("GetInhibitors"));
        QPointer<Inhibition> self(&context);
        context.query(bus, list, [bus, owner, flags, reason, self, done](const QDBusMessage& reply) {
            const auto paths = qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0));
            if (!self || paths.isEmpty()) {
                done(false);
                return;
            }
            // Each object is asked in turn for what it holds; done once, by
            // ours or by the last answer.
            auto left = std::make_shared<qsizetype>(paths.size());
            auto found = std::make_shared<bool>(false);
            const std::vector<std::pair<QString, QVariant>> expected{{QStringLiteral("GetAppId"), AppIdentity::appId()},
                {QStringLiteral("GetReason"), reason}, {QStringLiteral("GetFlags"), flags}};
            for (const QDBusObjectPath& path : paths) {
                auto matches = std::make_shared<std::size_t>(0);
                for (const auto& [method, value] : expected) {
                    self->query(bus,
                        callOn(owner, path.path(), QStringLiteral("org.gnome.SessionManager.Inhibitor"), method),
                        [=, value = value](const QDBusMessage& answer) {
                            if (*found)
                                return;
                            const bool same
                                = answer.type() == QDBusMessage::ReplyMessage && answer.arguments().value(0) == value;
                            if (same && ++*matches == expected.size()) {
                                *found = true;
                                done(true);
                            } else if (!same && std::exchange(*matches, expected.size() + 1) <= expected.size()
                                && --*left == 0) {
                                done(false);
                            }
                        });
                }
            }
        });
    };
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
            QStringLiteral("ScreenSaver"), {}, 0});
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
            QStringLiteral("GNOME session"),
            [flags](const QDBusConnection& bus, const QString& owner, quint32, const QString& reason) {
                return gnomeListed(bus, owner, flags, reason);
            },
            0});
}

std::unique_ptr<CookieInhibitor> CookieInhibitor::powerDevil(QDBusConnection sessionBus, quint32 types, int settleMs)
{
    const QString path = QStringLiteral("/org/kde/Solid/PowerManagement/PolicyAgent");
    const QString interface = QStringLiteral("org.kde.Solid.PowerManagement.PolicyAgent");
    return std::make_unique<CookieInhibitor>(std::move(sessionBus),
        Service{QStringLiteral("org.kde.Solid.PowerManagement.PolicyAgent"), path, interface,
            QStringLiteral("AddInhibition"), QStringLiteral("ReleaseInhibition"),
            [types](const QString& reason) {
                return QVariantList{types, AppIdentity::displayName(), reason};
            },
            QStringLiteral("PowerDevil (KDE)"),
            [types, path, interface](const QDBusConnection& bus, const QString& owner, quint32, const QString& reason) {
                // Both listed and applied (HasInhibition) only once PowerDevil's delay has passed.
                const Inhibition::Check listed
                    = Inhibition::oneQuery(bus, callOn(owner, path, interface, QStringLiteral("ListInhibitions")),
                        [reason](const QDBusMessage& reply) {
                            const QDBusArgument array = reply.arguments().value(0).value<QDBusArgument>();
                            bool found = false;
                            array.beginArray();
                            while (!array.atEnd()) {
                                QString who;
                                QString why;
                                array.beginStructure();
                                array >> who >> why;
                                array.endStructure();
                                found = found || (who == AppIdentity::displayName() && why == reason);
                            }
                            array.endArray();
                            return found;
                        });
                const Inhibition::Check applied = Inhibition::oneQuery(bus,
                    callOn(owner, path, interface, QStringLiteral("HasInhibition")) << types,
                    [](const QDBusMessage& reply) {
                        const QVariant yes = reply.arguments().value(0);
                        return yes.metaType() == QMetaType::fromType<bool>() && yes.toBool();
                    });
                return Inhibition::Check([listed, applied](Inhibition& context, Inhibition::Done done) {
                    QPointer<Inhibition> self(&context);
                    listed(context, [self, applied, done](bool ours) {
                        if (!ours || !self)
                            done(false);
                        else
                            applied(*self, done);
                    });
                });
            },
            // A busy machine runs PowerDevil's timer late: asked again for half as long again.
            settleMs, settleMs / 2});
}

std::unique_ptr<CookieInhibitor> CookieInhibitor::powerManagement(QDBusConnection sessionBus)
{
    const QString path = QStringLiteral("/org/freedesktop/PowerManagement/Inhibit");
    const QString interface = QStringLiteral("org.freedesktop.PowerManagement.Inhibit");
    return std::make_unique<CookieInhibitor>(std::move(sessionBus),
        Service{QStringLiteral("org.freedesktop.PowerManagement"), path, interface, QStringLiteral("Inhibit"),
            QStringLiteral("UnInhibit"),
            [](const QString& reason) {
                return QVariantList{AppIdentity::displayName(), reason};
            },
            QStringLiteral("PowerManagement (Xfce)"),
            [path, interface](const QDBusConnection& bus, const QString& owner, quint32, const QString&) {
                // Xfce's list names the applications, one entry per inhibition.
                return Inhibition::oneQuery(bus, callOn(owner, path, interface, QStringLiteral("GetInhibitors")),
                    [](const QDBusMessage& reply) {
                        return reply.arguments().value(0).toStringList().contains(AppIdentity::displayName());
                    });
            },
            0});
}

std::unique_ptr<Inhibitor::Held> CookieInhibitor::inhibit(const QString& reason)
{
    auto held = std::make_unique<Cookie>(m_bus, m_service);
    held->take(reason);
    return held;
}

} // namespace quillon::platform::linux_
