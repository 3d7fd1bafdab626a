#pragma once

#include "platform/ThermalPressure.h"

#include <optional>

namespace quillon::app {

class Notifier;
class Settings;

// The fan model's heat warnings: the system's thermal pressure level as the
// panel shows it, a notification when it turns to throttling (serious or
// critical), and one when the smoothed CPU temperature reaches
// kOverheatAlertC, which rearms once it has fallen below kOverheatRearmC
// (°C). Both notifications only while the user's heat alerts are on.
// thermal and notifier may be null: always nominal, nothing posted.
class HeatAlerts {
public:
    static constexpr double kOverheatAlertC = 95.0;
    static constexpr double kOverheatRearmC = 88.0;

    HeatAlerts(platform::ThermalPressure* thermal, const Settings& settings, Notifier* notifier);

    platform::ThermalPressure::Level level() const { return m_level; }
    // Reads the thermal pressure again; whether its level changed.
    bool updateLevel();
    // One new smoothed CPU temperature (none: no reading).
    void checkCpu(std::optional<double> cpuSmoothedC);

private:
    bool enabled() const;
    void notify(const QString& title, const QString& body) const;

    platform::ThermalPressure* m_thermal;
    const Settings& m_settings;
    Notifier* m_notifier;
    platform::ThermalPressure::Level m_level = platform::ThermalPressure::Level::nominal;
    bool m_throttleNotified = false;
    bool m_overheatNotified = false;
};

} // namespace quillon::app
