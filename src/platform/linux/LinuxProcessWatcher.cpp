#include "LinuxProcessWatcher.h"

#include <QFile>
#include <algorithm>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillon::platform::linux_ {

namespace {

int openPidfd(qint64 pid)
{
#ifdef SYS_pidfd_open
    return static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(pid), 0));
#else
    Q_UNUSED(pid);
    return -1;
#endif
}

QByteArray procFile(qint64 pid, const char* name)
{
    QFile file(QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(name)));
    return file.open(QIODevice::ReadOnly) ? file.read(4096) : QByteArray();
}

} // namespace

LinuxProcessWatcher::LinuxProcessWatcher(QObject* parent)
    : ProcessWatcher(parent)
{
    m_poll.setInterval(kPollMs);
    connect(&m_poll, &QTimer::timeout, this, &LinuxProcessWatcher::poll);
}

LinuxProcessWatcher::~LinuxProcessWatcher()
{
    for (const qint64 pid : m_watches.keys())
        unwatch(pid);
}

QByteArray LinuxProcessWatcher::startTime(qint64 pid)
{
    const QByteArray stat = procFile(pid, "stat");
    // The command name may hold spaces and parentheses: the fields follow the last ")".
    const qsizetype close = stat.lastIndexOf(')');
    if (close < 0)
        return {};
    const QList<QByteArray> fields = stat.mid(close + 2).split(' ');
    // state is the first field, starttime the 20th.
    if (fields.size() < 20 || fields[0] == "Z" || fields[0] == "X")
        return {};
    return fields[19];
}

QString LinuxProcessWatcher::watch(qint64 pid, QString& problem)
{
    if (m_watches.contains(pid))
        return QString::fromUtf8(procFile(pid, "comm")).trimmed();
    const QByteArray started = pid > 0 ? startTime(pid) : QByteArray();
    if (started.isEmpty()) {
        problem = QStringLiteral("no process %1 is running").arg(pid);
        return {};
    }
    const QString command = QString::fromUtf8(procFile(pid, "comm")).trimmed();
    auto watch = std::make_shared<Watch>();
    watch->pidfd = openPidfd(pid);
    if (watch->pidfd >= 0) {
        watch->notifier = new QSocketNotifier(watch->pidfd, QSocketNotifier::Read, this);
        connect(watch->notifier, &QSocketNotifier::activated, this, [this, pid] { ended(pid); });
    } else {
        watch->startTime = started;
        m_poll.start();
    }
    m_watches.insert(pid, watch);
    return command;
}

void LinuxProcessWatcher::unwatch(qint64 pid)
{
    const auto watch = m_watches.take(pid);
    if (!watch)
        return;
    if (watch->notifier) {
        // Possibly from its own activated(): deleted once that has returned.
        watch->notifier->setEnabled(false);
        watch->notifier->deleteLater();
    }
    if (watch->pidfd >= 0)
        ::close(watch->pidfd);
}

void LinuxProcessWatcher::ended(qint64 pid)
{
    unwatch(pid);
    emit exited(pid);
}

void LinuxProcessWatcher::poll()
{
    QList<qint64> gone;
    for (auto it = m_watches.cbegin(); it != m_watches.cend(); ++it) {
        if (it.value()->pidfd < 0 && startTime(it.key()) != it.value()->startTime)
            gone.append(it.key());
    }
    for (const qint64 pid : gone)
        ended(pid);
    if (std::none_of(m_watches.cbegin(), m_watches.cend(), [](const auto& watch) { return watch->pidfd < 0; }))
        m_poll.stop();
}

} // namespace quillon::platform::linux_
