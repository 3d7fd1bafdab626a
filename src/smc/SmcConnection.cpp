#include "SmcConnection.h"

#include "FourCC.h"
#include "SmcCodes.h"
#include "SmcNumber.h"
#include "SmcTransportFactory.h"

#include <algorithm>
#include <cstring>

namespace quillon::smc {

namespace {
constexpr std::uint32_t kMaxValueBytes = sizeof(SmcParamRecord::bytes);
constexpr int kFpe2MaxRpm = 16383; // 14 integer bits
} // namespace

SmcConnection::SmcConnection(std::unique_ptr<SmcTransport> transport)
    : m_transport(std::move(transport))
{
}

SmcConnection& SmcConnection::processWide()
{
    static SmcConnection connection(SmcTransportFactory::fromEnvironment());
    return connection;
}

std::uint32_t SmcConnection::open()
{
    if (m_open)
        return SmcStatus::kSuccess;
    if (!m_transport)
        return SmcStatus::kServiceMissing;
    const std::uint32_t rc = m_transport->open();
    m_open = rc == SmcStatus::kSuccess;
    return rc;
}

void SmcConnection::setKeyInfoCached(bool cached)
{
    m_cacheKeyInfo = cached;
    m_keyInfo.clear();
}

std::uint32_t SmcConnection::roundTrip(const SmcParamRecord& in, SmcParamRecord& out)
{
    if (const std::uint32_t rc = open(); rc != SmcStatus::kSuccess)
        return rc;
    out = SmcParamRecord{};
    if (const std::uint32_t rc = m_transport->call(in, out); rc != SmcStatus::kSuccess)
        return rc;
    return out.result;
}

std::uint32_t SmcConnection::call(std::uint32_t key, std::uint8_t command, const std::uint8_t* input,
    std::uint32_t inputLength, std::uint8_t* output, std::uint32_t* ioLength)
{
    const bool isRead = command == static_cast<std::uint8_t>(SmcCommand::readKey);
    if (!isRead && (inputLength > kMaxValueBytes || (inputLength > 0 && !input)))
        return SmcStatus::kIOReturnBadArgument;
    SmcParamRecord::KeyInfo info{};
    if (const std::uint32_t rc = lookUp(key, info); rc != SmcStatus::kSuccess)
        return rc;
    return transfer(key, command, info, input, inputLength, output, ioLength);
}

std::uint32_t SmcConnection::lookUp(std::uint32_t key, SmcParamRecord::KeyInfo& info)
{
    if (m_cacheKeyInfo) {
        if (const auto cached = m_keyInfo.find(key); cached != m_keyInfo.end()) {
            if (!cached->second)
                return SmcResult::kKeyNotFound;
            info = *cached->second;
            return SmcStatus::kSuccess;
        }
    }
    SmcParamRecord in{};
    SmcParamRecord out{};
    in.key = key;
    in.data8 = static_cast<std::uint8_t>(SmcCommand::keyInfo);
    const std::uint32_t rc = roundTrip(in, out);
    if (rc == SmcStatus::kSuccess)
        info = out.keyInfo;
    if (m_cacheKeyInfo && (rc == SmcStatus::kSuccess || rc == SmcResult::kKeyNotFound))
        m_keyInfo.insert_or_assign(key, rc == SmcStatus::kSuccess ? std::optional(info) : std::nullopt);
    return rc;
}

std::uint32_t SmcConnection::transfer(std::uint32_t key, std::uint8_t command, const SmcParamRecord::KeyInfo& info,
    const std::uint8_t* input, std::uint32_t inputLength, std::uint8_t* output, std::uint32_t* ioLength)
{
    const bool isRead = command == static_cast<std::uint8_t>(SmcCommand::readKey);
    SmcParamRecord in{};
    SmcParamRecord out{};
    in.key = key;
    // The SMC's own size goes out on writes too, never the caller's length.
    in.keyInfo.dataSize = info.dataSize;
    in.data8 = command;
    if (isRead)
        in.keyInfo.dataType = info.dataType;
    else if (inputLength > 0)
        std::memcpy(in.bytes, input, inputLength);
    const std::uint32_t rc = roundTrip(in, out);
    if (rc != SmcStatus::kSuccess && m_cacheKeyInfo)
        m_keyInfo.erase(key); // perhaps stale: the next call asks the SMC again
    if (rc == SmcStatus::kSuccess && isRead && output) {
        const std::uint32_t capacity = ioLength ? *ioLength : 0;
        const std::uint32_t n = std::min({capacity, info.dataSize, kMaxValueBytes});
        std::memcpy(output, out.bytes, n);
        if (ioLength)
            *ioLength = n;
    }
    return rc;
}

std::optional<double> SmcConnection::readNumber(std::string_view key)
{
    const std::uint32_t packed = FourCC::pack(key);
    SmcParamRecord::KeyInfo info{};
    if (lookUp(packed, info) != SmcStatus::kSuccess || info.dataSize > kMaxValueBytes)
        return std::nullopt;
    std::uint8_t bytes[kMaxValueBytes] = {};
    std::uint32_t length = sizeof bytes;
    if (transfer(packed, static_cast<std::uint8_t>(SmcCommand::readKey), info, nullptr, 0, bytes, &length)
        != SmcStatus::kSuccess)
        return std::nullopt;
    return SmcNumber::decode(info.dataType, bytes, length == info.dataSize ? length : 0);
}

std::uint32_t SmcConnection::writeNumber(std::string_view key, double value)
{
    const std::uint32_t packed = FourCC::pack(key);
    SmcParamRecord::KeyInfo info{};
    if (const std::uint32_t rc = lookUp(packed, info); rc != SmcStatus::kSuccess)
        return rc;
    std::uint8_t bytes[4];
    const std::uint32_t length = SmcNumber::encode(info.dataType, value, bytes);
    if (length == 0 || length != info.dataSize)
        return SmcStatus::kIOReturnBadArgument;
    return transfer(packed, static_cast<std::uint8_t>(SmcCommand::writeKey), info, bytes, length, nullptr, nullptr);
}

SmcGeneration SmcConnection::generation() const
{
    return m_transport ? m_transport->generation() : SmcGeneration::appleSilicon;
}

std::string SmcConnection::fanControlUnavailable() const
{
    return m_transport ? m_transport->fanControlUnavailable() : std::string();
}

std::uint32_t SmcConnection::readRaw(
    std::string_view key, std::uint8_t* buffer, std::uint32_t capacity, std::uint32_t* length)
{
    std::uint32_t n = buffer ? capacity : 0;
    const std::uint32_t rc
        = call(FourCC::pack(key), static_cast<std::uint8_t>(SmcCommand::readKey), nullptr, 0, buffer, &n);
    if (length)
        *length = rc == SmcStatus::kSuccess ? n : 0;
    return rc;
}

float SmcConnection::readFlt(std::string_view key, bool* ok)
{
    std::uint8_t bytes[4] = {};
    std::uint32_t length = 0;
    const bool good = readRaw(key, bytes, sizeof bytes, &length) == SmcStatus::kSuccess && length >= 4;
    if (ok)
        *ok = good;
    float value = 0.0f;
    if (good)
        std::memcpy(&value, bytes, sizeof value);
    return value;
}

std::uint32_t SmcConnection::writeFlt(std::string_view key, float value)
{
    std::uint8_t bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    return call(
        FourCC::pack(key), static_cast<std::uint8_t>(SmcCommand::writeKey), bytes, sizeof bytes, nullptr, nullptr);
}

std::uint8_t SmcConnection::readU8(std::string_view key, bool* ok)
{
    std::uint8_t byte = 0;
    std::uint32_t length = 0;
    const std::uint32_t rc = readRaw(key, &byte, 1, &length);
    if (ok)
        *ok = rc == SmcStatus::kSuccess;
    return length > 0 ? byte : 0;
}

std::uint32_t SmcConnection::writeU8(std::string_view key, std::uint8_t value)
{
    return call(FourCC::pack(key), static_cast<std::uint8_t>(SmcCommand::writeKey), &value, 1, nullptr, nullptr);
}

void SmcConnection::encodeFpe2(int rpm, std::uint8_t out[2])
{
    const int clamped = std::clamp(rpm, 0, kFpe2MaxRpm);
    out[0] = static_cast<std::uint8_t>(clamped >> 6);
    out[1] = static_cast<std::uint8_t>((clamped << 2) & 0xFF);
}

std::uint32_t SmcConnection::writeFpe2(std::string_view key, int rpm)
{
    std::uint8_t bytes[2];
    encodeFpe2(rpm, bytes);
    return call(
        FourCC::pack(key), static_cast<std::uint8_t>(SmcCommand::writeKey), bytes, sizeof bytes, nullptr, nullptr);
}

std::uint32_t SmcConnection::keyInfo(
    std::string_view key, std::uint32_t* dataSize, std::uint32_t* dataType, std::uint8_t* attributes)
{
    SmcParamRecord::KeyInfo info{};
    const std::uint32_t rc = lookUp(FourCC::pack(key), info);
    if (rc == SmcStatus::kSuccess) {
        if (dataSize)
            *dataSize = info.dataSize;
        if (dataType)
            *dataType = info.dataType;
        if (attributes)
            *attributes = info.dataAttributes;
    }
    return rc;
}

std::uint32_t SmcConnection::keyCount()
{
    std::uint8_t bytes[4] = {};
    std::uint32_t length = 0;
    if (readRaw("#KEY", bytes, sizeof bytes, &length) != SmcStatus::kSuccess || length < 4)
        return 0;
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) | (std::uint32_t{bytes[2]} << 8)
        | bytes[3];
}

std::uint32_t SmcConnection::keyAtIndex(std::uint32_t index, char out[5])
{
    SmcParamRecord in{};
    SmcParamRecord reply{};
    in.data8 = static_cast<std::uint8_t>(SmcCommand::keyAtIndex);
    in.data32 = index;
    const std::uint32_t rc = roundTrip(in, reply);
    if (rc == SmcStatus::kSuccess && out) {
        const std::string key = FourCC::unpack(reply.key);
        std::memcpy(out, key.data(), 4);
        out[4] = '\0';
    }
    return rc;
}

} // namespace quillon::smc
