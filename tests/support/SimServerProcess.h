#pragma once

#include "ChildProcess.h"

#include <QProcess>
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
        m_process.start(QUILLON_HELPER_BIN, {"--smc-sim", path});
        ready = m_process.waitForStarted(5000) && m_process.waitForReadyRead(5000)
            && m_process.readLine().startsWith("Simulated Mac serving on");
    }
    ~SimServerProcess() { stop(); }

    // SIGTERM, then the exit code (-1 if it had to be killed).
    int stop()
    {
        if (m_process.state() == QProcess::NotRunning)
            return m_stoppedCode;
        ::kill(static_cast<pid_t>(m_process.processId()), SIGTERM);
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(2000);
            return m_stoppedCode = -1;
        }
        return m_stoppedCode = m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    QStringList env() const { return {"QUILLON_SMC=sim:" + path}; }

    QString path;
    bool ready = false;

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    int m_stoppedCode = -1;
};

} // namespace quillon::test
