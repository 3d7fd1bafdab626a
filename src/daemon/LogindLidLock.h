#pragma once

#include "LidLock.h"

#include <QDBusConnection>

namespace quillon::daemon {

// The lid lock as a systemd-logind "handle-lid-switch" block inhibitor: while
// the helper holds the descriptor logind hands out, closing the lid does not
// suspend the machine. The lock ends when the descriptor is closed, by
// release() or by the process ending, so no crash can leave it behind.
class LogindLidLock : public LidLock {
public:
    // bus: where logind lives (the system bus).
    explicit LogindLidLock(QDBusConnection bus);
    ~LogindLidLock() override;
    LogindLidLock(const LogindLidLock&) = delete;
    LogindLidLock& operator=(const LogindLidLock&) = delete;

    // Asks logind synchronously (at most kCallTimeoutMs).
    bool hold(std::string& error) override;
    void release() override;
    bool held() const override { return m_fd >= 0; }

    static constexpr int kCallTimeoutMs = 5000;

private:
    QDBusConnection m_bus;
    int m_fd = -1;
};

} // namespace quillon::daemon
