#pragma once

#include "platform/PowerSupply.h"

#include <QString>

namespace quillon::platform::linux_ {

// The power supply from the kernel's power_supply class
// (/sys/class/power_supply, or a captured copy of it for tests and --power).
//
// The computer's battery is the first supply, by name, of type "Battery"
// that is present and not scoped to a device (a wireless mouse reports its
// battery with scope "Device"; it never counts). Mains power is any other
// supply of ours reporting itself online; with no such supply to ask, the
// battery's status decides ("Discharging" = on battery).
//
// Units: the kernel's µV, µA, µAh (charge-reporting batteries) or µW, µWh
// (energy-reporting ones), converted to mV, mA and mAh, rounded to nearest;
// energy and power become charge and current at the present voltage. The
// sign of the current comes from the status, because many drivers (ACPI)
// report it unsigned: "Discharging" is negative, "Charging" positive, any
// other status keeps the driver's sign.
class SysfsPowerSupply : public PowerSupply {
public:
    explicit SysfsPowerSupply(QString root = QStringLiteral("/sys/class/power_supply"));

    PowerSupplyReading read() const override;

private:
    QString m_root;
};

} // namespace quillon::platform::linux_
