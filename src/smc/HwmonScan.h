#pragma once

#include <string>
#include <vector>

namespace quillon::smc {

// The hwmon devices of a machine, found through the /sys/class/hwmon links
// as the kernel lays them out. hwmonN numbers change between boots, so a
// device is known by its driver name and its device path, and the list is
// sorted by device path: the same machine lists its devices in the same
// order every boot.
class HwmonScan {
public:
    HwmonScan() = delete;

    struct Device {
        std::string name;       // the driver's hwmon name, e.g. "nct6798"
        std::string dir;        // the real hwmonN directory, where its attribute files are
        std::string devicePath; // dir relative to sysfsRoot, e.g. "devices/platform/nct6775.656/hwmon/hwmon2"
    };

    // Every hwmon device under sysfsRoot with a readable name. A class entry
    // is followed only when it leads into sysfsRoot's devices folder (or is
    // a directory itself, as in older captures); anything else is skipped.
    static std::vector<Device> devices(const std::string& sysfsRoot);
};

} // namespace quillon::smc
