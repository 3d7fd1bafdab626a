#pragma once

#include <string_view>

namespace quillon::smc {

// Which family of SMC-style temperature keys a hwmon temperature joins, so
// that the helper picks its safety sensors by key as on a Mac (Apple
// silicon's rule: Tc, Tp, Te and Tg are safety keys, Tg the GPU's):
//   coretemp "Package id N", k10temp/zenpower "Tctl"/"Tdie"  -> 'c' (CPU)
//   coretemp "Core N", k10temp/zenpower "Tccd N"             -> 'p' (CPU cores)
//   amdgpu "edge"/"junction", nouveau, radeon                -> 'g' (GPU)
//   anything else (an EC's board sensor, a drive, the
//   battery, memory, a GPU's memory sensor)                  -> 'x' (shown, never a safety sensor)
class HwmonSensorFamily {
public:
    HwmonSensorFamily() = delete;

    static char of(std::string_view driver, std::string_view label);
};

} // namespace quillon::smc
