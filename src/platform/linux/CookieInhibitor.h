#pragma once

#include "Inhibitor.h"

#include <QDBusConnection>
#include <QVariantList>
#include <functional>

namespace quillon::platform::linux_ {

// A session service whose inhibit call returns a numeric cookie that a
// second call hands back to end it. Each drops our cookies when we leave the
// bus. Where the service lists who holds what, the inhibition counts only
// once that list shows ours; a service's global "is anything inhibited"
// answers yes for anyone's and proves nothing.
class CookieInhibitor : public Inhibitor {
public:
    // org.freedesktop.ScreenSaver.Inhibit(application, reason): idle and
    // blanking only. The service that blanks the screen answers itself and
    // has no list, so its cookie is taken as in force.
    static std::unique_ptr<CookieInhibitor> screenSaver(QDBusConnection sessionBus);
    // org.gnome.SessionManager.Inhibit(app_id, toplevel_xid 0, reason, flags),
    // confirmed in GetInhibitors by an inhibitor with our app id, reason and flags. GNOME and MATE serve it.
    static constexpr quint32 gnomeSuspend = 4;
    static constexpr quint32 gnomeIdle = 8;
    static std::unique_ptr<CookieInhibitor> gnomeSession(QDBusConnection sessionBus, quint32 flags);
    // KDE's PolicyAgent: AddInhibition(types, who, why), confirmed once
    // PowerDevil applies it (settleMs later, or up to half as long again
    // on a busy machine): ListInhibitions names it and HasInhibition(types) holds.
    static constexpr quint32 kdeInterruptSession = 1;
    static constexpr quint32 kdeChangeScreenSettings = 4;
    static std::unique_ptr<CookieInhibitor> powerDevil(QDBusConnection sessionBus, quint32 types, int settleMs);
    // org.freedesktop.PowerManagement.Inhibit(application, reason) as Xfce's
    // power manager serves it, confirmed by its GetInhibitors naming us.
    // (KDE's serves the name too, without that list: there PowerDevil's own
    // route, tried first, holds it.)
    static std::unique_ptr<CookieInhibitor> powerManagement(QDBusConnection sessionBus);

    // Whether a service's answer lists the inhibition (cookie, reason) it
    // gave owner, asked of owner itself.
    using Confirm = std::function<Inhibition::Check(
        const QDBusConnection& bus, const QString& owner, quint32 cookie, const QString& reason)>;
    struct Service {
        QString name;
        QString path;
        QString interface;
        QString inhibitMethod;
        QString uninhibitMethod;
        std::function<QVariantList(const QString& reason)> inhibitArguments;
        QString through;
        Confirm confirm; // empty: taken as in force once accepted
        int confirmDelayMs = 0;
        int confirmLateMs = 0; // how long after confirmDelayMs it is checked again until listed
    };
    CookieInhibitor(QDBusConnection bus, Service service);

    QString through() const override { return m_service.through; }
    QString serviceName() const override { return m_service.name; }
    std::unique_ptr<Held> inhibit(const QString& reason) override;

private:
    QDBusConnection m_bus;
    Service m_service;
};

} // namespace quillon::platform::linux_
