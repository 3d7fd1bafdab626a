#include "LineProcess.h"

#include "ChildProcess.h"

#include <QElapsedTimer>
#include <csignal>

namespace quillon::test {

LineProcess::~LineProcess()
{
    stop();
}

void LineProcess::stop()
{
    if (running()) {
        signal(SIGTERM);
        if (running() && !waitForExit(std::chrono::seconds(5))) {
            m_process.kill();
            m_process.waitForFinished(2000);
        }
    }
    m_lines.clear();
    m_pending.clear();
}

void LineProcess::start(
    const QString& program, const QStringList& args, const QStringList& env, const QString& stderrFile)
{
    m_process.setProcessEnvironment(ChildProcess::environment(env));
    if (!stderrFile.isEmpty())
        m_process.setStandardErrorFile(stderrFile);
    m_process.start(program, args);
    m_process.waitForStarted(5000);
}

QStringList LineProcess::lines()
{
    m_pending += m_process.readAllStandardOutput();
    for (qsizetype newline; (newline = m_pending.indexOf('\n')) >= 0; m_pending.remove(0, newline + 1))
        m_lines << QString::fromUtf8(m_pending.left(newline));
    return m_lines;
}

bool LineProcess::waitForLine(const QString& part, std::chrono::milliseconds timeout)
{
    QElapsedTimer timer;
    timer.start();
    while (lines().filter(part).isEmpty()) {
        if (timer.elapsed() > timeout.count() || !running())
            return false;
        m_process.waitForReadyRead(50);
    }
    return true;
}

void LineProcess::signal(int signalNumber)
{
    if (running())
        ::kill(static_cast<pid_t>(m_process.processId()), signalNumber);
}

std::optional<int> LineProcess::waitForExit(std::chrono::milliseconds timeout)
{
    if (running() && !m_process.waitForFinished(static_cast<int>(timeout.count())))
        return std::nullopt;
    if (m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

} // namespace quillon::test
