#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <vector>

namespace quillon::platform::linux_ {

// One reading of the kernel's thermal state: every thermal zone with its trip
// points, and the CPUs' throttle counters summed over all CPUs. Temperatures
// in °C, times in ms. Values the kernel does not offer are absent, which is
// "no information", not "cool".
struct ThermalSnapshot {
    struct Zone {
        QString type;
        double tempC = 0;
        std::optional<double> passiveC;  // the lowest passive trip
        std::optional<double> hotC;      // the lowest hot trip
        std::optional<double> criticalC; // the lowest critical trip
    };

    std::vector<Zone> zones;
    std::optional<quint64> throttleCount;  // core + package events, all CPUs
    std::optional<quint64> throttleTimeMs; // core + package time, all CPUs
    int throttleCpus = 0;                  // CPUs that reported counters

    // Where the readings are: the thermal zones that have a temperature and
    // the CPUs that have throttle counters, found once so that a sampler
    // lists no folder and tries no file the machine does not have.
    struct Sources {
        QStringList zones;
        QStringList throttle;
        bool empty() const { return zones.isEmpty() && throttle.isEmpty(); }
        // Lists /sys/class/thermal and /sys/devices/system/cpu under sysfsRoot (normally "/").
        static Sources discover(const QString& sysfsRoot);
    };

    // Reads the sources. Zones that are unreadable, disabled or not about
    // the machine's heat (wireless cards) are left out; garbage reads as absent.
    static ThermalSnapshot read(const Sources& sources);
    static ThermalSnapshot read(const QString& sysfsRoot) { return read(Sources::discover(sysfsRoot)); }
};

} // namespace quillon::platform::linux_
