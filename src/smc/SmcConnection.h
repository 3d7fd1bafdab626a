#pragma once

#include "SmcTransport.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <string>
#include <string_view>

namespace quillon::smc {

// One connection to the SMC and every key operation on it. The csmc_* C
// functions are thin wrappers over the process-wide instance; tools and tests
// that want their own SMC build one over any transport.
//
// Keys are four ASCII characters; a shorter key is padded with zero bytes,
// which the SMC does not know. Status results are 0, the transport's error
// code, the SMC's non-zero result byte, or SmcStatus::kServiceMissing.
// Not thread-safe: callers serialise (the helper uses one queue).
class SmcConnection {
public:
    // transport may be null: then every operation reports the missing service.
    explicit SmcConnection(std::unique_ptr<SmcTransport> transport);

    // The connection behind csmc_*, over the transport QUILLON_SMC selects.
    static SmcConnection& processWide();

    // Opens the transport on first use; 0 at once when already open.
    std::uint32_t open();

    // Remember each key's info (size and type) after its first look-up, and
    // which keys the SMC lacks, so that a read or write is one round trip
    // instead of two and a missing key none. An SMC's keys do not come, go
    // or change type while it runs; a value phase that fails drops the key's
    // entry, so the next call looks it up again. Off by default: every call
    // then does both phases, as the tools expect.
    void setKeyInfoCached(bool cached);

    // A key read (SmcCommand::readKey) or write (any other command) in two
    // phases: key info first, then the value with the SMC's own size. For a
    // write, input holds at most 32 bytes. For a read, ioLength carries the
    // output capacity in and the bytes copied out (at most 32).
    std::uint32_t call(std::uint32_t key, std::uint8_t command, const std::uint8_t* input, std::uint32_t inputLength,
        std::uint8_t* output, std::uint32_t* ioLength);

    // The key's value decoded in its own type (SmcNumber: flt, fpe2, sp78,
    // unsigned integers); nullopt when the read fails or the type is none of
    // these. The same two round trips as readFlt.
    std::optional<double> readNumber(std::string_view key);
    // value encoded in the key's own type; kIOReturnBadArgument when the
    // type holds no number or the value is not finite.
    std::uint32_t writeNumber(std::string_view key, double value);

    // What the transport says of the machine; Apple silicon and "" without one.
    SmcGeneration generation() const;
    std::string fanControlUnavailable() const;

    // 0.0 with ok = false unless the read succeeded with at least 4 bytes.
    float readFlt(std::string_view key, bool* ok = nullptr);
    std::uint32_t writeFlt(std::string_view key, float value);
    // The first value byte (0 when none came back); ok = the read's status was 0.
    std::uint8_t readU8(std::string_view key, bool* ok = nullptr);
    std::uint32_t writeU8(std::string_view key, std::uint8_t value);
    // Writes rpm, clamped to 0..16383, as fpe2: rpm * 4, big-endian 16-bit.
    std::uint32_t writeFpe2(std::string_view key, int rpm);
    std::uint32_t keyInfo(
        std::string_view key, std::uint32_t* dataSize, std::uint32_t* dataType, std::uint8_t* attributes);
    std::uint32_t readRaw(std::string_view key, std::uint8_t* buffer, std::uint32_t capacity, std::uint32_t* length);
    // The number of keys from "#KEY"; 0 on any failure.
    std::uint32_t keyCount();
    // On success writes the key's four characters and a NUL to out.
    std::uint32_t keyAtIndex(std::uint32_t index, char out[5]);

    // The fpe2 bytes for rpm, after clamping to 0..16383.
    static void encodeFpe2(int rpm, std::uint8_t out[2]);

private:
    // The two phases of call(): key info, then the value with that info.
    std::uint32_t lookUp(std::uint32_t key, SmcParamRecord::KeyInfo& info);
    std::uint32_t transfer(std::uint32_t key, std::uint8_t command, const SmcParamRecord::KeyInfo& info,
        const std::uint8_t* input, std::uint32_t inputLength, std::uint8_t* output, std::uint32_t* ioLength);
    // One record round trip after a lazy open; returns the transport's error
    // code, else the SMC's result byte.
    std::uint32_t roundTrip(const SmcParamRecord& in, SmcParamRecord& out);

    std::unique_ptr<SmcTransport> m_transport;
    bool m_open = false;
    bool m_cacheKeyInfo = false;
    std::unordered_map<std::uint32_t, std::optional<SmcParamRecord::KeyInfo>> m_keyInfo; // nullopt: no such key
};

} // namespace quillon::smc
