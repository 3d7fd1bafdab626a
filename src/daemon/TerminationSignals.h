#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <memory>

namespace quillon::daemon {

// Turns SIGTERM and SIGINT into a Qt signal on the main thread, where the
// helper can release the fans with the full state at hand (a signal handler
// itself may do next to nothing). SIGPIPE and SIGHUP are ignored: a client
// vanishing mid-reply or a closed terminal is no reason to stop.
// One instance per process.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    TerminationSignals();
    ~TerminationSignals() override;

    // False when the signals could not be routed (no pipe): they then end
    // the process as usual, and only the unit's stop-time release runs.
    bool active() const { return m_notifier != nullptr; }

signals:
    void received(int signalNumber);

private:
    void drain();

    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace quillon::daemon
