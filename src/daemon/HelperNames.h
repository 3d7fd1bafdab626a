#pragma once

namespace quillon::daemon {

// The helper's names on the bus, shared with its clients and data files.
namespace HelperNames {
// Bus name and interface alike.
constexpr const char* kService = "org.quillon.Quillon.smchelper";
constexpr const char* kObjectPath = "/org/quillon/Quillon/smchelper";
} // namespace HelperNames

} // namespace quillon::daemon
