#pragma once

#include "support/BusService.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <memory>
#include <unistd.h>

namespace quillon::test {

// systemd-logind itself, serving a private bus, in a mount namespace of its
// own whose /run is a folder of this object's: its seats, sessions and
// inhibitor FIFOs live there and it never sees the machine's. It runs as
// root, as on any machine; canRun() says whether this process may start it.
class RealLogind {
public:
    static constexpr const char* logindProgram = "/lib/systemd/systemd-logind";
    static bool canRun() { return geteuid() == 0; }

    // wrapper, when given, is a command line that runs the rest (logind in
    // its mount namespace) in a setting of its own.
    explicit RealLogind(PrivateBus& bus, QStringList wrapper = {})
        : m_bus(bus)
        , m_wrapper(std::move(wrapper))
    {
        // No virtual terminals to allocate on a machine without a console.
        QDir(m_run.path()).mkpath("systemd/logind.conf.d");
        QFile dropIn(m_run.filePath("systemd/logind.conf.d/test.conf"));
        if (dropIn.open(QIODevice::WriteOnly))
            dropIn.write("[Login]\nNAutoVTs=0\nReserveVT=0\n");
        start();
    }

    bool started() const { return m_service && m_service->started(); }
    // unshare's arguments that run program in a mount namespace whose /run is
    // logind's, for desktop services that look there for logind's seats.
    QStringList inItsRun(const QString& program, const QStringList& args) const
    {
        return QStringList{"--mount", "sh", "-c", "mount --bind \"$0\" /run && exec \"$@\"", m_run.path(), program}
        + args;
    }
    // Ends logind and starts it again on the same /run, as systemd restarts
    // it: it takes back the locks its FIFOs there still hold.
    bool restart()
    {
        m_service.reset();
        // A logind that finds its name still taken gives up: the bus lets go of it a moment after the old one ends.
        waitUntil(
            [&] { return !m_bus.connection().interface()->isServiceRegistered("org.freedesktop.login1").value(); });
        start();
        return started();
    }

private:
    void start()
    {
        // The wrapper, unshare and sh exec in turn, so the process stopped is logind itself.
        const QStringList command = m_wrapper + QStringList{"unshare"} + inItsRun(logindProgram, {});
        m_service = std::make_unique<BusService>(command.first(), command.mid(1), m_bus, "org.freedesktop.login1");
    }

    PrivateBus& m_bus;
    QStringList m_wrapper;
    QTemporaryDir m_run;
    std::unique_ptr<BusService> m_service;
};

} // namespace quillon::test
