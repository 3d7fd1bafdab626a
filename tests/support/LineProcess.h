#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <chrono>
#include <optional>

namespace quillon::test {

// A child process whose output is read line by line as it comes; stopped
// with SIGTERM (then SIGKILL) when destroyed.
class LineProcess {
public:
    ~LineProcess();
    // env as in ChildProcess; stderrFile: where standard error goes instead.
    void start(const QString& program, const QStringList& args, const QStringList& env, const QString& stderrFile = {});
    bool waitForLine(const QString& part, std::chrono::milliseconds timeout);
    QStringList lines();
    qint64 pid() const { return m_process.processId(); }
    bool running() const { return m_process.state() != QProcess::NotRunning; }
    void signal(int signalNumber);
    // SIGTERM, then SIGKILL after 5 s; forgets the lines read. Nothing when not running.
    void stop();
    // The exit code, once it has exited normally within timeout.
    std::optional<int> waitForExit(std::chrono::milliseconds timeout);

private:
    QProcess m_process;
    QStringList m_lines;
    QByteArray m_pending;
};

} // namespace quillon::test
