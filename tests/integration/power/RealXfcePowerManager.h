#pragma once

#include "VirtualDisplay.h"

#include "support/BusService.h"
#include "support/RealLogind.h"

#include <QTemporaryDir>

namespace quillon::test {

// Xfce's own power manager (Debian's xfce4-power-manager) as an Xfce desktop
// runs it: on a virtual X display (Xvfb), with Xfce's settings service
// (xfconfd) on the session bus, logind on the system bus, and in logind's
// /run, where it looks for seats before it takes the lid. Its settings live
// in a folder of this object's.
class RealXfcePowerManager {
public:
    RealXfcePowerManager(PrivateBus& session, PrivateBus& system, const RealLogind& logind)
        : m_session(session)
        , m_system(system)
        , m_logind(logind)
    {
        if (m_x.environment().isEmpty())
            return;
        m_env = {m_x.environment(), "XDG_CONFIG_HOME=" + m_config.path()};
        m_xfconf = std::make_unique<BusService>(
            QUILLON_XFCONFD, QStringList{}, m_session, "org.xfce.Xfconf", m_system.address(), m_env);
        if (m_xfconf->started())
            restart();
    }
    ~RealXfcePowerManager()
    {
        m_powerManager.reset();
        m_xfconf.reset();
    }

    bool started() const { return m_powerManager && m_powerManager->started(); }
    // Ends the power manager, if it runs, and starts it again.
    bool restart()
    {
        m_powerManager.reset();
        m_powerManager = std::make_unique<BusService>("unshare",
            m_logind.inItsRun("xfce4-power-manager", {"--no-daemon", "--sm-client-disable"}), m_session,
            "org.xfce.PowerManager", m_system.address(), m_env);
        return started();
    }

private:
    PrivateBus& m_session;
    PrivateBus& m_system;
    const RealLogind& m_logind;
    QTemporaryDir m_config;
    VirtualDisplay m_x;
    QStringList m_env;
    std::unique_ptr<BusService> m_xfconf;
    std::unique_ptr<BusService> m_powerManager;
};

} // namespace quillon::test
