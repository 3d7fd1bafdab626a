#pragma once

#include <QString>
#include <memory>

namespace quillon::platform {
class DriveToucher;
class ExternalDisplays;
class LidSensor;
class LidSwitchOwner;
class SoundPlayer;
class NotificationCenter;
class PowerAssertionBackend;
class PowerSupply;
class ProcessWatcher;
class RunningApps;
class ThermalPressure;
class VolumeSource;
} // namespace quillon::platform

namespace quillon::platform::linux_ {

// The one place that picks the Linux backends behind the platform
// interfaces. Whoever builds the models (the app's start-up, the command-line
// roles) calls these; models never see a concrete backend. Each call makes a
// new instance; the app creates each once and shares it.
class LinuxPlatform {
public:
    LinuxPlatform() = delete;

    // Session-bus inhibitors with logind (system bus) as the last resort.
    static std::shared_ptr<PowerAssertionBackend> powerAssertions();
    // The kernel's power_supply class under root (a captured copy for --power).
    static std::shared_ptr<PowerSupply> powerSupply(const QString& root = QStringLiteral("/sys/class/power_supply"));
    // UDisks2 on the system bus, the mount table without it.
    static std::shared_ptr<VolumeSource> volumes();
    // Each touch in a child process running program (quillon-drive-touch).
    static std::shared_ptr<DriveToucher> driveToucher(const QString& program);
    // logind's LidClosed, the ACPI button without logind.
    static std::unique_ptr<LidSensor> lidSensor();
    // Who acts on the lid: logind, or a desktop power manager (from logind's locks).
    static std::unique_ptr<LidSwitchOwner> lidSwitchOwner();
    // The kernel's thermal zones and throttle counters, sampled every few seconds.
    static std::unique_ptr<ThermalPressure> thermalPressure();
    // The desktop's notification service on the session bus.
    static std::unique_ptr<NotificationCenter> notifications();
    // libcanberra's event sounds; fallback is played where the theme has none.
    static std::unique_ptr<SoundPlayer> sounds(const QString& fallback);
    // Applications from the desktop entries of the XDG data directories,
    // running ones from /proc, launches from the user's systemd manager.
    static std::unique_ptr<RunningApps> runningApps();
    // External displays from the DRM connectors.
    static std::unique_ptr<ExternalDisplays> externalDisplays();
    static std::unique_ptr<ProcessWatcher> processWatcher();
};

} // namespace quillon::platform::linux_
