#pragma once

#include "HelperLink.h"
#include "SdBusConnection.h"

#include <memory>
#include <optional>

struct sd_bus_message;

namespace quillon::app {

// The helper link over D-Bus, on the bus QUILLON_HELPER_BUS names, spoken
// with sd-bus on the main thread. (QtDBus hands every message to a thread of
// its own and back, which doubled the cost of the status poll, the app's one
// regular piece of work at rest.)
//
// The helper's name leaving the bus closes the connection (connectionLost);
// the name passing straight to a new owner is an interruption; the name
// coming back after it left (a restart) opens the connection again by itself
// (connectionRestored), once one had been opened. An error reply closes it
// (requestFailed), except a reply that did not come in time: a busy helper is
// slow, not gone (requestSlow). A status request still outstanding makes the
// next one a no-op, so a hung helper never piles up requests. The bus itself
// going away closes the connection too; the next connectIfNeeded() dials
// again.
class DBusHelperLink : public HelperLink {
    Q_OBJECT
public:
    static constexpr int kCallTimeoutMs = 5000;

    // bus: none when the setting was unusable (never available).
    // callTimeoutMs: how long a call may take before it counts as slow.
    explicit DBusHelperLink(std::optional<daemon::HelperBus::Setting> bus, int callTimeoutMs = kCallTimeoutMs,
        QObject* parent = nullptr);
    ~DBusHelperLink() override;

    // Asks the bus (blocking, at most a second): whether the helper's name
    // has an owner or can be started.
    bool helperAvailable() override;
    void connectIfNeeded() override;
    bool isOpen() const override { return m_open; }
    void invalidate() override;

    void getStatus(QObject* context, StatusReply reply) override;
    void setFanFloor(double percent, QObject* context, Reply reply) override;
    void stopBoost(QObject* context, Reply reply) override;
    void setLidStayAwake(bool on, QObject* context, Reply reply) override;

private:
    struct Call;
    using Answer = std::function<void(sd_bus_message* reply)>;

    // The bus connection, dialled when there is none; null when it cannot be reached.
    SdBusConnection* bus();
    void busLost();
    void watchName();
    void ownerChanged(const QString& oldOwner, const QString& newOwner);
    // The handlers sd-bus calls back: ownerChanged(), answered().
    friend struct SdBusCallbacks;
    static void answered(Call& call, sd_bus_message* reply);
    // Sends method with the arguments (sd_bus_message_append's signature and
    // values) to the helper; answer runs with the reply unless the context is
    // gone, with a reply of the signature `answers` or a timeout's error.
    // The call on its way; null when nothing was sent (the connection is
    // closed, or the message could not be made or queued).
    template <typename... Args>
    Call* call(QObject* context, const char* answers, Answer answer, const char* method, const char* signature,
        Args... args);
    template <typename... Args>
    void boolTextCall(QObject* context, Reply reply, const char* method, const char* signature, Args... args);
    void requestStatus(QObject* context, StatusReply reply);
    // A call that failed, or was answered with what it cannot read, closes
    // the connection it was made on, not a newer one; text says why.
    void failed(quint64 generation, const QString& text);

    std::optional<daemon::HelperBus::Setting> m_setting;
    std::unique_ptr<SdBusConnection> m_bus;
    int m_callTimeoutMs;
    quint64 m_generation = 0;
    bool m_open = false;
    bool m_statusPending = false;
    bool m_everOpened = false;
};

} // namespace quillon::app
