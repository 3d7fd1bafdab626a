#pragma once

#include "FanKeys.h"

#include "smc/SmcConnection.h"

#include <array>
#include <cstdint>
#include <optional>

namespace quillon::daemon {

// The keys the control loop writes ("Ftst", each fan's mode and target) and
// the value each last took, so that a tick writes only what changes.
//
// What is remembered is only what this helper wrote, and the SMC can change
// these keys behind its back: the firmware after a sleep or for its own
// protection, a driver's watchdog, another program. So a value is trusted
// only until forget(): the loop forgets on every start and release, on a
// resume, when a read shows a key holding something else, and every
// kReassertTicks ticks regardless, which bounds how long an override
// nobody read can stand. A write that fails is never remembered.
class ControlWrites {
public:
    // Every 8 s of the loop, with the tick's log line.
    static constexpr int kReassertTicks = 20;

    ControlWrites(smc::SmcConnection& smc, const FanKeys& fans);

    // Each writes unless the key is known to hold value; the write's status,
    // or 0 when none was needed.
    std::uint32_t forceTest(std::uint8_t value);
    std::uint32_t mode(int fan, std::uint8_t value);
    std::uint32_t target(int fan, int rpm);

    // The target last written to the fan, while remembered.
    std::optional<int> writtenTarget(int fan) const;
    void forget() { m_values.fill(std::nullopt); }

private:
    static constexpr std::size_t kSlots = 1 + 2 * FanKeys::kMaxFans;
    std::uint32_t write(std::size_t slot, int value, bool asNumber, const char* key);

    smc::SmcConnection& m_smc;
    const FanKeys& m_fans;
    std::array<std::optional<int>, kSlots> m_values{};
};

} // namespace quillon::daemon
