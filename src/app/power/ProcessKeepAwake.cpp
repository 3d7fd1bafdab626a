#include "ProcessKeepAwake.h"

#include "platform/ProcessWatcher.h"

#include <QCoreApplication>
#include <algorithm>

namespace quillon::app {

ProcessKeepAwake::ProcessKeepAwake(
    std::shared_ptr<platform::PowerAssertionBackend> assertions, platform::ProcessWatcher* watcher, QObject* parent)
    : QObject(parent)
    , m_watcher(watcher)
    , m_assertions(std::move(assertions))
{
    if (m_watcher)
        connect(m_watcher, &platform::ProcessWatcher::exited, this, &ProcessKeepAwake::onExited);
    connect(&m_assertions, &SleepAssertions::stateChanged, this, &ProcessKeepAwake::changed);
}

bool ProcessKeepAwake::keepAwakeWhile(qint64 pid, QString& problem)
{
    if (!m_watcher) {
        problem = tr("processes cannot be watched here");
        return false;
    }
    if (std::any_of(m_processes.begin(), m_processes.end(), [pid](const Watched& w) { return w.pid == pid; }))
        return true;
    if (pid == 1 || pid == QCoreApplication::applicationPid()) {
        problem = tr("process %1 runs until the computer or Quillon stops, so keep-awake would never end; "
                     "use quillon ctl awake without --while to keep awake until turned off")
                      .arg(pid);
        return false;
    }
    if (m_processes.size() >= maxProcesses) {
        problem = tr("already keeping awake while %1 processes run, the most there can be").arg(maxProcesses);
        return false;
    }
    const QString command = m_watcher->watch(pid, problem);
    if (command.isEmpty() && !problem.isEmpty())
        return false;
    m_processes.append({pid, command});
    m_assertions.start(SleepAssertions::Kind::system);
    m_assertions.start(SleepAssertions::Kind::display);
    emit changed();
    return true;
}

void ProcessKeepAwake::stopAll()
{
    for (const Watched& watched : std::as_const(m_processes))
        m_watcher->unwatch(watched.pid);
    m_processes.clear();
    m_assertions.stopAll();
    emit changed();
}

void ProcessKeepAwake::onExited(qint64 pid)
{
    if (m_processes.removeIf([pid](const Watched& w) { return w.pid == pid; }) == 0)
        return;
    if (m_processes.isEmpty())
        m_assertions.stopAll();
    emit changed();
}

} // namespace quillon::app
