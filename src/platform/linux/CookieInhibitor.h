#pragma once

#include "Inhibitor.h"

#include <QDBusConnection>
#include <QVariantList>
#include <functional>

namespace quillon::platform::linux_ {

// A session service whose inhibit call returns a numeric cookie that a
// second call hands back to end it. Each drops our cookies when we leave the
// bus. Where the service can be asked whether an inhibition is in force, the
// inhibition counts only once it says so.
class CookieInhibitor : public Inhibitor {
public:
    // org.freedesktop.ScreenSaver.Inhibit(application, reason): idle and
    // blanking only. The service that blanks the screen answers itself and
    // has no query, so its cookie is taken as in force.
    static std::unique_ptr<CookieInhibitor> screenSaver(QDBusConnection sessionBus);
    // org.gnome.SessionManager.Inhibit(app_id, toplevel_xid 0, reason, flags),
    // confirmed by IsInhibited(flags). GNOME and MATE serve it.
    static constexpr quint32 gnomeSuspend = 4;
    static constexpr quint32 gnomeIdle = 8;
    static std::unique_ptr<CookieInhibitor> gnomeSession(QDBusConnection sessionBus, quint32 flags);
    // KDE's PolicyAgent: AddInhibition(types, who, why), confirmed by
    // HasInhibition(types) once PowerDevil applies it (settleMs later).
    static constexpr quint32 kdeInterruptSession = 1;
    static constexpr quint32 kdeChangeScreenSettings = 4;
    static std::unique_ptr<CookieInhibitor> powerDevil(QDBusConnection sessionBus, quint32 types, int settleMs);
    // org.freedesktop.PowerManagement.Inhibit(application, reason), confirmed
    // by HasInhibit(): Xfce's power manager (and KDE's, settleMs later).
    static std::unique_ptr<CookieInhibitor> powerManagement(QDBusConnection sessionBus, int settleMs);

    QString through() const override;
    QString serviceName() const override { return m_service.name; }
    std::unique_ptr<Held> inhibit(const QString& reason, QString& problem) override;

    struct Service {
        QString name;
        QString path;
        QString interface;
        QString inhibitMethod;
        QString uninhibitMethod;
        std::function<QVariantList(const QString& reason)> inhibitArguments;
        std::function<QString(QDBusConnection& bus)> through;
        // The query that answers true while the inhibition is in force
        // (same service, path and interface); empty: none.
        QString confirmMethod;
        QVariantList confirmArguments;
        int confirmDelayMs = 0;
    };
    CookieInhibitor(QDBusConnection bus, Service service);

private:
    QDBusConnection m_bus;
    Service m_service;
};

} // namespace quillon::platform::linux_
