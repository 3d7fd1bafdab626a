#pragma once

#include <cstdint>
#include <optional>

namespace quillon::smc {

// A key's value as a number, by its SMC data type: "flt " (4-byte float in
// host order, as Apple silicon and T2 SMCs keep it), "fpe2" (unsigned 14.2
// fixed point, big-endian), "sp78" (signed 8.8 fixed point, big-endian) and
// the big-endian integers "ui8 ", "ui16", "ui32". Any other type, or a size
// that does not fit the type, is no number.
class SmcNumber {
public:
    SmcNumber() = delete;

    static std::optional<double> decode(std::uint32_t type, const std::uint8_t* bytes, std::uint32_t size);

    // Writes value in the type's encoding to out (at least 4 bytes) and
    // returns the byte count, or 0 when the type is not a number type or the
    // value is not finite. Fixed-point and integer values are rounded and
    // clamped to the type's range.
    static std::uint32_t encode(std::uint32_t type, double value, std::uint8_t* out);

    // Whether a key of this type and size can hold a temperature.
    static bool isTemperatureType(std::uint32_t type, std::uint32_t size);
};

} // namespace quillon::smc
