#pragma once

#include "daemon/HelperBus.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <memory>

struct sd_bus;

namespace quillon::app {

// One sd-bus connection, driven by the Qt event loop of the thread that made
// it: its socket is watched for reading (and for writing while messages wait
// to leave), and sd-bus's next deadline (a call's timeout) is a timer. Every
// message is sent, received and handled on that thread; nothing else is
// woken. After queueing a message or making a blocking call, the owner says
// so (queued(), readAhead()).
//
// open() fails (nullptr, error set) when the bus cannot be reached. A
// connection that breaks later is closed and signals disconnected() once;
// it is then of no further use.
class SdBusConnection : public QObject {
    Q_OBJECT
public:
    static std::unique_ptr<SdBusConnection> open(const daemon::HelperBus::Setting& setting, QString& error);
    ~SdBusConnection() override;

    sd_bus* bus() const { return m_bus; }
    bool isConnected() const { return m_bus != nullptr; }
    // Handles every message that has arrived and re-arms the watches.
    void pump();
    // After queueing a message: watches for the socket to take it.
    void queued() { rearm(); }
    // After a blocking call, which may have read other messages ahead: they
    // are handled from the event loop.
    void readAhead();

signals:
    void disconnected();

private:
    explicit SdBusConnection(sd_bus* bus);
    void rearm();
    void close();

    sd_bus* m_bus;
    std::unique_ptr<QSocketNotifier> m_readable;
    std::unique_ptr<QSocketNotifier> m_writable;
    QTimer m_deadline;
    bool m_pumping = false;
};

} // namespace quillon::app
