#pragma once

#include <QObject>
#include <QString>

namespace quillon::platform {

// Tells when processes end. A watch is for the process that has the pid at
// the time watch() is called; a later process that reuses the pid is never
// taken for it.
class ProcessWatcher : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Starts watching; the process's command name, or empty with problem
    // set when there is no such process (or it has already ended).
    virtual QString watch(qint64 pid, QString& problem) = 0;
    // Stops watching without a signal.
    virtual void unwatch(qint64 pid) = 0;

signals:
    // A watched process ended; it is no longer watched.
    void exited(qint64 pid);
};

} // namespace quillon::platform
