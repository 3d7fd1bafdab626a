#include "smc/FourCC.h"
#include "smc/SmcCodes.h"
#include "support/SimRig.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

using namespace quillon::smc;
using quillon::test::SimRig;

namespace {

double hottestCpu(SmcConnection& smc)
{
    double hottest = 0;
    for (const char* key : {"Tp01", "Tp05", "Tp09", "Tp0D"})
        hottest = std::max(hottest, static_cast<double>(smc.readFlt(key)));
    return hottest;
}

TEST(SimulatedMacKeys, EnumerationIsCompleteSortedAndMatchesKeyInfo)
{
    SimRig rig;
    const std::uint32_t count = rig.smc.keyCount();
    ASSERT_GT(count, 20u);
    std::uint32_t previous = 0;
    std::set<std::string> names;
    for (std::uint32_t i = 0; i < count; ++i) {
        char name[5];
        ASSERT_EQ(rig.smc.keyAtIndex(i, name), SmcStatus::kSuccess) << i;
        EXPECT_GT(FourCC::pack(name), previous) << name;
        previous = FourCC::pack(name);
        std::uint32_t size = 0;
        EXPECT_EQ(rig.smc.keyInfo(name, &size, nullptr, nullptr), SmcStatus::kSuccess) << name;
        EXPECT_GT(size, 0u) << name;
        names.insert(name);
    }
    char name[5];
    EXPECT_EQ(rig.smc.keyAtIndex(count, name), SmcResult::kKeyIndexRange);
    for (const char* expected : {"#KEY", "FNum", "Ftst", "F0Ac", "F0Mn", "F0Mx", "F0Tg", "F0Md", "F1Md", "QLOD", "QFLT",
             "Tp01", "Te05", "Tg05", "Ts0P", "TB0T", "TC0P"})
        EXPECT_TRUE(names.count(expected)) << expected;
}

TEST(SimulatedMacKeys, UnknownReadOnlyAndMissizedKeysAnswerLikeAnSmc)
{
    SimRig rig;
    EXPECT_EQ(rig.smc.keyInfo("ZZZZ", nullptr, nullptr, nullptr), SmcResult::kKeyNotFound);
    EXPECT_EQ(rig.smc.writeFlt("F0Ac", 3000.0f), SmcResult::kKeyNotWritable);
    EXPECT_EQ(rig.smc.writeFlt("Tp01", 20.0f), SmcResult::kKeyNotWritable);
    EXPECT_EQ(rig.smc.writeU8("FNum", 5), SmcResult::kKeyNotWritable);
    EXPECT_EQ(rig.smc.readU8("FNum"), 2);

    // A raw request that lies about the size is refused, not misread.
    SmcParamRecord in{};
    SmcParamRecord out{};
    in.key = FourCC::pack("F0Tg");
    in.data8 = static_cast<std::uint8_t>(SmcCommand::readKey);
    in.keyInfo.dataSize = 32;
    rig.mac->handle(in, out);
    EXPECT_NE(out.result, SmcResult::kSuccess);
    in.data8 = 0x42;
    rig.mac->handle(in, out);
    EXPECT_EQ(out.result, SmcResult::kBadCommand);
}

// The firmware's own curve holds a loaded die below critical; a clock going
// backwards or jumping far changes nothing of that.
TEST(SimulatedMacThermal, LoadHeatsTheDieOverSecondsTheFirmwareSpeedsTheFansUpAndIdleCoolsIt)
{
    SimRig rig;
    const double idle = hottestCpu(rig.smc);
    EXPECT_GT(idle, 35.0);
    EXPECT_LT(idle, 60.0);
    EXPECT_EQ(rig.smc.readFlt("F0Ac"), 1200.0f);
    EXPECT_EQ(rig.smc.readFlt("F0Tg"), 1200.0f);
    ASSERT_EQ(rig.smc.writeU8("QLOD", 100), SmcStatus::kSuccess);
    EXPECT_NEAR(hottestCpu(rig.smc), idle, 0.01); // no time has passed
    rig.advance(2.0);
    EXPECT_GT(hottestCpu(rig.smc), idle + 8.0);
    rig.advance(60.0);
    const double settled = hottestCpu(rig.smc);
    EXPECT_GT(settled, 80.0);
    EXPECT_LT(settled, 100.0);
    EXPECT_GT(rig.smc.readFlt("F0Ac"), 3000.0f);
    EXPECT_GT(rig.smc.readFlt("F0Tg"), 3000.0f);

    rig.smc.writeU8("QLOD", 0);
    rig.advance(60.0);
    const double cooled = hottestCpu(rig.smc);
    EXPECT_LT(cooled, idle);

    rig.smc.writeU8("QLOD", 100);
    rig.advance(-500.0);
    EXPECT_NEAR(hottestCpu(rig.smc), cooled, 0.01);
    rig.advance(1e9);
    const double afterAJump = hottestCpu(rig.smc);
    EXPECT_GT(afterAJump, 80.0);
    EXPECT_LT(afterAJump, 100.0);
}

TEST(SimulatedMacThermal, ManualFansChaseTheirTargetWithASlewAndCoolTheDie)
{
    SimRig rig;
    rig.smc.writeU8("QLOD", 100);
    rig.advance(60.0);
    const double firmwareTemp = hottestCpu(rig.smc);

    ASSERT_EQ(rig.smc.writeU8("F0Md", 1), SmcStatus::kSuccess);
    ASSERT_EQ(rig.smc.writeU8("F1Md", 1), SmcStatus::kSuccess);
    rig.smc.writeFlt("F0Tg", 5700.0f);
    rig.smc.writeFlt("F1Tg", 6200.0f);
    const float start = rig.smc.readFlt("F0Ac");
    rig.advance(1.0);
    const float afterOne = rig.smc.readFlt("F0Ac");
    EXPECT_GT(afterOne, start);
    EXPECT_LE(afterOne - start, 900.0f + 1.0f);
    rig.advance(30.0);
    EXPECT_EQ(rig.smc.readFlt("F0Ac"), 5700.0f);
    EXPECT_EQ(rig.smc.readFlt("F0Tg"), 5700.0f);
    EXPECT_LT(hottestCpu(rig.smc), firmwareTemp - 3.0);

    // A manual target outside the fan's range is held inside it.
    rig.smc.writeFlt("F0Tg", 99999.0f);
    rig.smc.writeFlt("F1Tg", std::numeric_limits<float>::quiet_NaN());
    rig.advance(30.0);
    EXPECT_EQ(rig.smc.readFlt("F0Ac"), 5700.0f);
    EXPECT_EQ(rig.smc.readFlt("F1Ac"), 1300.0f);

    // Back to firmware control: the firmware's target takes over again.
    rig.smc.writeU8("F0Md", 0);
    rig.advance(30.0);
    EXPECT_LT(rig.smc.readFlt("F0Ac"), 5700.0f);
}

TEST(SimulatedMacThermal, HeldDieGivesExactTemperatures)
{
    SimulatedMac::Config config;
    config.fans = {{1200, 5200}};
    config.sensors = {{"Tp01", SmcType::flt, 1.0, 0.0}, {"Tg05", SmcType::flt, 1.0, -5.0}};
    SimRig rig(config);
    rig.mac->holdDieTemperature(60.0);
    rig.smc.writeU8("QLOD", 100);
    rig.advance(100.0);
    EXPECT_EQ(rig.smc.readFlt("Tp01"), 60.0f);
    EXPECT_EQ(rig.smc.readFlt("Tg05"), 55.0f);
    EXPECT_EQ(rig.smc.readFlt("F0Mx"), 5200.0f);
    rig.mac->holdDieTemperature(std::nullopt);
    rig.advance(30.0);
    EXPECT_GT(rig.smc.readFlt("Tp01"), 70.0f);
}

TEST(SimulatedMacFaults, EachFaultBitAndItsRemoval)
{
    SimRig rig;
    bool ok = true;

    ASSERT_EQ(rig.smc.writeU8("QFLT", SimulatedMac::temperatureReadsFail), SmcStatus::kSuccess);
    rig.smc.readFlt("Tp01", &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(rig.smc.keyInfo("Tp01", nullptr, nullptr, nullptr), SmcStatus::kSuccess);
    EXPECT_EQ(rig.smc.readFlt("F0Ac", &ok), 1200.0f); // fans still read
    EXPECT_TRUE(ok);

    rig.smc.writeU8("QFLT", SimulatedMac::temperaturesRead105);
    EXPECT_EQ(rig.smc.readFlt("Tp01", &ok), 105.0f);
    EXPECT_TRUE(ok);
    EXPECT_EQ(rig.smc.readFlt("Ts0P"), 105.0f);

    rig.smc.writeU8("QFLT", SimulatedMac::writesFail);
    EXPECT_EQ(rig.smc.writeU8("F0Md", 1), SmcResult::kBadCommand);
    EXPECT_EQ(rig.smc.readU8("F0Md"), 0);
    EXPECT_EQ(rig.smc.writeU8("QLOD", 50), SmcStatus::kSuccess); // control keys stay writable

    rig.smc.writeU8("QFLT", SimulatedMac::modeReadsBackManual);
    EXPECT_EQ(rig.smc.readU8("F0Md"), 1);
    EXPECT_EQ(rig.smc.writeU8("F0Md", 0), SmcStatus::kSuccess);
    EXPECT_EQ(rig.smc.readU8("F1Md"), 1);

    rig.smc.writeU8("QFLT", 0);
    rig.smc.writeU8("F0Md", 1);
    rig.smc.writeU8("QFLT", SimulatedMac::modeWritesIgnored);
    EXPECT_EQ(rig.smc.writeU8("F0Md", 0), SmcStatus::kSuccess);
    EXPECT_EQ(rig.smc.readU8("F0Md"), 1) << "the firmware did not take the fan back";
    rig.smc.writeU8("QFLT", 0);
    rig.smc.writeU8("F0Md", 0);

    rig.smc.writeU8("QFLT", 0xFF);
    EXPECT_EQ(rig.smc.readU8("QFLT"), 0x1F); // unknown bits are dropped
    rig.smc.writeU8("QFLT", 0);
    EXPECT_EQ(rig.smc.readU8("F0Md"), 0);
    EXPECT_GT(rig.smc.readFlt("Tp01", &ok), 30.0f);
    EXPECT_TRUE(ok);
}

} // namespace
