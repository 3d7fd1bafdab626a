#pragma once

#include "VirtualDisplay.h"

#include "support/BusService.h"

#include <QFile>
#include <QTemporaryDir>

namespace quillon::test {

// xdg-desktop-portal with its GTK backend and the permission store, Debian's
// own, on the private session bus, as a desktop that names itself desktop
// runs them (the GTK backend needs an X display: a virtual one).
class RealPortal {
public:
    static constexpr const char* program = "/usr/libexec/xdg-desktop-portal";
    static constexpr const char* gtkBackend = "/usr/libexec/xdg-desktop-portal-gtk";
    static bool installed() { return QFile::exists(program) && QFile::exists(gtkBackend); }

    RealPortal(PrivateBus& session, const QString& desktop)
        : m_session(session)
        , m_env{m_x.environment(), "XDG_CURRENT_DESKTOP=" + desktop, "XDG_DATA_HOME=" + m_home.path(),
              "XDG_CONFIG_HOME=" + m_home.path(), "GSETTINGS_BACKEND=memory"}
    {
        m_store = std::make_unique<BusService>("/usr/libexec/xdg-permission-store", QStringList{"--replace"}, m_session,
            "org.freedesktop.impl.portal.PermissionStore", QString(), m_env);
        if (m_store->started())
            restart();
    }

    bool started() const { return m_portal && m_portal->started(); }
    // Ends the portal and its backend, if they run, and starts them again.
    bool restart()
    {
        m_portal.reset();
        m_backend.reset();
        m_backend = std::make_unique<BusService>(
            gtkBackend, QStringList{}, m_session, "org.freedesktop.impl.portal.desktop.gtk", QString(), m_env);
        if (!m_backend->started())
            return false;
        m_portal = std::make_unique<BusService>(
            program, QStringList{}, m_session, "org.freedesktop.portal.Desktop", QString(), m_env);
        return started();
    }

private:
    PrivateBus& m_session;
    QTemporaryDir m_home;
    VirtualDisplay m_x;
    QStringList m_env;
    std::unique_ptr<BusService> m_store;
    std::unique_ptr<BusService> m_backend;
    std::unique_ptr<BusService> m_portal;
};

} // namespace quillon::test
