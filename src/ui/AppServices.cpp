#include "AppServices.h"

#include "app/Notifier.h"
#include "app/Settings.h"
#include "app/fan/DBusHelperLink.h"
#include "app/install/HelperInstaller.h"
#include "app/install/UninstallFlow.h"
#include "app/install/UpdateChecker.h"
#include "platform/ExternalDisplays.h"
#include "platform/LidSensor.h"
#include "platform/LidSwitchOwner.h"
#include "platform/NotificationCenter.h"
#include "platform/PowerProfiles.h"
#include "platform/ProcessWatcher.h"
#include "platform/RunningApps.h"
#include "platform/SoundPlayer.h"
#include "platform/ThermalPressure.h"
#include "platform/linux/AppIdentity.h"
#include "platform/linux/LinuxGlobalShortcuts.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/MprisPlayback.h"
#include "platform/linux/PkexecRunner.h"
#include "platform/linux/PpdPowerProfiles.h"
#include "platform/linux/X11FullScreenWindows.h"
#include "platform/linux/X11TrayColors.h"

#include "daemon/HelperBus.h"

#include <QCoreApplication>
#include <QDebug>
#include <QStandardPaths>

namespace quillon::ui {

namespace {

using platform::linux_::LinuxPlatform;

// The bus the helper serves on. An unusable setting is reported and leaves
// the app without a helper (fan control off), not without its other features.
std::optional<daemon::HelperBus::Setting> helperBus()
{
    QString error;
    auto setting = daemon::HelperBus::fromEnvironment(error);
    if (!setting)
        qWarning().noquote() << QStringLiteral("Quillon: %1; fan control is off").arg(error);
    return setting;
}

} // namespace

AppServices::AppServices(const QString& settingsFile)
    : m_settings(
        settingsFile.isEmpty() ? std::make_unique<app::Settings>() : std::make_unique<app::Settings>(settingsFile))
    , m_notifications(LinuxPlatform::notifications())
    , m_notifier(std::make_unique<app::Notifier>(m_notifications.get()))
    , m_thermal(LinuxPlatform::thermalPressure())
    , m_profiles(std::make_unique<platform::linux_::PpdPowerProfiles>(
          QDBusConnection::systemBus(), platform::linux_::AppIdentity::appId()))
    , m_lid(LinuxPlatform::lidSensor())
    , m_lidOwner(LinuxPlatform::lidSwitchOwner())
    , m_sounds(LinuxPlatform::sounds(QStringLiteral(":/sounds/render-finished.wav")))
    , m_helperLink(std::make_unique<app::DBusHelperLink>(helperBus()))
    , m_runner(std::make_unique<platform::linux_::PkexecRunner>())
    , m_installer(std::make_unique<app::HelperInstaller>(
          *m_runner, app::HelperInstaller::bundledHelperFor(QCoreApplication::applicationDirPath())))
    , m_runningApps(LinuxPlatform::runningApps())
    , m_displays(LinuxPlatform::externalDisplays())
    , m_fullScreen(platform::linux_::X11FullScreenWindows::fromEnvironment())
    , m_media(std::make_unique<platform::linux_::MprisPlayback>(QDBusConnection::sessionBus()))
    , m_processWatcher(LinuxPlatform::processWatcher())
    , m_globalShortcuts(std::make_unique<platform::linux_::LinuxGlobalShortcuts>(QDBusConnection::sessionBus()))
    , m_trayColors(std::make_unique<platform::linux_::X11TrayColors>())
{
}

AppServices::~AppServices() = default;

app::SleepManager::Services AppServices::services()
{
    app::SleepManager::Services services;
    services.helperLink = m_helperLink.get();
    services.assertions = LinuxPlatform::powerAssertions();
    services.powerSupply = LinuxPlatform::powerSupply();
    services.volumes = LinuxPlatform::volumes();
    services.driveToucher = LinuxPlatform::driveToucher(app::HelperInstaller::bundledProgram(
        QCoreApplication::applicationDirPath(), QStringLiteral("quillon-drive-touch")));
    services.lidSensor = m_lid.get();
    services.lidOwner = m_lidOwner.get();
    services.thermal = m_thermal.get();
    services.profiles = m_profiles.get();
    services.sound = m_sounds.get();
    services.updateFeed = app::UpdateChecker::configuredFeed();
    services.appVersion = QStringLiteral(QUILLON_BUILD);
    services.runningApps = m_runningApps.get();
    services.displays = m_displays.get();
    services.fullScreen = m_fullScreen.get();
    services.media = m_media.get();
    services.processWatcher = m_processWatcher.get();
    services.notifier = m_notifier.get();
    services.settings = m_settings.get();
    services.clock = &m_clock;
    services.installer = [installer = m_installer.get()](auto done) {
        installer->install(std::move(done));
    };
    services.bundledHelperPath = m_installer->bundledHelper();
    // Only a local install is updated from here; a packaged helper comes with its package.
    if (m_installer->isInstalled())
        services.installedHelperPath = m_installer->layout().helperPath();
    return services;
}

std::unique_ptr<app::UninstallFlow> AppServices::makeUninstallFlow()
{
    if (!m_uninstaller) {
        m_uninstaller = std::make_unique<app::Uninstaller>(
            *m_runner, app::AppOrigin::detectInBackground(QCoreApplication::applicationFilePath()));
    }
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    return std::make_unique<app::UninstallFlow>(*m_uninstaller,
        app::Uninstaller::UserTraces{m_settings->fileName(),
            config + QStringLiteral("/autostart/") + platform::linux_::AppIdentity::appId()
                + QStringLiteral(".desktop"),
            cache + QStringLiteral("/quillon")});
}

} // namespace quillon::ui
