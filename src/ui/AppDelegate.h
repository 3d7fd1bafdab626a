#pragma once

#include "LoginItem.h"
#include "ui/tray/IconState.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>
#include <memory>

namespace quillon::app {
class SleepManager;
struct InstallResult;
} // namespace quillon::app

namespace quillon::ui {

class AppServices;
class OnboardingController;
class Hotkeys;
class PanelViews;
class PanelWindow;
class RenderOverlay;
class ScriptingService;
class SettingsController;
class SettingsView;
class SimulatedLoad;
class TrayIcon;

// The tray app's owner of everything: builds the models, the tray icon and
// the menu panel at launch, keeps the icon current as the models change,
// opens the panel from the icon, and serves the scripting interface.
// Main thread only; lives as long as the app.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString settingsFile; // empty: the user's settings
        LoginItem loginItem = LoginItem::forCurrentUser();
        QString build;                 // this build, for "lastLaunchedBuild"
        QString version;               // this version, for "onboardingSeenVersion"
        SimulatedLoad* load = nullptr; // demo mode's load control, or none
        bool onMac = true;             // texts speak of "your Mac", else of "your computer"
    };

    explicit AppDelegate(Options options, QObject* parent = nullptr);
    ~AppDelegate() override;

    // The launch sequence: language, models, tray icon, panel, icon
    // subscriptions, the intro of a new version, and otherwise a new
    // build's first opening of the panel; the global shortcuts
    // (Super+Alt+K/L), switched by "hotkeysEnabled".
    void applicationDidFinishLaunching();
    // Exports the scripting interface on the session bus; false with the reason.
    bool startScripting(QString& error);

    // The tray icon's action: closes an open panel, opens a closed one.
    void togglePopover();
    void openPopover();
    // Opens the settings window, or raises it.
    void showSettings();
    void quit();
    // Runs the uninstall as if its question had been answered with yes
    // (`quillon ctl helper uninstall`); done hears the outcome once.
    // The temperature in the tray is live figures too.
    void temperatureInTrayChanged();
    void uninstallConfirmed(std::function<void(const app::InstallResult&)> done);

    app::SleepManager& manager() { return *m_manager; }
    // The welcome window ("Show intro again": onboarding().show()); made at launch.
    OnboardingController& onboarding() { return *m_onboarding; }
    IconState iconState() const;

private:
    void buildPanel();
    void buildSettings();
    // Makes the welcome window's controller and shows the intro when this
    // version's was not completed; whether it showed.
    bool startOnboarding();
    void scheduleIconUpdate();
    void updateIcon();
    void languageChanged();
    void wireHotkeys();

    Options m_options;
    std::unique_ptr<AppServices> m_services;
    std::unique_ptr<app::SleepManager> m_manager;
    std::unique_ptr<TrayIcon> m_tray;
    std::unique_ptr<PanelViews> m_views;
    std::unique_ptr<PanelWindow> m_panel;
    std::unique_ptr<RenderOverlay> m_overlay;
    std::unique_ptr<OnboardingController> m_onboarding;
    std::unique_ptr<ScriptingService> m_scripting;
    std::unique_ptr<SettingsView> m_settingsView;
    std::unique_ptr<SettingsController> m_settingsWindow;
    std::unique_ptr<Hotkeys> m_hotkeys;
    QTimer m_iconUpdate;
};

} // namespace quillon::ui
