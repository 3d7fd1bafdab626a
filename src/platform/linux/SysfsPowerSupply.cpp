#include "SysfsPowerSupply.h"

#include "SysfsAttributes.h"

#include <QFile>
#include <algorithm>
#include <dirent.h>
#include <cmath>
#include <limits>
#include <vector>

namespace quillon::platform::linux_ {

namespace {

// More supplies than any machine has; a bound against a hostile tree.
constexpr qsizetype kMaxSupplies = 64;

// The supplies' names in sorted order, at most kMaxSupplies; none when the
// folder cannot be read. A plain listing: this runs every few seconds, and
// an entry that is no supply has no "type" and is passed over when read.
QStringList supplyNames(const QString& root)
{
    QStringList names;
    DIR* stream = ::opendir(QFile::encodeName(root).constData());
    if (!stream)
        return names;
    while (const dirent* entry = ::readdir(stream)) {
        if (entry->d_name[0] != '.')
            names.append(QFile::decodeName(entry->d_name));
    }
    ::closedir(stream);
    names.sort();
    if (names.size() > kMaxSupplies)
        names.resize(kMaxSupplies);
    return names;
}

bool equalsIgnoringCase(const std::optional<QString>& value, QLatin1String expected)
{
    return value && value->compare(expected, Qt::CaseInsensitive) == 0;
}

// micro → milli, rounded half away from zero.
qint64 milliFromMicro(qint64 micro)
{
    // The one value whose magnitude does not fit is garbage anyway.
    if (micro == std::numeric_limits<qint64>::min())
        return 0;
    const qint64 magnitude = micro < 0 ? -micro : micro;
    const qint64 rounded = magnitude / 1000 + (magnitude % 1000 >= 500 ? 1 : 0);
    return micro < 0 ? -rounded : rounded;
}

// µW / µV or µWh / µV, in milli units; 0 when it cannot be formed.
qint64 milliFromRatio(qint64 numerator, qint64 volts)
{
    if (volts <= 0)
        return 0;
    const double value = static_cast<double>(numerator) * 1000.0 / static_cast<double>(volts);
    return std::isfinite(value) && std::abs(value) < 1.0e15 ? std::llround(value) : 0;
}

std::optional<int> percentOf(qint64 now, qint64 full)
{
    if (full < 1)
        return std::nullopt;
    const double percent = std::round(static_cast<double>(now) / static_cast<double>(full) * 100.0);
    return static_cast<int>(std::clamp(percent, 0.0, 100.0));
}

std::optional<int> percentage(const SysfsAttributes& battery)
{
    const auto chargeNow = battery.number(QStringLiteral("charge_now"));
    const auto chargeFull = battery.number(QStringLiteral("charge_full"));
    if (chargeNow && chargeFull)
        return percentOf(*chargeNow, *chargeFull);
    const auto energyNow = battery.number(QStringLiteral("energy_now"));
    const auto energyFull = battery.number(QStringLiteral("energy_full"));
    if (energyNow && energyFull)
        return percentOf(*energyNow, *energyFull);
    // Batteries whose full capacity the firmware reports as broken offer
    // only the kernel's own figure.
    const auto capacity = battery.number(QStringLiteral("capacity"));
    if (capacity && *capacity >= 0 && *capacity <= 100)
        return static_cast<int>(*capacity);
    return std::nullopt;
}

void readMetrics(const SysfsAttributes& battery, const std::optional<QString>& status, PowerSupplyReading& reading)
{
    const qint64 microvolts = std::max<qint64>(0, battery.number(QStringLiteral("voltage_now")).value_or(0));
    reading.millivolts = milliFromMicro(microvolts);

    qint64 current = 0;
    if (const auto microamperes = battery.number(QStringLiteral("current_now")))
        current = milliFromMicro(*microamperes);
    else if (const auto microwatts = battery.number(QStringLiteral("power_now")))
        current = milliFromRatio(*microwatts, microvolts);
    if (equalsIgnoringCase(status, QLatin1String("Discharging")))
        current = -std::abs(current);
    else if (equalsIgnoringCase(status, QLatin1String("Charging")))
        current = std::abs(current);
    reading.milliamperes = current;

    qint64 capacity = 0;
    if (const auto microampereHours = battery.number(QStringLiteral("charge_now")))
        capacity = milliFromMicro(*microampereHours);
    else if (const auto microwattHours = battery.number(QStringLiteral("energy_now")))
        capacity = milliFromRatio(*microwattHours, microvolts);
    reading.capacityMah = std::max<qint64>(0, capacity);
}

// The battery's full charge in mAh, 0 when it cannot be formed.
qint64 fullMah(const SysfsAttributes& battery)
{
    if (const auto microampereHours = battery.number(QStringLiteral("charge_full")))
        return std::max<qint64>(0, milliFromMicro(*microampereHours));
    const qint64 microvolts = std::max<qint64>(0, battery.number(QStringLiteral("voltage_now")).value_or(0));
    if (const auto microwattHours = battery.number(QStringLiteral("energy_full")))
        return std::max<qint64>(0, milliFromRatio(*microwattHours, microvolts));
    return 0;
}

// Several batteries (a ThinkPad's internal and removable packs) as one: the
// charge weighted by each pack's full capacity, or the plain mean when a
// capacity is unknown; currents and charges summed; the first voltage read.
void combine(const std::vector<SysfsAttributes>& batteries, PowerSupplyReading& reading)
{
    double weighted = 0, weights = 0, plainSum = 0;
    int known = 0;
    bool allWeighted = true;
    for (const SysfsAttributes& battery : batteries) {
        const auto status = battery.text(QStringLiteral("status"));
        PowerSupplyReading one;
        readMetrics(battery, status, one);
        reading.milliamperes += one.milliamperes;
        reading.capacityMah += one.capacityMah;
        if (reading.millivolts == 0)
            reading.millivolts = one.millivolts;
        reading.isCharging = reading.isCharging || equalsIgnoringCase(status, QLatin1String("Charging"));
        if (const auto percent = percentage(battery)) {
            const auto full = static_cast<double>(fullMah(battery));
            allWeighted = allWeighted && full > 0;
            weighted += *percent * full;
            weights += full;
            plainSum += *percent;
            ++known;
        }
    }
    if (known > 0) {
        const double percent = allWeighted ? weighted / weights : plainSum / known;
        reading.percentage = static_cast<int>(std::clamp(std::round(percent), 0.0, 100.0));
    }
}

} // namespace

SysfsPowerSupply::SysfsPowerSupply(QString root)
    : m_root(std::move(root))
{
}

PowerSupplyReading SysfsPowerSupply::read() const
{
    const QStringList names = supplyNames(m_root);
    std::vector<SysfsAttributes> batteries;
    bool anyAdapterAnswered = false;
    bool anyAdapterOnline = false;
    for (const QString& name : names) {
        const SysfsAttributes supply(m_root + QLatin1Char('/') + name);
        if (equalsIgnoringCase(supply.text(QStringLiteral("scope")), QLatin1String("Device")))
            continue;
        const auto type = supply.text(QStringLiteral("type"));
        if (equalsIgnoringCase(type, QLatin1String("Battery"))) {
            if (supply.number(QStringLiteral("present")).value_or(1) != 0)
                batteries.push_back(supply);
            continue;
        }
        // A UPS feeds the whole desk, not this computer's charger.
        if (!type || equalsIgnoringCase(type, QLatin1String("UPS")))
            continue;
        if (const auto online = supply.number(QStringLiteral("online"))) {
            anyAdapterAnswered = true;
            anyAdapterOnline = anyAdapterOnline || *online > 0;
        }
    }

    PowerSupplyReading reading;
    if (batteries.empty())
        return reading;
    reading.hasBattery = true;
    const bool anyDischarging = std::any_of(batteries.begin(), batteries.end(), [](const SysfsAttributes& battery) {
        return equalsIgnoringCase(battery.text(QStringLiteral("status")), QLatin1String("Discharging"));
    });
    reading.onAC = anyAdapterAnswered ? anyAdapterOnline : !anyDischarging;
    combine(batteries, reading);
    return reading;
}

} // namespace quillon::platform::linux_
