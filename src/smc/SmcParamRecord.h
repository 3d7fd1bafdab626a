#pragma once

#include <cstddef>
#include <cstdint>

namespace quillon::smc {

// The 80-byte parameter record the AppleSMC user client takes as both input
// and output of selector 2. Host byte order, natural alignment; the layout is
// the kernel's wire format, so every offset is pinned below.
struct SmcParamRecord {
    struct Version {
        std::uint8_t major;
        std::uint8_t minor;
        std::uint8_t build;
        std::uint8_t reserved;
        std::uint16_t release;
    };
    struct PowerLimitData {
        std::uint16_t version;
        std::uint16_t length;
        std::uint32_t cpuPLimit;
        std::uint32_t gpuPLimit;
        std::uint32_t memPLimit;
    };
    struct KeyInfo {
        std::uint32_t dataSize; // bytes in the key's value
        std::uint32_t dataType; // four-character type code, packed like a key
        std::uint8_t dataAttributes;
    };

    std::uint32_t key; // four key characters, packed big-endian
    Version vers;
    PowerLimitData pLimitData;
    KeyInfo keyInfo;
    std::uint8_t result; // 0 = success, else the SMC's error byte
    std::uint8_t status;
    std::uint8_t data8;     // command code (SmcCommand)
    std::uint32_t data32;   // key index for SmcCommand::keyAtIndex
    std::uint8_t bytes[32]; // value bytes
};

static_assert(sizeof(SmcParamRecord) == 80);
static_assert(offsetof(SmcParamRecord, key) == 0);
static_assert(offsetof(SmcParamRecord, vers) == 4 && sizeof(SmcParamRecord::Version) == 6);
static_assert(offsetof(SmcParamRecord, pLimitData) == 12 && sizeof(SmcParamRecord::PowerLimitData) == 16);
static_assert(offsetof(SmcParamRecord, keyInfo) == 28);
static_assert(offsetof(SmcParamRecord, keyInfo.dataType) == 32);
static_assert(offsetof(SmcParamRecord, keyInfo.dataAttributes) == 36);
static_assert(offsetof(SmcParamRecord, result) == 40);
static_assert(offsetof(SmcParamRecord, status) == 41);
static_assert(offsetof(SmcParamRecord, data8) == 42);
static_assert(offsetof(SmcParamRecord, data32) == 44);
static_assert(offsetof(SmcParamRecord, bytes) == 48);

} // namespace quillon::smc
