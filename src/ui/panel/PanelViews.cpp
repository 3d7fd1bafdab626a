#include "PanelViews.h"

#include "AutomationView.h"
#include "AwakeView.h"
#include "DriveView.h"
#include "FanView.h"
#include "PanelState.h"
#include "RenderView.h"
#include "app/automation/RenderModeManager.h"
#include "app/automation/TriggerManager.h"
#include "app/power/DriveManager.h"
#include "app/power/LidManager.h"
#include "app/power/SleepManager.h"
#include "ui/demo/SimulatedLoad.h"

namespace quillon::ui {

PanelViews::PanelViews(app::SleepManager& manager, app::Settings& settings, LoginItem& loginItem,
    const platform::Clock& clock, SimulatedLoad* load)
    : m_manager(manager)
    , m_load(load)
    , m_state(std::make_unique<PanelState>(manager, settings, loginItem))
    , m_awake(std::make_unique<AwakeView>(manager, settings, clock))
    , m_fan(std::make_unique<FanView>(*manager.fan(), settings))
    , m_drives(std::make_unique<DriveView>(*manager.drives()))
    , m_render(std::make_unique<RenderView>(*manager.renderMode(), *manager.fan(), settings))
    , m_automation(std::make_unique<AutomationView>(*manager.triggers(), settings))
{
}

PanelViews::~PanelViews() = default;

QVariantMap PanelViews::rootProperties() const
{
    const auto object = [](QObject* o) {
        return QVariant::fromValue(o);
    };
    return {
        {"manager", object(&m_manager)},
        {"fan", object(m_manager.fan())},
        {"lid", object(m_manager.lid())},
        {"drives", object(m_manager.drives())},
        {"triggers", object(m_manager.triggers())},
        {"automationView", object(m_automation.get())},
        {"panel", object(m_state.get())},
        {"awake", object(m_awake.get())},
        {"fanView", object(m_fan.get())},
        {"driveView", object(m_drives.get())},
        {"render", object(m_render.get())},
        {"load", object(m_load)},
    };
}

} // namespace quillon::ui
