#pragma once

#include <QString>

namespace quillon::platform::linux_ {

// Whether Linux runs on a Mac: the firmware's DMI vendor is Apple (Intel
// and T2 Macs), or the device tree names an Apple machine (Apple silicon).
// Texts that speak of "your Mac" use it to speak of "your computer" elsewhere.
class MacHardware {
public:
    MacHardware() = delete;

    // sysfsRoot: where sysfs is ("/sys", or a captured tree in tests).
    // Anything unreadable counts as not a Mac.
    static bool detect(const QString& sysfsRoot);
    // detect() on QUILLON_SYSFS_ROOT, else "/sys".
    static bool detect();
};

} // namespace quillon::platform::linux_
