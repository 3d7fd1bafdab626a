#pragma once

#include "SleepAssertions.h"

#include <QList>
#include <QObject>
#include <memory>

namespace quillon::platform {
class ProcessWatcher;
}

namespace quillon::app {

// Keeps the system and the display awake while given processes run (a
// render, a backup, `quillon ctl awake -- COMMAND`): its own assertions,
// held while any watched process lives and let go by themselves when the
// last one ends. Main thread only.
class ProcessKeepAwake : public QObject {
    Q_OBJECT
public:
    struct Watched {
        qint64 pid = 0;
        QString command;
    };

    // Each watch holds a file descriptor; a few dozen cover any real use.
    static constexpr int maxProcesses = 64;

    // watcher: null means no process can be watched.
    ProcessKeepAwake(std::shared_ptr<platform::PowerAssertionBackend> assertions, platform::ProcessWatcher* watcher,
        QObject* parent = nullptr);

    // Watches pid; false with the reason when there is no such process,
    // when it is one that ends only with the system or this app (init, the
    // app itself), or when maxProcesses are watched already. Watching one
    // already watched changes nothing.
    bool keepAwakeWhile(qint64 pid, QString& problem);
    // Forgets every process and lets go.
    void stopAll();

    const QList<Watched>& processes() const { return m_processes; }
    // Whether any process is watched.
    bool active() const { return !m_processes.isEmpty(); }
    const SleepAssertions& assertions() const { return m_assertions; }
    SleepAssertions& assertions() { return m_assertions; }

signals:
    void changed();

private:
    void onExited(qint64 pid);

    platform::ProcessWatcher* m_watcher;
    SleepAssertions m_assertions;
    QList<Watched> m_processes;
};

} // namespace quillon::app
