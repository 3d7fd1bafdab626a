#pragma once

#include "app/power/SleepManager.h"
#include "platform/Clock.h"

#include <QString>
#include <memory>

namespace quillon::app {
class HelperInstaller;
class HelperLink;
class Uninstaller;
class UninstallFlow;
class Notifier;
class Settings;
} // namespace quillon::app

namespace quillon::platform {
class ExternalDisplays;
class FullScreenWindows;
class MediaPlayback;
class GlobalShortcuts;
class LidSensor;
class LidSwitchOwner;
class SoundPlayer;
class NotificationCenter;
class PowerProfiles;
class PrivilegedRunner;
class ProcessWatcher;
class RunningApps;
class ThermalPressure;
class TrayColors;
} // namespace quillon::platform

namespace quillon::ui {

// Everything the models run on in the tray app, made once at launch: the
// settings, the clock, the Linux backends from LinuxPlatform, the notifier,
// the link to the fan helper on the bus QUILLON_HELPER_BUS names, and the
// installer of the helper that ships beside the app.
class AppServices {
public:
    // settingsFile: empty for the user's own settings.
    explicit AppServices(const QString& settingsFile = {});
    ~AppServices();
    AppServices(const AppServices&) = delete;
    AppServices& operator=(const AppServices&) = delete;

    // What the root model is built on.
    app::SleepManager::Services services();

    app::Settings& settings() { return *m_settings; }
    const platform::Clock& clock() const { return m_clock; }
    app::HelperLink& helperLink() { return *m_helperLink; }
    platform::PrivilegedRunner& privilegedRunner() { return *m_runner; }
    // The uninstall dialogs' model, for the settings window; asks dpkg, at
    // its first call, how the app was installed.
    std::unique_ptr<app::UninstallFlow> makeUninstallFlow();
    // The display probe, for the display server's screen signals.
    platform::ExternalDisplays& displays() { return *m_displays; }
    // The desktop's global shortcuts (portal, else X11), for the hotkeys.
    platform::GlobalShortcuts& globalShortcuts() { return *m_globalShortcuts; }
    // The tray's own colours (X11 trays that announce them), for the tray icon.
    const platform::TrayColors& trayColors() const { return *m_trayColors; }

private:
    std::unique_ptr<app::Settings> m_settings;
    platform::SystemClock m_clock;
    std::unique_ptr<platform::NotificationCenter> m_notifications;
    std::unique_ptr<app::Notifier> m_notifier;
    std::unique_ptr<platform::ThermalPressure> m_thermal;
    std::unique_ptr<platform::PowerProfiles> m_profiles;
    std::unique_ptr<platform::LidSensor> m_lid;
    std::unique_ptr<platform::LidSwitchOwner> m_lidOwner;
    std::unique_ptr<platform::SoundPlayer> m_sounds;
    std::unique_ptr<app::HelperLink> m_helperLink;
    std::unique_ptr<platform::PrivilegedRunner> m_runner;
    std::unique_ptr<app::HelperInstaller> m_installer;
    std::unique_ptr<app::Uninstaller> m_uninstaller;
    std::unique_ptr<platform::RunningApps> m_runningApps;
    std::unique_ptr<platform::ExternalDisplays> m_displays;
    std::unique_ptr<platform::FullScreenWindows> m_fullScreen;
    std::unique_ptr<platform::MediaPlayback> m_media;
    std::unique_ptr<platform::ProcessWatcher> m_processWatcher;
    std::unique_ptr<platform::GlobalShortcuts> m_globalShortcuts;
    std::unique_ptr<platform::TrayColors> m_trayColors;
};

} // namespace quillon::ui
