#pragma once

#include "LoginItem.h"
#include "ui/tray/IconState.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>

namespace quillon::app {
class SleepManager;
}

namespace quillon::ui {

class AppServices;
class Hotkeys;
class PanelViews;
class PanelWindow;
class RenderOverlay;
class ScriptingService;
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
        SimulatedLoad* load = nullptr; // demo mode's load control, or none
    };

    explicit AppDelegate(Options options, QObject* parent = nullptr);
    ~AppDelegate() override;

    // The launch sequence: language, models, tray icon, panel, icon
    // subscriptions, a new build's first opening of the panel, and the global
    // shortcuts (Super+Alt+K/L), switched by "hotkeysEnabled".
    void applicationDidFinishLaunching();
    // Exports the scripting interface on the session bus; false with the reason.
    bool startScripting(QString& error);

    // The tray icon's action: closes an open panel, opens a closed one.
    void togglePopover();
    void openPopover();
    void quit();

    app::SleepManager& manager() { return *m_manager; }
    IconState iconState() const;

private:
    void buildPanel();
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
    std::unique_ptr<ScriptingService> m_scripting;
    std::unique_ptr<Hotkeys> m_hotkeys;
    QTimer m_iconUpdate;
};

} // namespace quillon::ui
