#pragma once

#include "support/BusService.h"
#include "support/RealLogind.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace quillon::test {

// GNOME's own session manager (Debian's gnome-session-binary) on the private
// session bus, with logind on the private system bus and in logind's /run:
// a session of its built-in kind whose required components are none, so no
// shell or settings daemon starts with it. It serves org.gnome.SessionManager
// as on a GNOME desktop, and mirrors a suspend inhibition into a logind lock
// of its own.
class RealGnomeSession {
public:
    static constexpr const char* program = "/usr/libexec/gnome-session-binary";
    static bool installed() { return QFile::exists(program); }

    RealGnomeSession(PrivateBus& session, PrivateBus& system, const RealLogind& logind)
        : m_session(session)
        , m_system(system)
        , m_logind(logind)
    {
        QDir(m_home.path()).mkpath("data/gnome-session/sessions");
        QDir(m_home.path()).mkpath("autostart");
        QFile file(m_home.filePath("data/gnome-session/sessions/quillon-test.session"));
        if (file.open(QIODevice::WriteOnly))
            file.write("[GNOME Session]\nName=Quillon test\nRequiredComponents=\n");
        file.close();
        m_env = {"XDG_DATA_DIRS=" + m_home.filePath("data") + ":/usr/share", "XDG_CONFIG_HOME=" + m_home.path(),
            "XDG_CONFIG_DIRS=" + m_home.path(), "GSETTINGS_BACKEND=memory"};
        restart();
    }

    bool started() const { return m_manager && m_manager->started(); }
    // Ends the session manager, if it runs, and starts it again.
    bool restart()
    {
        m_manager.reset();
        m_manager = std::make_unique<BusService>("unshare",
            m_logind.inItsRun(program,
                {"--builtin", "--session=quillon-test", "--disable-acceleration-check", "-a",
                    m_home.filePath("autostart")}),
            m_session, "org.gnome.SessionManager", m_system.address(), m_env);
        return started();
    }

private:
    PrivateBus& m_session;
    PrivateBus& m_system;
    const RealLogind& m_logind;
    QTemporaryDir m_home;
    QStringList m_env;
    std::unique_ptr<BusService> m_manager;
};

} // namespace quillon::test
