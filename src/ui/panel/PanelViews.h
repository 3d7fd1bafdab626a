#pragma once

#include <QVariantMap>
#include <memory>

namespace quillon::app {
class Settings;
class SleepManager;
} // namespace quillon::app

namespace quillon::platform {
class Clock;
}

namespace quillon::ui {

class AutomationView;
class AwakeView;
class DriveView;
class FanView;
class LoginItem;
class PanelState;
class RenderView;
class SimulatedLoad;

// The menu panel's views over the models, and the properties the panel's
// root (qml/Panel.qml) is built with: the models, these views and the demo's
// load control (null outside demo mode).
class PanelViews {
public:
    PanelViews(app::SleepManager& manager, app::Settings& settings, LoginItem& loginItem, const platform::Clock& clock,
        SimulatedLoad* load);
    ~PanelViews();

    PanelState& state() { return *m_state; }
    AwakeView& awake() { return *m_awake; }
    FanView& fan() { return *m_fan; }
    DriveView& drives() { return *m_drives; }
    RenderView& render() { return *m_render; }
    AutomationView& automation() { return *m_automation; }

    QVariantMap rootProperties() const;

private:
    app::SleepManager& m_manager;
    SimulatedLoad* m_load;
    std::unique_ptr<PanelState> m_state;
    std::unique_ptr<AwakeView> m_awake;
    std::unique_ptr<FanView> m_fan;
    std::unique_ptr<DriveView> m_drives;
    std::unique_ptr<RenderView> m_render;
    std::unique_ptr<AutomationView> m_automation;
};

} // namespace quillon::ui
