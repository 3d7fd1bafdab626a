#include "smc/MacSmcHwmonTransport.h"

#include "smc/HwmonLabelKeys.h"
#include "smc/SmcCodes.h"
#include "smc/SmcConnection.h"
#include "smc/SmcTransportFactory.h"
#include "support/CapturedTree.h"

#include <gtest/gtest.h>

using namespace quillon::smc;
using quillon::test::CapturedTree;

namespace {

constexpr const char* kHwmon = "sys/class/hwmon/hwmon2/";

struct HwmonMac {
    explicit HwmonMac(const QString& name)
        : tree("macsmc/" + name)
        , smc(SmcTransportFactory::probe(tree.path("sys").toStdString()))
    {
    }
    QByteArray read(const QString& file) const { return quillon::test::readFile(tree.path(kHwmon + file)).trimmed(); }
    std::vector<std::string> keys()
    {
        std::vector<std::string> names;
        for (std::uint32_t i = 0; i < smc.keyCount(); ++i) {
            char name[5];
            if (smc.keyAtIndex(i, name) == 0)
                names.push_back(name);
        }
        return names;
    }

    CapturedTree tree;
    SmcConnection smc;
};

TEST(MacSmcHwmon, ShowsFansAndTemperaturesAsSmcKeys)
{
    HwmonMac mac("macbookpro-fan-control-on");
    ASSERT_EQ(mac.smc.open(), 0u);
    EXPECT_EQ(mac.smc.generation(), SmcGeneration::appleSilicon);
    EXPECT_EQ(mac.keys(),
        (std::vector<std::string>{"#KEY", "F0Ac", "F0Md", "F0Mn", "F0Mx", "F0Tg", "F1Ac", "F1Md", "F1Mn", "F1Mx",
            "F1Tg", "FNum", "Tc00", "Te00", "Tg00", "Tp00", "Tp01", "Tx00", "Tx01", "Tx02", "Tx03"}))
        << "sorted as the SMC sorts; the nvme sensor belongs to another device";
    EXPECT_EQ(mac.smc.readU8("FNum"), 2);
    EXPECT_EQ(mac.smc.readFlt("F1Mx"), 6200.0f);
    EXPECT_EQ(mac.smc.readFlt("Tp01"), 57.25f) << "Performance Core 2 Temp";
    EXPECT_EQ(mac.smc.readFlt("Tx00"), 36.5f) << "NAND Flash Temperature";
    EXPECT_EQ(mac.smc.keyInfo("Ftst", nullptr, nullptr, nullptr), SmcResult::kKeyNotFound);
}

TEST(MacSmcHwmon, FanWritesFollowTheDriversRules)
{
    HwmonMac mac("macbookpro-fan-control-on");
    ASSERT_EQ(mac.smc.open(), 0u);
    EXPECT_EQ(mac.smc.fanControlUnavailable(), "");
    // Mode 1 alone only notes the wish: the driver switches with the target.
    EXPECT_EQ(mac.smc.writeU8("F0Md", 1), 0u);
    EXPECT_EQ(mac.smc.readU8("F0Md"), 0);
    EXPECT_EQ(mac.smc.writeFlt("F0Tg", 3000.0f), 0u);
    EXPECT_EQ(mac.read("fan1_target"), "3000");
    EXPECT_EQ(mac.smc.readU8("F0Md"), 1);
    // Back to the firmware: target 0 is the driver's own hand-back.
    EXPECT_EQ(mac.smc.writeFlt("F0Tg", 0.0f), 0u);
    EXPECT_EQ(mac.read("fan1_target"), "0");
    EXPECT_EQ(mac.smc.readU8("F0Md"), 0);
    EXPECT_EQ(mac.smc.writeU8("F1Md", 0), 0u);
    EXPECT_EQ(mac.read("fan2_target"), "0");
    for (const char* readOnly : {"F0Ac", "F0Mn", "Tp00", "FNum"})
        EXPECT_EQ(mac.smc.writeU8(readOnly, 0), SmcResult::kKeyNotWritable) << readOnly;
}

TEST(MacSmcHwmon, WithoutFanControlNothingIsWrittenAndItSaysWhy)
{
    HwmonMac off("macbookpro-fan-control-off");
    ASSERT_EQ(off.smc.open(), 0u);
    EXPECT_NE(off.smc.fanControlUnavailable().find("fan_control off"), std::string::npos)
        << off.smc.fanControlUnavailable();
    EXPECT_EQ(off.smc.writeFlt("F0Tg", 3000.0f), SmcResult::kKeyNotWritable);
    EXPECT_EQ(off.smc.writeU8("F0Md", 1), SmcResult::kKeyNotWritable);
    EXPECT_EQ(off.read("fan1_target"), "0");
    EXPECT_EQ(off.smc.readFlt("F0Mn"), 1200.0f) << "reads still work";

    HwmonMac fanless("macbookair-no-fan");
    ASSERT_EQ(fanless.smc.open(), 0u);
    EXPECT_EQ(fanless.smc.readU8("FNum"), 0);
    EXPECT_NE(fanless.smc.fanControlUnavailable().find("no fans"), std::string::npos);
}

TEST(MacSmcHwmon, GarbageInTheFilesReadsAsFailedKeys)
{
    HwmonMac mac("garbage");
    ASSERT_EQ(mac.smc.open(), 0u);
    bool ok = true;
    mac.smc.readFlt("F0Ac", &ok);
    EXPECT_FALSE(ok) << "not a number";
    mac.smc.readFlt("F0Mn", &ok);
    EXPECT_FALSE(ok) << "empty";
    EXPECT_EQ(mac.smc.readFlt("F0Mx"), -5.0f) << "a number, however odd, is left to the reader to judge";
    mac.smc.readFlt("Tc00", &ok);
    EXPECT_FALSE(ok);
    mac.smc.readFlt("Tx00", &ok);
    EXPECT_FALSE(ok) << "out of range";
    mac.tree.remove(QString(kHwmon) + "fan1_target");
    EXPECT_NE(mac.smc.writeFlt("F0Tg", 3000.0f), 0u);
}

TEST(MacSmcHwmon, LabelsNameTheirSensorGroup)
{
    HwmonLabelKeys keys;
    EXPECT_EQ(keys.keyFor("Performance Core 1 Temp"), "Tp00");
    EXPECT_EQ(keys.keyFor("p-core 2"), "Tp01");
    EXPECT_EQ(keys.keyFor("Efficiency Core 1 Temp"), "Te00");
    EXPECT_EQ(keys.keyFor("GPU 1 Temp"), "Tg00");
    EXPECT_EQ(keys.keyFor("SoC Die Temp"), "Tc00");
    EXPECT_EQ(keys.keyFor("NAND Flash Temperature"), "Tx00");
    EXPECT_EQ(keys.keyFor(""), "Tx01");
    EXPECT_FALSE(keys.sawRawKeys());
    EXPECT_EQ(keys.keyFor("TC0P"), "TC0P") << "the T2 build labels every sensor with its key";
    EXPECT_TRUE(keys.sawRawKeys());
    for (int i = 0; i < 40; ++i)
        keys.keyFor("GPU");
    EXPECT_EQ(keys.keyFor("GPU"), "Tg15") << "the 42nd GPU sensor: 41 in base 36";
}

} // namespace
