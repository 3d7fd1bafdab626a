#pragma once

#include "support/ChildProcess.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"

#include <QDBusConnectionInterface>

namespace quillon::test {

// A process that serves a name on a private bus (python3-dbusmock, a
// stand-in script), with that bus as both its session and its system bus;
// stopped when this object goes.
class BusService {
public:
    // Starts program and waits until it owns name; started() says whether it
    // did. Its system bus is systemAddress, or bus when empty; env as for
    // ChildProcess::environment.
    BusService(const QString& program, const QStringList& args, PrivateBus& bus, const QString& name,
        const QString& systemAddress = {}, const QStringList& env = {})
    {
        m_process.setProcessEnvironment(ChildProcess::environment(
            QStringList{"DBUS_SESSION_BUS_ADDRESS=" + bus.address(),
                "DBUS_SYSTEM_BUS_ADDRESS=" + (systemAddress.isEmpty() ? bus.address() : systemAddress)}
            + env));
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program, args);
        const auto served = [&] {
            return bus.connection().interface()->isServiceRegistered(name).value();
        };
        m_started
            = waitUntil([&] { return served() || m_process.state() == QProcess::NotRunning; }, std::chrono::seconds(10))
            && served();
    }
    ~BusService() { stop(); }

    bool started() const { return m_started; }
    void stop()
    {
        m_process.terminate();
        if (!m_process.waitForFinished(3000)) {
            m_process.kill();
            m_process.waitForFinished(3000);
        }
    }

private:
    QProcess m_process;
    bool m_started = false;
};

} // namespace quillon::test
