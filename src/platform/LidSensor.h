#pragma once

#include <optional>

namespace quillon::platform {

// Whether the laptop's lid is closed, read on demand (the closed-lid manager
// polls it every second). No value when the machine has no lid or the state
// cannot be read.
class LidSensor {
public:
    virtual ~LidSensor() = default;
    virtual std::optional<bool> isClosed() = 0;
};

} // namespace quillon::platform
