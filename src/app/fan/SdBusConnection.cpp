#include "SdBusConnection.h"

#include <poll.h>
#include <systemd/sd-bus.h>
#include <time.h>

#include <cstring>
#include <limits>

namespace quillon::app {

namespace {

sd_bus* openBus(const daemon::HelperBus::Setting& setting, int& result)
{
    sd_bus* bus = nullptr;
    switch (setting.kind) {
    case daemon::HelperBus::Kind::system:
        result = sd_bus_open_system(&bus);
        return result < 0 ? nullptr : bus;
    case daemon::HelperBus::Kind::session:
        result = sd_bus_open_user(&bus);
        return result < 0 ? nullptr : bus;
    case daemon::HelperBus::Kind::address:
        break;
    }
    result = sd_bus_new(&bus);
    if (result < 0)
        return nullptr;
    const QByteArray address = setting.address.toUtf8();
    if ((result = sd_bus_set_address(bus, address.constData())) < 0 || (result = sd_bus_set_bus_client(bus, 1)) < 0
        || (result = sd_bus_start(bus)) < 0) {
        sd_bus_unref(bus);
        return nullptr;
    }
    return bus;
}

quint64 monotonicMicroseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<quint64>(now.tv_sec) * 1000000u + static_cast<quint64>(now.tv_nsec) / 1000u;
}

} // namespace

std::unique_ptr<SdBusConnection> SdBusConnection::open(const daemon::HelperBus::Setting& setting, QString& error)
{
    int result = 0;
    sd_bus* bus = openBus(setting, result);
    if (!bus) {
        error = QStringLiteral("cannot connect to the %1 bus: %2")
                    .arg(daemon::HelperBus::describe(setting), QString::fromLocal8Bit(std::strerror(-result)));
        return nullptr;
    }
    std::unique_ptr<SdBusConnection> connection(new SdBusConnection(bus));
    connection->pump(); // sends the greeting the bus expects first
    return connection;
}

SdBusConnection::SdBusConnection(sd_bus* bus)
    : m_bus(bus)
{
    const int fd = sd_bus_get_fd(bus);
    m_readable = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    m_writable = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Write);
    m_writable->setEnabled(false);
    connect(m_readable.get(), &QSocketNotifier::activated, this, &SdBusConnection::pump);
    connect(m_writable.get(), &QSocketNotifier::activated, this, &SdBusConnection::pump);
    m_deadline.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, &SdBusConnection::pump);
}

SdBusConnection::~SdBusConnection()
{
    // No flush: a hung bus must not hold up the app's exit. Messages leave
    // when sent unless the socket is full.
    if (m_bus)
        sd_bus_close_unref(m_bus);
}

void SdBusConnection::pump()
{
    // A handler run from sd_bus_process may queue a call and pump again.
    if (!m_bus || m_pumping)
        return;
    m_pumping = true;
    int result = 0;
    while ((result = sd_bus_process(m_bus, nullptr)) > 0) {
    }
    m_pumping = false;
    if (result < 0) {
        close();
        // From the event loop: a handler may replace this connection, which
        // must not happen inside its own notifier's signal.
        QMetaObject::invokeMethod(this, &SdBusConnection::disconnected, Qt::QueuedConnection);
        return;
    }
    rearm();
}

void SdBusConnection::readAhead()
{
    QMetaObject::invokeMethod(this, &SdBusConnection::pump, Qt::QueuedConnection);
}

void SdBusConnection::rearm()
{
    const int events = sd_bus_get_events(m_bus);
    m_writable->setEnabled(events > 0 && (events & POLLOUT));
    uint64_t until = std::numeric_limits<uint64_t>::max();
    if (sd_bus_get_timeout(m_bus, &until) < 0 || until == std::numeric_limits<uint64_t>::max()) {
        m_deadline.stop();
        return;
    }
    const quint64 now = monotonicMicroseconds();
    const quint64 leftUs = until > now ? until - now : 0;
    m_deadline.start(static_cast<int>(std::min<quint64>((leftUs + 999) / 1000, std::numeric_limits<int>::max())));
}

void SdBusConnection::close()
{
    m_readable->setEnabled(false);
    m_writable->setEnabled(false);
    m_deadline.stop();
    sd_bus_close_unref(m_bus);
    m_bus = nullptr;
}

} // namespace quillon::app
