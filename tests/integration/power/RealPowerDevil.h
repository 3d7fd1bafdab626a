#pragma once

#include "LogindWithSessions.h"
#include "VirtualDisplay.h"

#include "support/BusService.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QFile>
#include <QTemporaryDir>

namespace quillon::test {

// KDE's own power manager (Debian's powerdevil, org_kde_powerdevil) as a
// Plasma session runs it: on a virtual X display (Xvfb), as the leader of a
// logind session of its own, with its settings in a folder of this object's.
// Its other companions (UPower, KScreen, kglobalaccel) are absent: it runs on
// AC and says so in warnings.
class RealPowerDevil {
public:
    static bool installed() { return QFile::exists(QUILLON_POWERDEVIL); }

    RealPowerDevil(PrivateBus& session, PrivateBus& system, const LogindWithSessions& login)
        : m_session(session)
        , m_system(system)
        , m_login(login)
    {
        setLidActions(1, 1, 1);
        m_env = {m_x.environment(), "XDG_CONFIG_HOME=" + m_config.path(), "QT_QPA_PLATFORM=xcb"};
        if (!m_x.environment().isEmpty())
            restart();
    }

    bool started() const { return m_powerDevil && m_powerDevil->started(); }
    // Ends PowerDevil, if it runs, and starts it again in a new session, as
    // its restarting user service would.
    bool restart()
    {
        m_powerDevil.reset();
        m_powerDevil = std::make_unique<BusService>("unshare", m_login.inSession(QUILLON_POWERDEVIL, {}), m_session,
            "org.kde.Solid.PowerManagement.PolicyAgent", m_system.address(), m_env);
        return started();
    }
    // The folder PowerDevil reads its settings from (XDG_CONFIG_HOME).
    QString configHome() const { return m_config.path(); }
    // "When laptop lid closed" on AC, on battery and on low battery (0 "Do
    // nothing", 1 sleep), as System Settings writes it; a running PowerDevil
    // reloads it, as after System Settings' Apply.
    void setLidActions(int ac, int battery, int lowBattery)
    {
        QFile file(m_config.filePath("powermanagementprofilesrc"));
        if (file.open(QIODevice::WriteOnly))
            file.write(
                QStringLiteral("[AC]\nicon=battery-charging\n\n[AC][HandleButtonEvents]\nlidAction=%1\n\n"
                               "[Battery]\nicon=battery-060\n\n[Battery][HandleButtonEvents]\nlidAction=%2\n\n"
                               "[LowBattery]\nicon=battery-low\n\n[LowBattery][HandleButtonEvents]\nlidAction=%3\n")
                    .arg(ac)
                    .arg(battery)
                    .arg(lowBattery)
                    .toUtf8());
        file.close();
        if (started()) {
            call("/org/kde/Solid/PowerManagement", "org.kde.Solid.PowerManagement", "reparseConfiguration");
            call("/org/kde/Solid/PowerManagement", "org.kde.Solid.PowerManagement", "refreshStatus");
        }
    }
    // The lid action PowerDevil applies now, for the profile in use.
    int lidAction()
    {
        return call("/org/kde/Solid/PowerManagement/Actions/HandleButtonEvents",
            "org.kde.Solid.PowerManagement.Actions.HandleButtonEvents", "lidAction")
            .arguments()
            .value(0, -1)
            .toInt();
    }
    // PowerDevil's own list of inhibitions in force, as (who, why).
    QList<QStringList> inhibitions()
    {
        const QDBusMessage reply = call("/org/kde/Solid/PowerManagement/PolicyAgent",
            "org.kde.Solid.PowerManagement.PolicyAgent", "ListInhibitions");
        QList<QStringList> list;
        const auto array = reply.arguments().value(0).value<QDBusArgument>();
        array.beginArray();
        while (!array.atEnd()) {
            QString who;
            QString why;
            array.beginStructure();
            array >> who >> why;
            array.endStructure();
            list << QStringList{who, why};
        }
        array.endArray();
        std::sort(list.begin(), list.end());
        return list;
    }

private:
    QDBusMessage call(const QString& path, const QString& interface, const QString& method)
    {
        return m_session.connection().call(
            QDBusMessage::createMethodCall("org.kde.Solid.PowerManagement", path, interface, method));
    }

    PrivateBus& m_session;
    PrivateBus& m_system;
    const LogindWithSessions& m_login;
    QTemporaryDir m_config;
    VirtualDisplay m_x;
    QStringList m_env;
    std::unique_ptr<BusService> m_powerDevil;
};

} // namespace quillon::test
