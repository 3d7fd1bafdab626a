#include "SmcNumber.h"

#include "FourCC.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quillon::smc {

namespace {

constexpr std::uint32_t ui16 = FourCC::pack("ui16");

std::uint32_t bigEndian(const std::uint8_t* bytes, std::uint32_t size)
{
    std::uint32_t value = 0;
    for (std::uint32_t i = 0; i < size; ++i)
        value = (value << 8) | bytes[i];
    return value;
}

std::uint32_t putBigEndian(std::uint32_t value, std::uint32_t size, std::uint8_t* out)
{
    for (std::uint32_t i = 0; i < size; ++i)
        out[i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
    return size;
}

// The rounded value clamped to lo..hi.
double clampedRound(double value, double lo, double hi)
{
    return std::clamp(std::round(value), lo, hi);
}

} // namespace

std::optional<double> SmcNumber::decode(std::uint32_t type, const std::uint8_t* bytes, std::uint32_t size)
{
    if (!bytes)
        return std::nullopt;
    if (type == SmcType::flt && size == 4) {
        float value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
    if (type == SmcType::fpe2 && size == 2)
        return bigEndian(bytes, 2) / 4.0;
    if (type == SmcType::sp78 && size == 2)
        return static_cast<std::int16_t>(bigEndian(bytes, 2)) / 256.0;
    if ((type == SmcType::ui8 && size == 1) || (type == ui16 && size == 2) || (type == SmcType::ui32 && size == 4))
        return bigEndian(bytes, size);
    return std::nullopt;
}

std::uint32_t SmcNumber::encode(std::uint32_t type, double value, std::uint8_t* out)
{
    if (!std::isfinite(value) || !out)
        return 0;
    if (type == SmcType::flt) {
        const auto f = static_cast<float>(value);
        std::memcpy(out, &f, sizeof f);
        return sizeof f;
    }
    if (type == SmcType::fpe2)
        return putBigEndian(static_cast<std::uint32_t>(clampedRound(value * 4.0, 0, 0xFFFF)), 2, out);
    if (type == SmcType::sp78) {
        const auto fixed = static_cast<std::int16_t>(clampedRound(value * 256.0, -32768, 32767));
        return putBigEndian(static_cast<std::uint16_t>(fixed), 2, out);
    }
    if (type == SmcType::ui8)
        return putBigEndian(static_cast<std::uint32_t>(clampedRound(value, 0, 0xFF)), 1, out);
    if (type == ui16)
        return putBigEndian(static_cast<std::uint32_t>(clampedRound(value, 0, 0xFFFF)), 2, out);
    if (type == SmcType::ui32)
        return putBigEndian(static_cast<std::uint32_t>(clampedRound(value, 0, 0xFFFFFFFF)), 4, out);
    return 0;
}

bool SmcNumber::isTemperatureType(std::uint32_t type, std::uint32_t size)
{
    return (type == SmcType::flt && size == 4) || (type == SmcType::sp78 && size == 2);
}

} // namespace quillon::smc
