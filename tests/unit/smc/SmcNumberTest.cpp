#include "smc/SmcNumber.h"

#include "smc/FourCC.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

using namespace quillon::smc;

namespace {

std::vector<std::uint8_t> encoded(std::uint32_t type, double value)
{
    std::uint8_t bytes[4] = {};
    return {bytes, bytes + SmcNumber::encode(type, value, bytes)};
}

TEST(SmcNumber, EachTypeRoundTripsAndClampsToItsRange)
{
    const std::uint32_t ui16 = FourCC::pack("ui16");
    EXPECT_EQ(encoded(SmcType::fpe2, 6500), (std::vector<std::uint8_t>{0x65, 0x90}));
    EXPECT_EQ(encoded(SmcType::fpe2, -20), (std::vector<std::uint8_t>{0, 0}));
    EXPECT_EQ(encoded(SmcType::sp78, -127), (std::vector<std::uint8_t>{0x81, 0x00}));
    EXPECT_EQ(encoded(SmcType::sp78, 49.25), (std::vector<std::uint8_t>{0x31, 0x40}));
    EXPECT_EQ(encoded(SmcType::ui8, 300), (std::vector<std::uint8_t>{0xFF}));
    EXPECT_EQ(encoded(ui16, 258), (std::vector<std::uint8_t>{0x01, 0x02}));
    EXPECT_TRUE(encoded(SmcType::flt, NAN).empty());
    EXPECT_TRUE(encoded(SmcType::ch8, 1).empty());

    for (const std::uint32_t type : {SmcType::flt, SmcType::fpe2, SmcType::sp78, SmcType::ui8, ui16, SmcType::ui32}) {
        std::uint8_t bytes[4];
        const std::uint32_t size = SmcNumber::encode(type, 42.5, bytes);
        const std::optional<double> back = SmcNumber::decode(type, bytes, size);
        ASSERT_TRUE(back) << FourCC::unpack(type);
        EXPECT_NEAR(*back, 42.5, 0.5) << FourCC::unpack(type);
    }
    const std::uint8_t two[2] = {0x12, 0xc0};
    EXPECT_EQ(SmcNumber::decode(SmcType::fpe2, two, 2), 1200.0);
    EXPECT_EQ(SmcNumber::decode(SmcType::fpe2, two, 1), std::nullopt) << "a size that does not fit the type";
    EXPECT_EQ(SmcNumber::decode(SmcType::flt, two, 2), std::nullopt);
    EXPECT_EQ(SmcNumber::decode(SmcType::ch8, two, 2), std::nullopt);
}

} // namespace
