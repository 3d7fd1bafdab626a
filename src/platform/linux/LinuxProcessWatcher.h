#pragma once

#include "platform/ProcessWatcher.h"

#include <QHash>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>

namespace quillon::platform::linux_ {

// Process ends through pidfds (Linux 5.3 and later): the kernel wakes us
// the moment a watched process exits, and a pidfd always refers to the
// process it was opened for, never to a later one with the same pid.
// Without pidfds, each process is checked every second by its start time
// in /proc/PID/stat, which a reused pid does not share.
class LinuxProcessWatcher : public ProcessWatcher {
    Q_OBJECT
public:
    static constexpr int kPollMs = 1000;

    explicit LinuxProcessWatcher(QObject* parent = nullptr);
    ~LinuxProcessWatcher() override;

    QString watch(qint64 pid, QString& problem) override;
    void unwatch(qint64 pid) override;

    // The start time field of /proc/PID/stat; empty when there is no such (live) process.
    static QByteArray startTime(qint64 pid);

private:
    struct Watch {
        int pidfd = -1;
        QSocketNotifier* notifier = nullptr; // a child of the watcher
        QByteArray startTime;                // without a pidfd
    };

    void ended(qint64 pid);
    void poll();

    QHash<qint64, std::shared_ptr<Watch>> m_watches;
    QTimer m_poll;
};

} // namespace quillon::platform::linux_
