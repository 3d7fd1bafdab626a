#include "AppServices.h"

#include "app/Notifier.h"
#include "app/Settings.h"
#include "app/fan/DBusHelperLink.h"
#include "platform/ExternalDisplays.h"
#include "platform/LidSensor.h"
#include "platform/LidSwitchOwner.h"
#include "platform/NotificationCenter.h"
#include "platform/ProcessWatcher.h"
#include "platform/RunningApps.h"
#include "platform/ThermalPressure.h"
#include "platform/linux/LinuxPlatform.h"

#include "daemon/HelperBus.h"

#include <QDebug>

namespace quillon::ui {

namespace {

using platform::linux_::LinuxPlatform;

// The bus the helper serves on. An unusable setting is reported and leaves
// the app without a helper (fan control off), not without its other features.
QDBusConnection helperBus()
{
    QString error;
    const auto setting = daemon::HelperBus::fromEnvironment(error);
    if (!setting) {
        qWarning().noquote() << QStringLiteral("Quillon: %1; fan control is off").arg(error);
        return QDBusConnection(QStringLiteral("quillon-no-helper-bus"));
    }
    return daemon::HelperBus::connect(*setting);
}

} // namespace

AppServices::AppServices(const QString& settingsFile)
    : m_settings(
        settingsFile.isEmpty() ? std::make_unique<app::Settings>() : std::make_unique<app::Settings>(settingsFile))
    , m_notifications(LinuxPlatform::notifications())
    , m_notifier(std::make_unique<app::Notifier>(m_notifications.get()))
    , m_thermal(LinuxPlatform::thermalPressure())
    , m_lid(LinuxPlatform::lidSensor())
    , m_lidOwner(LinuxPlatform::lidSwitchOwner())
    , m_helperLink(std::make_unique<app::DBusHelperLink>(helperBus()))
    , m_runningApps(LinuxPlatform::runningApps())
    , m_displays(LinuxPlatform::externalDisplays())
    , m_processWatcher(LinuxPlatform::processWatcher())
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
    services.driveToucher = LinuxPlatform::driveToucher();
    services.lidSensor = m_lid.get();
    services.lidOwner = m_lidOwner.get();
    services.thermal = m_thermal.get();
    services.runningApps = m_runningApps.get();
    services.displays = m_displays.get();
    services.processWatcher = m_processWatcher.get();
    services.notifier = m_notifier.get();
    services.settings = m_settings.get();
    services.clock = &m_clock;
    return services;
}

} // namespace quillon::ui
