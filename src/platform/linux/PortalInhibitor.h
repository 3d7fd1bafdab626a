#pragma once

#include "Inhibitor.h"

#include <QDBusConnection>

namespace quillon::platform::linux_ {

// org.freedesktop.portal.Inhibit on the session bus: the only way out of a
// sandbox, and the last resort elsewhere, because the portal answers with a
// request handle before its backend has done anything, and its Response 0
// only says the backend was called (GTK's then fails quietly without a
// screen saver, KDE's answers before PowerDevil applies it). So a success
// leaves the inhibition asked for and unconfirmed, saying why; a refusal, or
// no Response within answerMs (the permission store can silently drop a
// request), fails it.
// flags is the portal's bit set: 4 suspend, 8 idle (asked separately: some
// backends refuse a combined request outright). Ending an inhibition closes
// its request object.
class PortalInhibitor : public Inhibitor {
public:
    static constexpr quint32 suspend = 4;
    static constexpr quint32 idle = 8;

    PortalInhibitor(QDBusConnection sessionBus, quint32 flags, int answerMs);

    // "portal (KDE)", after the desktop the session names, or "portal".
    QString through() const override;
    QString serviceName() const override { return QStringLiteral("org.freedesktop.portal.Desktop"); }
    std::unique_ptr<Held> inhibit(const QString& reason) override;

private:
    QDBusConnection m_bus;
    quint32 m_flags;
    int m_answerMs;
};

} // namespace quillon::platform::linux_
