#include "FanCommands.h"

#include "EchoedInput.h"
#include "app/fan/FanController.h"
#include "app/power/SleepManager.h"

#include "core/FanFloor.h"

#include <cmath>

namespace quillon::ui {

FanCommands::FanCommands(app::SleepManager& manager)
    : m_manager(manager)
{
}

bool FanCommands::available(QString& text) const
{
    if (m_manager.fan()->helperInstalled())
        return true;
    text = QStringLiteral("fan control needs the fan helper, which is not installed");
    return false;
}

bool FanCommands::off(QString& text)
{
    if (!available(text))
        return false;
    app::FanController::UserAction action(*m_manager.fan());
    m_manager.fan()->setFansEnabled(false);
    text = QStringLiteral("fan control off; the firmware runs the fans");
    return true;
}

bool FanCommands::automatic(const QString& profile, QString& text)
{
    if (!available(text))
        return false;
    app::FanController& fan = *m_manager.fan();
    app::FanController::UserAction action(fan);
    if (!profile.isEmpty()) {
        const auto kind = core::CoolingProfile::fromRawValue(profile.toStdString());
        if (!kind) {
            text = QStringLiteral("unknown profile: %1 (silent, balanced or max)").arg(EchoedInput::of(profile));
            return false;
        }
        fan.setCoolingProfile(*kind);
    }
    fan.setCoolingMode(app::CoolingMode::automatic);
    if (!fan.fansEnabled())
        fan.setFansEnabled(true);
    text = QStringLiteral("fans follow the %1 profile")
               .arg(QString::fromLatin1(core::CoolingProfile::rawValue(fan.coolingProfile())));
    return true;
}

bool FanCommands::manual(double percent, double seconds, QString& text)
{
    if (!available(text))
        return false;
    if (!std::isfinite(percent) || percent < 0 || percent > 100 || !std::isfinite(seconds) || seconds < 0) {
        text = QStringLiteral("a floor is 0..100 percent, a boost a positive number of seconds");
        return false;
    }
    app::FanController& fan = *m_manager.fan();
    app::FanController::UserAction action(fan);
    if (percent < core::FanFloor::resolutionPercent)
        return off(text);
    if (seconds > 0)
        fan.setBoostDuration(seconds);
    fan.setCoolingMode(app::CoolingMode::manual);
    if (!fan.fansEnabled())
        fan.setFansEnabled(true);
    fan.setManualFloor(percent);
    text = QStringLiteral("fans at a floor of %1 % for %2").arg(std::lround(percent)).arg(fan.boostRemainingText());
    return true;
}

} // namespace quillon::ui
