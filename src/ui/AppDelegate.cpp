#include "AppDelegate.h"

#include "AppServices.h"
#include "Hotkeys.h"
#include "LaunchRecord.h"
#include "Relaunch.h"
#include "app/Settings.h"
#include "app/Translations.h"
#include "app/fan/FanController.h"
#include "app/install/UninstallFlow.h"
#include "app/install/UpdateChecker.h"
#include "app/power/SleepManager.h"
#include "platform/ExternalDisplays.h"
#include "ui/onboarding/OnboardingController.h"
#include "ui/overlay/RenderOverlay.h"
#include "ui/panel/PanelState.h"
#include "ui/panel/PanelTexts.h"
#include "ui/panel/PanelViews.h"
#include "ui/panel/PanelWindow.h"
#include "ui/panel/RenderView.h"
#include "ui/scripting/ScriptingService.h"
#include "ui/settings/SettingsController.h"
#include "ui/settings/SettingsView.h"
#include "ui/tray/TrayIcon.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QGuiApplication>
#include <QScreen>

namespace quillon::ui {

AppDelegate::AppDelegate(Options options, QObject* parent)
    : QObject(parent)
    , m_options(std::move(options))
{
    // Model changes come in bursts (one status poll changes several
    // properties): redraw once, after the burst.
    m_iconUpdate.setSingleShot(true);
    m_iconUpdate.setInterval(0);
    connect(&m_iconUpdate, &QTimer::timeout, this, &AppDelegate::updateIcon);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching()
{
    m_services = std::make_unique<AppServices>(m_options.settingsFile);
    app::Settings& settings = m_services->settings();
    app::Translations::apply(settings, m_options.onMac);
    connect(&settings, &app::Settings::changed, this, [this](const QString& key) {
        if (key == QLatin1String(app::Settings::Key::appLanguage))
            languageChanged();
        else if (key == QLatin1String(app::Settings::Key::showTempInMenuBar))
            temperatureInTrayChanged();
    });

    m_manager = std::make_unique<app::SleepManager>(m_services->services());
    // A screen coming or going is when an external display may have been plugged in or out.
    platform::ExternalDisplays* displays = &m_services->displays();
    connect(qApp, &QGuiApplication::screenAdded, displays, &platform::ExternalDisplays::changed);
    connect(qApp, &QGuiApplication::screenRemoved, displays, &platform::ExternalDisplays::changed);

    m_tray = std::make_unique<TrayIcon>(&m_services->trayColors());
    m_tray->show(IconState::of(false, false, std::nullopt, std::nullopt));
    connect(m_tray.get(), &TrayIcon::clicked, this, &AppDelegate::togglePopover);

    buildPanel();
    buildSettings();

    temperatureInTrayChanged();
    connect(m_manager.get(), &app::SleepManager::anythingActiveChanged, this, &AppDelegate::scheduleIconUpdate);
    connect(m_manager.get(), &app::SleepManager::sessionChanged, this, &AppDelegate::scheduleIconUpdate);
    connect(m_manager->fan(), &app::FanController::temperaturesChanged, this, &AppDelegate::scheduleIconUpdate);
    updateIcon();
    m_manager->updates()->check();

    const bool introShown = startOnboarding();
    // A new or updated build presents itself once; after its intro, the intro opens the panel.
    if (LaunchRecord::recordLaunch(settings, m_options.build) && !introShown)
        QTimer::singleShot(LaunchRecord::kFirstOpenDelayMs, this, &AppDelegate::openPopover);

    wireHotkeys();
}

void AppDelegate::wireHotkeys()
{
    m_hotkeys = std::make_unique<Hotkeys>(m_services->globalShortcuts());
    m_hotkeys->setHandler([this](Hotkeys::Action action) {
        app::SleepManager& manager = *m_manager;
        if (action == Hotkeys::Action::toggleKeepAwake) {
            using Kind = app::SleepManager::Kind;
            if (manager.activeKinds().isEmpty()) {
                manager.apply({Kind::system, Kind::display},
                    m_services->clock().now().addSecs(static_cast<qint64>(app::SleepManager::defaultToggleSeconds)));
            } else {
                manager.apply({}, std::nullopt); // every assertion stopped, no kinds, no expiry
            }
        } else if (manager.fan()->helperInstalled()) {
            manager.fan()->setFansEnabled(!manager.fan()->fansEnabled());
        }
    });
    m_hotkeys->followSetting(m_services->settings());
    m_settingsView->watchHotkeys(*m_hotkeys);
}

bool AppDelegate::startOnboarding()
{
    m_onboarding = std::make_unique<OnboardingController>(m_services->settings(), m_options.version);
    // Completing the intro shows the user where the app lives.
    m_onboarding->setOnFinished([this] { openPopover(); });
    return m_onboarding->showIfFirstLaunch();
}

void AppDelegate::buildPanel()
{
    m_views = std::make_unique<PanelViews>(
        *m_manager, m_services->settings(), m_options.loginItem, m_services->clock(), m_options.load);
    m_panel = std::make_unique<PanelWindow>(m_views->rootProperties());
    PanelState& state = m_views->state();
    connect(m_panel.get(), &PanelWindow::shownChanged, &state, &PanelState::setShown);
    // Live figures on screen keep the fan poll at once a second.
    connect(m_panel.get(), &PanelWindow::shownChanged, this,
        [this](bool shown) { m_manager->fan()->setLiveView(QStringLiteral("panel"), shown); });
    connect(&m_views->render(), &RenderView::changed, this,
        [this] { m_manager->fan()->setLiveView(QStringLiteral("overlay"), m_views->render().enabled()); });
    connect(&state, &PanelState::closeRequested, m_panel.get(), &PanelWindow::hide);
    connect(&state, &PanelState::quitRequested, this, &AppDelegate::quit);
    connect(&state, &PanelState::settingsRequested, this, [this] {
        m_panel->hide();
        showSettings();
    });
    m_overlay = std::make_unique<RenderOverlay>(m_views->render());
}

void AppDelegate::buildSettings()
{
    SettingsView::Hooks hooks;
    hooks.showIntro = [this] {
        m_onboarding->show();
    };
    hooks.restart = [this] {
        if (Relaunch::startAgain())
            quit();
        else
            qWarning("Quillon could not start itself again; it keeps running");
    };
    hooks.makeUninstall = [this] {
        return m_services->makeUninstallFlow();
    };
    m_settingsView = std::make_unique<SettingsView>(
        m_services->settings(), m_options.loginItem, *m_manager->updates(), m_options.build, std::move(hooks));
    connect(m_settingsView.get(), &SettingsView::quitRequested, this, &AppDelegate::quit);
    m_settingsWindow = std::make_unique<SettingsController>(*m_settingsView);
}

void AppDelegate::uninstallConfirmed(std::function<void(const app::InstallResult&)> done)
{
    // The settings window's flow, its question already answered with yes.
    app::UninstallFlow* flow = m_services->makeUninstallFlow().release();
    flow->setParent(this);
    connect(flow, &app::UninstallFlow::changed, this, [flow, done] {
        using State = app::UninstallFlow::State;
        switch (flow->state()) {
        case State::removed:
            done(app::InstallResult::success());
            break;
        case State::failed:
            done(app::InstallResult::failed(flow->text()));
            break;
        case State::closed:
            done(app::InstallResult::cancelled());
            break;
        case State::confirming:
        case State::working:
            return;
        }
        flow->disconnect();
        flow->deleteLater();
    });
    flow->accept();
}

void AppDelegate::temperatureInTrayChanged()
{
    m_manager->fan()->setLiveView(
        QStringLiteral("tray"), m_services->settings().flag(app::Settings::Key::showTempInMenuBar));
    scheduleIconUpdate();
}

void AppDelegate::showSettings()
{
    m_settingsWindow->show();
}

bool AppDelegate::startScripting(QString& error)
{
    ScriptingService::Hooks hooks{
        [this] { return iconState(); },
        [this] { openPopover(); },
        [this] { showSettings(); },
        [this] { quit(); },
        [this] {
            return m_hotkeys ? StatusReport::HotkeyStatus{m_hotkeys->installed(), m_hotkeys->state()}
                             : StatusReport::HotkeyStatus{};
        },
        [this](std::function<void(const app::InstallResult&)> done) { uninstallConfirmed(std::move(done)); },
    };
    m_scripting = std::make_unique<ScriptingService>(*m_manager, m_services->helperLink(), std::move(hooks));
    return m_scripting->registerOn(QDBusConnection::sessionBus(), error);
}

void AppDelegate::togglePopover()
{
    if (m_panel->isVisible())
        m_panel->hide();
    else if (!m_panel->justLostFocus())
        openPopover();
}

void AppDelegate::openPopover()
{
    if (!m_panel->isVisible())
        m_panel->show(m_tray->geometry());
}

void AppDelegate::quit()
{
    m_panel->hide();
    QCoreApplication::quit();
}

IconState AppDelegate::iconState() const
{
    return m_tray->state();
}

void AppDelegate::scheduleIconUpdate()
{
    m_iconUpdate.start();
}

void AppDelegate::updateIcon()
{
    const app::FanController& fan = *m_manager->fan();
    m_tray->show(
        IconState::of(m_manager->anythingActive(), m_services->settings().flag(app::Settings::Key::showTempInMenuBar),
            fan.cpuTempSmoothed(), fan.cpuTemp(), PanelTexts::pausedText(*m_manager)));
}

void AppDelegate::languageChanged()
{
    app::Translations::apply(m_services->settings(), m_options.onMac);
    m_panel->retranslate();
    m_settingsWindow->retranslate();
    m_overlay->retranslate();
    m_onboarding->retranslate();
}

} // namespace quillon::ui
