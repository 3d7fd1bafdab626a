#pragma once

#include "VirtualDisplay.h"

#include "support/BusService.h"
#include "support/RealLogind.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace quillon::test {

// MATE's own session manager (Debian's mate-session) on a virtual X display,
// with logind on the private system bus, and on request MATE's power manager
// (Debian's mate-power-manager) beside it, with the UPower it needs (without
// one it crashes at start). MATE's settings are a GSettings key file in a
// folder of this object's, which this process reads too (environment()).
class RealMateDesktop {
public:
    static bool installed() { return QFile::exists("/usr/bin/mate-session"); }

    RealMateDesktop(PrivateBus& session, PrivateBus& system)
    {
        setLidAction("suspend");
        m_env = QStringList{m_x.environment(), "XDG_CONFIG_DIRS=" + m_home.filePath("xdg")} + environment();
        m_manager = std::make_unique<BusService>(
            "/usr/bin/mate-session", QStringList{}, session, "org.gnome.SessionManager", system.address(), m_env);
    }

    // What a process reading MATE's settings here needs in its environment.
    QStringList environment() const { return {"XDG_CONFIG_HOME=" + m_home.path(), "GSETTINGS_BACKEND=keyfile"}; }
    bool started() const { return m_manager->started(); }
    // Starts UPower (its state in a folder of this object's) and the power
    // manager, in logind's /run; whether both run.
    bool startPowerManager(PrivateBus& session, PrivateBus& system, const RealLogind& logind)
    {
        m_upower = std::make_unique<BusService>("unshare",
            QStringList{"--mount", "sh", "-c", "mount --bind \"$0\" /var/lib/upower && exec /usr/libexec/upowerd",
                m_upowerState.path()},
            system, "org.freedesktop.UPower");
        if (!m_upower->started())
            return false;
        m_powerManager = std::make_unique<BusService>("unshare", logind.inItsRun("/usr/bin/mate-power-manager", {}),
            session, "org.mate.PowerManager", system.address(), m_env);
        return m_powerManager->started();
    }
    // The lid action on AC and on battery ("nothing", "suspend", …).
    void setLidAction(const QString& action)
    {
        QDir(m_home.path()).mkpath("glib-2.0/settings");
        QFile file(m_home.filePath("glib-2.0/settings/keyfile"));
        if (file.open(QIODevice::WriteOnly))
            file.write(QStringLiteral("[org/mate/session]\nrequired-components-list=@as []\n\n"
                                      "[org/mate/power-manager]\nbutton-lid-ac='%1'\nbutton-lid-battery='%1'\n")
                           .arg(action)
                           .toUtf8());
    }

private:
    QTemporaryDir m_home;
    VirtualDisplay m_x;
    QStringList m_env;
    std::unique_ptr<BusService> m_manager;
    QTemporaryDir m_upowerState;
    std::unique_ptr<BusService> m_upower;
    std::unique_ptr<BusService> m_powerManager;
};

} // namespace quillon::test
