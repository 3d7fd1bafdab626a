#pragma once

#include <cstdint>

namespace quillon::smc {

// Command codes carried in SmcParamRecord::data8.
enum class SmcCommand : std::uint8_t {
    readKey = 5,
    writeKey = 6,
    keyAtIndex = 8,
    keyInfo = 9,
};

// Status codes of the csmc_* functions: 0, an IOKit kern_return_t, the SMC's
// result byte, or kServiceMissing.
namespace SmcStatus {
constexpr std::uint32_t kSuccess = 0;
// No AppleSMC service (or, here, no SMC transport configured or reachable).
constexpr std::uint32_t kServiceMissing = 0xFFFFFFFFu;
// IOKit codes the transports report for transport-level failures.
constexpr std::uint32_t kIOReturnNotPrivileged = 0xE00002C1u;
constexpr std::uint32_t kIOReturnBadArgument = 0xE00002C2u;
constexpr std::uint32_t kIOReturnUnsupported = 0xE00002C7u;
constexpr std::uint32_t kIOReturnNotResponding = 0xE00002EDu;
} // namespace SmcStatus

// Result bytes the SMC itself answers with.
namespace SmcResult {
constexpr std::uint8_t kSuccess = 0x00;
constexpr std::uint8_t kBadCommand = 0x82;
constexpr std::uint8_t kKeyNotFound = 0x84;
constexpr std::uint8_t kKeyNotWritable = 0x86;
constexpr std::uint8_t kSensorTimeout = 0xB7;
constexpr std::uint8_t kKeyIndexRange = 0xB8;
} // namespace SmcResult

// Selector of the AppleSMC user client's struct method.
constexpr std::uint32_t kSmcUserClientSelector = 2;

} // namespace quillon::smc
