#include "HeatAlerts.h"

#include "app/Notifier.h"
#include "app/Settings.h"

#include <QCoreApplication>

namespace quillon::app {

using Level = platform::ThermalPressure::Level;

// The texts keep the fan model's translation context (they are its
// notifications), spelled out at each use so that lupdate finds them.

HeatAlerts::HeatAlerts(platform::ThermalPressure* thermal, const Settings& settings, Notifier* notifier)
    : m_thermal(thermal)
    , m_settings(settings)
    , m_notifier(notifier)
{
    if (m_thermal)
        m_level = m_thermal->level();
}

bool HeatAlerts::updateLevel()
{
    const Level level = m_thermal ? m_thermal->level() : Level::nominal;
    const bool changed = level != m_level;
    m_level = level;
    const bool throttling = level == Level::serious || level == Level::critical;
    if (throttling && !m_throttleNotified && enabled())
        notify(QCoreApplication::translate("quillon::app::FanController", "⚠️ Mac is throttling"),
            QCoreApplication::translate(
                "quillon::app::FanController", "Thermal pressure is high — heat protection is keeping the fans up."));
    m_throttleNotified = throttling;
    return changed;
}

void HeatAlerts::checkCpu(std::optional<double> cpuSmoothedC)
{
    if (!enabled())
        return;
    const double t = cpuSmoothedC.value_or(0.0);
    if (t >= kOverheatAlertC && !m_overheatNotified) {
        m_overheatNotified = true;
        notify(QCoreApplication::translate("quillon::app::FanController", "🔥 CPU running very hot"),
            QCoreApplication::translate("quillon::app::FanController", "The CPU is at %1 °C.").arg(t, 0, 'f', 0));
    }
    if (t < kOverheatRearmC)
        m_overheatNotified = false;
}

bool HeatAlerts::enabled() const
{
    return m_settings.flag(Settings::Key::heatAlerts);
}

void HeatAlerts::notify(const QString& title, const QString& body) const
{
    if (m_notifier)
        m_notifier->notify(title, body);
}

} // namespace quillon::app
