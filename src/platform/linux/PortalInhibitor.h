#pragma once

#include "Inhibitor.h"

#include <QDBusConnection>

namespace quillon::platform::linux_ {

// org.freedesktop.portal.Inhibit on the session bus: the desktop's own
// policy (GNOME, KDE) and the only way out of a sandbox. flags is the
// portal's bit set: 4 suspend, 8 idle. Ending an inhibition closes its
// request object.
class PortalInhibitor : public Inhibitor {
public:
    static constexpr quint32 suspend = 4;
    static constexpr quint32 idle = 8;

    PortalInhibitor(QDBusConnection sessionBus, quint32 flags);

    std::unique_ptr<Held> inhibit(const QString& reason) override;

private:
    QDBusConnection m_bus;
    quint32 m_flags;
};

} // namespace quillon::platform::linux_
