#pragma once

#include "HelperLink.h"

#include <QDBusConnection>
#include <QPointer>
#include <memory>

class FanHelperProxy;
class QDBusError;
class QDBusServiceWatcher;

namespace quillon::app {

// The helper link over D-Bus: the proxy generated from the helper's interface
// description, on the bus QUILLON_HELPER_BUS names. The helper's name leaving
// the bus closes the connection (connectionLost); the name passing straight
// to a new owner is an interruption; the name coming back after it left (a
// restart) opens the connection again by itself (connectionRestored), once
// one had been opened. An error reply closes it (requestFailed), except a
// reply that did not come in time: a busy helper is slow, not gone
// (requestSlow). A status request still outstanding makes the next one a
// no-op, so a hung helper never piles up requests.
class DBusHelperLink : public HelperLink {
    Q_OBJECT
public:
    static constexpr int kCallTimeoutMs = 5000;

    // callTimeoutMs: how long a call may take before it counts as slow.
    explicit DBusHelperLink(const QDBusConnection& bus, int callTimeoutMs = kCallTimeoutMs, QObject* parent = nullptr);
    ~DBusHelperLink() override;

    bool helperAvailable() override;
    void connectIfNeeded() override;
    bool isOpen() const override { return m_proxy != nullptr; }
    void invalidate() override;

    void getStatus(QObject* context, StatusReply reply) override;
    void setFanFloor(double percent, QObject* context, Reply reply) override;
    void stopBoost(QObject* context, Reply reply) override;
    void setLidStayAwake(bool on, QObject* context, Reply reply) override;

    // The status payload with nested D-Bus containers ("fans") turned into
    // plain lists and maps.
    static QVariantMap plainStatus(const QVariantMap& status);

private:
    void onOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    void requestStatus(QObject* context, StatusReply reply);
    template <typename Call> void boolTextCall(Call call, QObject* context, Reply reply);
    // A failed call closes the connection it was made on, not a newer one;
    // a timed-out one closes nothing.
    void failed(quint64 generation, const QDBusError& error);
    void watchName();

    QDBusConnection m_bus;
    std::unique_ptr<FanHelperProxy> m_proxy;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    int m_callTimeoutMs;
    quint64 m_generation = 0;
    bool m_statusPending = false;
    bool m_everOpened = false;
};

} // namespace quillon::app
