#pragma once

#include "PolkitAuthority.h"

#include <QDBusConnection>

namespace quillon::daemon {

// polkit's authority (org.freedesktop.PolicyKit1 on the system bus), asked
// asynchronously with CheckAuthorization for a "system-bus-name" subject.
// User interaction is allowed: an administrator who tightens the shipped
// policy to auth_admin gets a password prompt instead of a refusal.
class PolkitDBusAuthority : public PolkitAuthority {
public:
    // How long a check may take, prompt included.
    static constexpr int kCallTimeoutMs = 120'000;

    explicit PolkitDBusAuthority(QDBusConnection systemBus);

    void check(const std::string& busName, std::string_view actionId, Callback done) override;

private:
    QDBusConnection m_bus;
};

} // namespace quillon::daemon
