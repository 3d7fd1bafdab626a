#include "HwmonSensorFamily.h"

#include <algorithm>
#include <iterator>

namespace quillon::smc {

namespace {

struct Entry {
    std::string_view driver;
    std::string_view labelPrefix; // "" matches every label, and no label
    char family;
};
constexpr Entry kEntries[] = {
    {"coretemp", "Package id", 'c'},
    {"coretemp", "Core", 'p'},
    {"k10temp", "Tctl", 'c'},
    {"k10temp", "Tdie", 'c'},
    {"k10temp", "Tccd", 'p'},
    {"zenpower", "Tctl", 'c'},
    {"zenpower", "Tdie", 'c'},
    {"zenpower", "Tccd", 'p'},
    {"amdgpu", "edge", 'g'},
    {"amdgpu", "junction", 'g'},
    {"radeon", "", 'g'},
    {"nouveau", "", 'g'},
};

} // namespace

char HwmonSensorFamily::of(std::string_view driver, std::string_view label)
{
    const auto it = std::find_if(std::begin(kEntries), std::end(kEntries),
        [&](const Entry& e) { return e.driver == driver && label.starts_with(e.labelPrefix); });
    return it == std::end(kEntries) ? 'x' : it->family;
}

} // namespace quillon::smc
