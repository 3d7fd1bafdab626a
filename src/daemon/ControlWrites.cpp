#include "ControlWrites.h"

#include "smc/SmcCodes.h"

namespace quillon::daemon {

namespace {
// Slot 0 is "Ftst"; then each fan's mode and target.
constexpr std::size_t modeSlot(int fan)
{
    return 1 + 2 * static_cast<std::size_t>(fan);
}
constexpr std::size_t targetSlot(int fan)
{
    return modeSlot(fan) + 1;
}
} // namespace

ControlWrites::ControlWrites(smc::SmcConnection& smc, const FanKeys& fans)
    : m_smc(smc)
    , m_fans(fans)
{
}

std::uint32_t ControlWrites::forceTest(std::uint8_t value)
{
    return write(0, value, false, FanKeys::kForceTest);
}

std::uint32_t ControlWrites::mode(int fan, std::uint8_t value)
{
    return write(modeSlot(fan), value, false, m_fans[fan].mode.c_str());
}

std::uint32_t ControlWrites::target(int fan, int rpm)
{
    return write(targetSlot(fan), rpm, true, m_fans[fan].target.c_str());
}

std::optional<int> ControlWrites::writtenTarget(int fan) const
{
    return m_values[targetSlot(fan)];
}

std::uint32_t ControlWrites::write(std::size_t slot, int value, bool asNumber, const char* key)
{
    if (m_values[slot] == value)
        return smc::SmcStatus::kSuccess;
    const std::uint32_t status
        = asNumber ? m_smc.writeNumber(key, value) : m_smc.writeU8(key, static_cast<std::uint8_t>(value));
    m_values[slot] = status == smc::SmcStatus::kSuccess ? std::optional(value) : std::nullopt;
    return status;
}

} // namespace quillon::daemon
