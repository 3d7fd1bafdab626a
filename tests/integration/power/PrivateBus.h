#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <memory>

namespace quillon::test {

// A dbus-daemon of our own for one test: no activatable services, anyone may
// own any name, so the services a test starts are the only ones there.
class PrivateBus {
public:
    PrivateBus()
    {
        const QString config = m_dir.filePath("bus.conf");
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write("<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                   " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                   "<busconfig><type>session</type><listen>unix:dir="
            + m_dir.path().toUtf8()
            + "</listen>"
              "<auth>EXTERNAL</auth>"
              "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
              "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
              "</busconfig>\n");
        file.close();
        m_daemon.start("dbus-daemon", {"--config-file=" + config, "--nofork", "--print-address=1"});
        if (m_daemon.waitForStarted(5000) && m_daemon.waitForReadyRead(5000))
            m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
        static int serial = 0;
        m_name = QStringLiteral("quillon-test-bus-%1").arg(++serial);
        m_connection = std::make_unique<QDBusConnection>(QDBusConnection::connectToBus(m_address, m_name));
    }
    ~PrivateBus()
    {
        m_connection.reset();
        QDBusConnection::disconnectFromBus(m_name);
        m_daemon.terminate();
        m_daemon.waitForFinished(3000);
    }

    QString address() const { return m_address; }
    // The test's own connection (also the one the code under test uses).
    QDBusConnection& connection() { return *m_connection; }
    bool isConnected() const { return m_connection && m_connection->isConnected(); }

private:
    QTemporaryDir m_dir;
    QProcess m_daemon;
    QString m_address;
    QString m_name;
    std::unique_ptr<QDBusConnection> m_connection;
};

// A process that serves a name on a private bus (python3-dbusmock, a
// stand-in script), stopped when this object goes.
class BusService {
public:
    // Starts program with the bus given as both session and system bus and
    // waits until it owns name. started() says whether it did.
    BusService(const QString& program, const QStringList& args, PrivateBus& bus, const QString& name)
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
        env.insert("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
        m_process.setProcessEnvironment(env);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(program, args);
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < 10000 && m_process.state() != QProcess::NotRunning) {
            if (bus.connection().interface()->isServiceRegistered(name)) {
                m_started = true;
                break;
            }
            QThread::msleep(20);
        }
    }
    ~BusService() { stop(); }

    bool started() const { return m_started; }
    void stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return;
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
