#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon::smc {

// Four-character codes as the SMC packs them: keys ("F0Ac") and data types
// ("flt ") alike, first character in the most significant byte.
class FourCC {
public:
    FourCC() = delete;

    // Packs up to four characters; a shorter text is padded with zero bytes.
    static constexpr std::uint32_t pack(std::string_view text)
    {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            const auto c = i < text.size() ? static_cast<std::uint8_t>(text[i]) : std::uint8_t{0};
            value = (value << 8) | c;
        }
        return value;
    }

    // The four characters, most significant byte first.
    static std::string unpack(std::uint32_t value)
    {
        std::string text(4, '\0');
        for (int i = 0; i < 4; ++i)
            text[static_cast<std::size_t>(i)] = static_cast<char>((value >> (24 - 8 * i)) & 0xFF);
        return text;
    }
};

// The data types the tools and the simulated Mac know by name.
namespace SmcType {
constexpr std::uint32_t flt = FourCC::pack("flt ");
constexpr std::uint32_t ui8 = FourCC::pack("ui8 ");
constexpr std::uint32_t ui32 = FourCC::pack("ui32");
constexpr std::uint32_t fpe2 = FourCC::pack("fpe2");
constexpr std::uint32_t sp78 = FourCC::pack("sp78");
constexpr std::uint32_t ch8 = FourCC::pack("ch8*");
} // namespace SmcType

} // namespace quillon::smc
