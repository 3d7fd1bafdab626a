#pragma once

#include "Inhibitor.h"
#include "platform/PowerAssertionBackend.h"

#include <QDBusConnection>
#include <map>
#include <vector>

namespace quillon::platform::linux_ {

// Power assertions on a Linux desktop. Each assertion is one inhibition,
// taken from the first service that grants it:
//   system sleep, network: portal Suspend, GNOME session Suspend, logind "idle:sleep" block lock;
//   display sleep:         portal Idle, org.freedesktop.ScreenSaver.
// The portal comes first because it applies the desktop's own policy and is
// all a sandbox can reach. Every assertion carries its name as the reason the
// desktop shows ("what is keeping the computer awake").
class LinuxPowerAssertions : public PowerAssertionBackend {
public:
    LinuxPowerAssertions(QDBusConnection sessionBus, QDBusConnection systemBus);
    ~LinuxPowerAssertions() override;

    std::optional<AssertionId> create(PowerAssertionType type, const QString& name) override;
    void release(AssertionId id) override;

private:
    AssertionId nextId();

    std::vector<std::unique_ptr<Inhibitor>> m_suspendRoutes;
    std::vector<std::unique_ptr<Inhibitor>> m_idleRoutes;
    std::map<AssertionId, std::unique_ptr<Inhibitor::Held>> m_held;
    AssertionId m_lastId = 0;
};

} // namespace quillon::platform::linux_
