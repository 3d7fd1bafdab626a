#pragma once

#include "Inhibitor.h"

#include <QDBusConnection>
#include <QVariantList>
#include <functional>

namespace quillon::platform::linux_ {

// A session service whose inhibit call returns a numeric cookie that a
// second call hands back to end it: org.freedesktop.ScreenSaver (idle and
// blanking only) and org.gnome.SessionManager (any of its flags). Both drop
// our cookies when we leave the bus.
class CookieInhibitor : public Inhibitor {
public:
    // org.freedesktop.ScreenSaver.Inhibit(application, reason).
    static std::unique_ptr<CookieInhibitor> screenSaver(QDBusConnection sessionBus);
    // org.gnome.SessionManager.Inhibit(app_id, toplevel_xid 0, reason, flags).
    static constexpr quint32 gnomeSuspend = 4;
    static constexpr quint32 gnomeIdle = 8;
    static std::unique_ptr<CookieInhibitor> gnomeSession(QDBusConnection sessionBus, quint32 flags);

    std::unique_ptr<Held> inhibit(const QString& reason) override;

    struct Service {
        QString name;
        QString path;
        QString interface;
        QString inhibitMethod;
        QString uninhibitMethod;
        std::function<QVariantList(const QString& reason)> inhibitArguments;
    };
    CookieInhibitor(QDBusConnection bus, Service service);

private:
    QDBusConnection m_bus;
    Service m_service;
};

} // namespace quillon::platform::linux_
