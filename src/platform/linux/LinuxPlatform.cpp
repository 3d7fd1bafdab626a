#include "LinuxPlatform.h"

#include "CanberraSoundPlayer.h"
#include "DrmDisplays.h"
#include "FreedesktopNotifications.h"
#include "SpawnedDriveToucher.h"
#include "LinuxLidSensor.h"
#include "LinuxLidSwitchOwner.h"
#include "LinuxPowerAssertions.h"
#include "LinuxProcessWatcher.h"
#include "LinuxRunningApps.h"
#include "LinuxThermalPressure.h"
#include "LinuxVolumeSource.h"
#include "SysfsPowerSupply.h"

namespace quillon::platform::linux_ {

std::shared_ptr<PowerAssertionBackend> LinuxPlatform::powerAssertions()
{
    return std::make_shared<LinuxPowerAssertions>(QDBusConnection::sessionBus(), QDBusConnection::systemBus());
}

std::shared_ptr<PowerSupply> LinuxPlatform::powerSupply(const QString& root)
{
    return std::make_shared<SysfsPowerSupply>(root);
}

std::shared_ptr<VolumeSource> LinuxPlatform::volumes()
{
    return std::make_shared<LinuxVolumeSource>(
        UDisks2VolumeSource(QDBusConnection::systemBus()), MountInfoVolumeSource());
}

std::shared_ptr<DriveToucher> LinuxPlatform::driveToucher(const QString& program)
{
    return std::make_shared<SpawnedDriveToucher>(program);
}

std::unique_ptr<SoundPlayer> LinuxPlatform::sounds(const QString& fallback)
{
    return std::make_unique<CanberraSoundPlayer>(fallback);
}

std::unique_ptr<LidSwitchOwner> LinuxPlatform::lidSwitchOwner()
{
    return std::make_unique<LinuxLidSwitchOwner>(
        QDBusConnection::sessionBus(), QDBusConnection::systemBus(), LinuxLidSwitchOwner::defaultMarkerPath());
}

std::unique_ptr<LidSensor> LinuxPlatform::lidSensor()
{
    return std::make_unique<LinuxLidSensor>();
}

std::unique_ptr<ThermalPressure> LinuxPlatform::thermalPressure()
{
    return std::make_unique<LinuxThermalPressure>();
}

std::unique_ptr<NotificationCenter> LinuxPlatform::notifications()
{
    return std::make_unique<FreedesktopNotifications>();
}

std::unique_ptr<RunningApps> LinuxPlatform::runningApps()
{
    return std::make_unique<LinuxRunningApps>(
        DesktopEntryIndex::fromEnvironment(), QStringLiteral("/proc"), QDBusConnection::sessionBus());
}

std::unique_ptr<ExternalDisplays> LinuxPlatform::externalDisplays()
{
    return std::make_unique<DrmDisplays>();
}

std::unique_ptr<ProcessWatcher> LinuxPlatform::processWatcher()
{
    return std::make_unique<LinuxProcessWatcher>();
}

} // namespace quillon::platform::linux_
