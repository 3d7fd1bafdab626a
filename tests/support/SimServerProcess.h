#pragma once

#include "LineProcess.h"

#include <QTemporaryDir>
#include <csignal>

namespace quillon::test {

// `quillon-helper --smc-sim` in a temporary directory, stopped with SIGTERM
// when the test ends. env() is what a client process needs to reach it.
class SimServerProcess {
public:
    SimServerProcess()
    {
        path = m_dir.path() + "/mac.sock";
        m_process.start(QUILLON_HELPER_BIN, {"--smc-sim", path}, {});
        ready = m_process.waitForLine("Simulated Mac serving on", std::chrono::seconds(5));
    }

    // SIGTERM, then the exit code (-1 if it did not exit cleanly in time).
    int stop()
    {
        m_process.signal(SIGTERM);
        return m_process.waitForExit(std::chrono::seconds(5)).value_or(-1);
    }

    QStringList env() const { return {"QUILLON_SMC=sim:" + path}; }
    qint64 pid() const { return m_process.pid(); }

    QString path;
    bool ready = false;

private:
    QTemporaryDir m_dir;
    LineProcess m_process;
};

} // namespace quillon::test
