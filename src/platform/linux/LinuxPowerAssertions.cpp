#include "LinuxPowerAssertions.h"

#include "CookieInhibitor.h"
#include "LogindInhibitor.h"
#include "PortalInhibitor.h"

namespace quillon::platform::linux_ {

LinuxPowerAssertions::LinuxPowerAssertions(QDBusConnection sessionBus, QDBusConnection systemBus)
{
    m_suspendRoutes.push_back(std::make_unique<PortalInhibitor>(sessionBus, PortalInhibitor::suspend));
    m_suspendRoutes.push_back(CookieInhibitor::gnomeSession(sessionBus, CookieInhibitor::gnomeSuspend));
    m_suspendRoutes.push_back(std::make_unique<LogindInhibitor>(systemBus, QStringLiteral("idle:sleep")));
    m_idleRoutes.push_back(std::make_unique<PortalInhibitor>(sessionBus, PortalInhibitor::idle));
    m_idleRoutes.push_back(CookieInhibitor::screenSaver(sessionBus));
}

LinuxPowerAssertions::~LinuxPowerAssertions() = default;

std::optional<PowerAssertionBackend::AssertionId> LinuxPowerAssertions::create(
    PowerAssertionType type, const QString& name)
{
    const auto& routes = type == PowerAssertionType::preventIdleDisplaySleep ? m_idleRoutes : m_suspendRoutes;
    for (const auto& route : routes) {
        if (auto held = route->inhibit(name)) {
            const AssertionId id = nextId();
            m_held.emplace(id, std::move(held));
            return id;
        }
    }
    return std::nullopt;
}

void LinuxPowerAssertions::release(AssertionId id)
{
    m_held.erase(id);
}

PowerAssertionBackend::AssertionId LinuxPowerAssertions::nextId()
{
    // Never 0, never one still in use, even after the counter wraps.
    do {
        ++m_lastId;
    } while (m_lastId == 0 || m_held.contains(m_lastId));
    return m_lastId;
}

} // namespace quillon::platform::linux_
