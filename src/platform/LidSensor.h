#pragma once

#include <optional>

namespace quillon::platform {

// Whether the laptop's lid is closed (the closed-lid manager polls it every
// second, on the main thread). Answers at once, from what the sensor last
// learnt where asking the system takes a round trip. No value when the
// machine has no lid or the state cannot be read (yet).
class LidSensor {
public:
    virtual ~LidSensor() = default;
    virtual std::optional<bool> isClosed() = 0;
};

} // namespace quillon::platform
