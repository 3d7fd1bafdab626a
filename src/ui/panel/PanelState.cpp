#include "PanelState.h"

#include "PanelTexts.h"
#include "app/Settings.h"
#include "app/automation/RenderModeManager.h"
#include "app/power/LidManager.h"
#include "app/power/PowerSource.h"
#include "app/power/SleepManager.h"
#include "ui/LoginItem.h"

namespace quillon::ui {

PanelState::PanelState(app::SleepManager& manager, app::Settings& settings, LoginItem& loginItem, QObject* parent)
    : QObject(parent)
    , m_manager(manager)
    , m_settings(settings)
    , m_loginItem(loginItem)
{
    for (auto signal :
        {&app::SleepManager::sessionChanged, &app::SleepManager::nowChanged, &app::SleepManager::anythingActiveChanged})
        connect(&manager, signal, this, &PanelState::statusChanged);
    connect(manager.lid(), &app::LidManager::enabledChanged, this, &PanelState::statusChanged);
    connect(manager.renderMode(), &app::RenderModeManager::enabledChanged, this, &PanelState::statusChanged);
    connect(&manager.renderMode()->assertions(), &app::SleepAssertions::stateChanged, this, &PanelState::statusChanged);
    for (auto signal : {&app::FanController::coolingChanged, &app::FanController::boostChanged,
             &app::FanController::spinUpChanged, &app::FanController::helperStateChanged})
        connect(manager.fan(), signal, this, &PanelState::statusChanged);
    connect(&settings, &app::Settings::changed, this, [this](const QString& key) {
        if (key == QLatin1String(app::Settings::Key::appLanguage)) {
            refreshPower();
            emit statusChanged();
        } else if (key == QLatin1String(app::Settings::Key::loginChoiceMade)) {
            emit loginChanged();
        }
    });
    m_powerRefresh.setInterval(kPowerRefreshMs);
    connect(&m_powerRefresh, &QTimer::timeout, this, &PanelState::refreshPower);
    refreshPower();
}

QStringList PanelState::statusLines() const
{
    return PanelTexts::statusLines(m_manager);
}

bool PanelState::loginChoiceMade() const
{
    return m_settings.flag(app::Settings::Key::loginChoiceMade);
}

bool PanelState::launchAtLogin() const
{
    return m_loginItem.isEnabled();
}

void PanelState::answerLoginPrompt(bool launch)
{
    m_loginItem.setEnabled(launch);
    m_settings.setFlag(app::Settings::Key::loginChoiceMade, true);
    emit loginChanged();
}

void PanelState::setShown(bool shown)
{
    if (shown) {
        refreshPower();
        m_powerRefresh.start();
    } else {
        m_powerRefresh.stop();
    }
}

void PanelState::refreshPower()
{
    const app::PowerSource& power = m_manager.power();
    const QString hint = PanelTexts::batteryHint(power.current(), power.batteryFlow());
    if (hint != m_batteryHint) {
        m_batteryHint = hint;
        emit batteryHintChanged();
    }
}

} // namespace quillon::ui
