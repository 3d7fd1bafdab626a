#pragma once

namespace quillon::platform::linux_ {

// How long a D-Bus call made on the main thread may block. The calls answer
// in milliseconds; the bound only matters for a service that hangs. A call
// that may start its service (bus activation) gets more time.
namespace DBusTimeouts {
constexpr int callMs = 2000;
constexpr int activatingCallMs = 5000;
} // namespace DBusTimeouts

} // namespace quillon::platform::linux_
