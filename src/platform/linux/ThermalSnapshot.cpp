#include "ThermalSnapshot.h"

#include "SysfsAttributes.h"

#include <QDir>
#include <QFileInfo>

namespace quillon::platform::linux_ {

namespace {

// Millidegrees as the kernel writes them, to °C; absent for values no real sensor reports.
std::optional<double> celsius(const std::optional<qint64>& milli)
{
    if (!milli || *milli < -50000 || *milli > 200000)
        return std::nullopt;
    return static_cast<double>(*milli) / 1000.0;
}

void keepLowest(std::optional<double>& slot, double value)
{
    if (!slot || value < *slot)
        slot = value;
}

bool isMachineHeat(const QString& type)
{
    return !type.startsWith(QLatin1String("iwlwifi")) && !type.startsWith(QLatin1String("ath"));
}

} // namespace

ThermalSnapshot::Sources ThermalSnapshot::Sources::discover(const QString& sysfsRoot)
{
    Sources sources;
    const QDir thermal(sysfsRoot + "/sys/class/thermal");
    for (const QString& name : thermal.entryList({"thermal_zone*"}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        if (QFileInfo::exists(thermal.filePath(name) + "/temp"))
            sources.zones.append(thermal.filePath(name));
    }
    const QDir cpus(sysfsRoot + "/sys/devices/system/cpu");
    for (const QString& cpu : cpus.entryList({"cpu[0-9]*"}, QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString throttle = cpus.filePath(cpu) + "/thermal_throttle";
        if (QFileInfo(throttle).isDir())
            sources.throttle.append(throttle);
    }
    return sources;
}

ThermalSnapshot ThermalSnapshot::read(const Sources& sources)
{
    ThermalSnapshot snapshot;
    for (const QString& folder : sources.zones) {
        const SysfsAttributes attributes(folder);
        Zone zone;
        zone.type = attributes.text("type").value_or(QString());
        const auto temp = celsius(attributes.number("temp"));
        if (!temp || !isMachineHeat(zone.type) || attributes.text("mode") == QLatin1String("disabled"))
            continue;
        zone.tempC = *temp;
        for (int trip = 0; trip < 32; ++trip) {
            const QString prefix = QStringLiteral("trip_point_%1_").arg(trip);
            const auto type = attributes.text(prefix + "type");
            if (!type)
                break;
            const auto tripC = celsius(attributes.number(prefix + "temp"));
            // Some firmware marks unused trips with absurd values; those read as absent.
            if (!tripC || *tripC <= 0)
                continue;
            if (*type == QLatin1String("passive"))
                keepLowest(zone.passiveC, *tripC);
            else if (*type == QLatin1String("hot"))
                keepLowest(zone.hotC, *tripC);
            else if (*type == QLatin1String("critical"))
                keepLowest(zone.criticalC, *tripC);
        }
        snapshot.zones.push_back(zone);
    }

    for (const QString& folder : sources.throttle) {
        const SysfsAttributes throttle(folder);
        if (throttle.number("core_throttle_count"))
            ++snapshot.throttleCpus;
        for (const QString& kind : {QStringLiteral("core"), QStringLiteral("package")}) {
            const auto count = throttle.number(kind + "_throttle_count");
            if (count && *count >= 0)
                snapshot.throttleCount = snapshot.throttleCount.value_or(0) + static_cast<quint64>(*count);
            const auto time = throttle.number(kind + "_throttle_total_time_ms");
            if (time && *time >= 0)
                snapshot.throttleTimeMs = snapshot.throttleTimeMs.value_or(0) + static_cast<quint64>(*time);
        }
    }
    return snapshot;
}

} // namespace quillon::platform::linux_
