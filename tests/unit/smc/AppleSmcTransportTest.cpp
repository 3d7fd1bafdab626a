#include "smc/AppleSmcTransport.h"

#include "smc/FourCC.h"
#include "smc/SmcCodes.h"
#include "smc/SmcConnection.h"
#include "smc/SmcTransportFactory.h"
#include "support/AppleSmcTree.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace quillon::smc;
using quillon::test::AppleSmcTree;

namespace {

SmcConnection connect(const AppleSmcTree& mac)
{
    return SmcConnection(std::make_unique<AppleSmcTransport>(mac.device()));
}

std::string keyInfoText(SmcConnection& smc, const char* key)
{
    std::uint32_t size = 0;
    std::uint32_t type = 0;
    const std::uint32_t rc = smc.keyInfo(key, &size, &type, nullptr);
    return rc == 0 ? FourCC::unpack(type) + "/" + std::to_string(size) : "rc=" + std::to_string(rc);
}

TEST(AppleSmc, FindsTheDriverWhereEachKernelPutsIt)
{
    AppleSmcTree classic("macbookair-one-fan");
    AppleSmcTree t2("t2-macbookpro", AppleSmcTree::kT2Device);
    EXPECT_EQ(AppleSmcTransport::find(classic.sysfs().toStdString()), classic.device());
    EXPECT_EQ(AppleSmcTransport::find(t2.sysfs().toStdString()), t2.device());

    auto probed = SmcTransportFactory::probe(t2.sysfs().toStdString());
    ASSERT_NE(probed, nullptr);
    EXPECT_EQ(probed->generation(), SmcGeneration::intel);
    EXPECT_EQ(SmcTransportFactory::probe(QUILLON_FIXTURES "/thermal/laptop-warm/sys"), nullptr) << "no Mac: no SMC";
}

TEST(AppleSmc, ReadsAnyKeyInItsOwnTypeThroughTheSortedList)
{
    AppleSmcTree mac("macbookair-one-fan");
    mac.start();
    SmcConnection smc = connect(mac);
    ASSERT_EQ(smc.open(), 0u) << smc.fanControlUnavailable();
    EXPECT_EQ(smc.keyCount(), 23u);
    char first[5];
    ASSERT_EQ(smc.keyAtIndex(0, first), 0u);
    EXPECT_STREQ(first, "#KEY");
    EXPECT_EQ(smc.keyAtIndex(23, first), SmcResult::kKeyIndexRange);

    EXPECT_EQ(keyInfoText(smc, "F0Ac"), "fpe2/2");
    EXPECT_EQ(keyInfoText(smc, "FS! "), "ui16/2");
    EXPECT_EQ(keyInfoText(smc, "TC0D"), "sp78/2");
    EXPECT_EQ(keyInfoText(smc, "F0Md"), "ui8 /1") << "fan1_manual stands in for the missing per-fan mode key";
    EXPECT_EQ(smc.readNumber("F0Mx"), 6500.0);
    EXPECT_EQ(smc.readNumber("TC0D"), 49.25);
    EXPECT_EQ(smc.readNumber("TW0P"), -127.0);
    EXPECT_EQ(smc.readU8("FNum"), 1);
    // Keys on either side of the list and ones that fall between two keys.
    EXPECT_EQ(smc.readNumber("Tp0P"), 38.0);
    for (const char* missing : {"Ftst", "F1Ac", "TC9C", "zzzz", "!!!!"})
        EXPECT_EQ(smc.keyInfo(missing, nullptr, nullptr, nullptr), SmcResult::kKeyNotFound) << missing;

    // Once looked up, a key costs the driver one data read (and the index write).
    smc.readNumber("TC0E");
    const int before = mac.driver->answers();
    smc.readNumber("TC0E");
    EXPECT_EQ(mac.driver->answers() - before, 1);
    smc.writeU8("Ftst", 1);
    smc.writeU8("Ftst", 1);
    EXPECT_EQ(mac.driver->answers() - before, 1) << "a missing key is remembered as missing";
}

TEST(AppleSmc, FanWritesGoToTheDriversFilesAndReadBackThroughTheKeys)
{
    AppleSmcTree mac("macbookpro-two-fans");
    mac.start();
    SmcConnection smc = connect(mac);
    ASSERT_EQ(smc.open(), 0u);
    EXPECT_EQ(smc.fanControlUnavailable(), "");

    EXPECT_EQ(smc.writeNumber("F1Tg", 3000.4), 0u);
    EXPECT_EQ(mac.read("fan2_output"), "3000");
    EXPECT_EQ(smc.writeNumber("F0Mn", 2500), 0u);
    EXPECT_EQ(mac.read("fan1_min"), "2500");
    EXPECT_EQ(smc.writeU8("F1Md", 1), 0u);
    EXPECT_EQ(mac.read("fan2_manual"), "1");
    EXPECT_EQ(mac.read("fan1_manual"), "0");
    EXPECT_EQ(smc.readU8("F1Md"), 1);
    std::uint8_t bits[2] = {};
    smc.readRaw("FS! ", bits, 2, nullptr);
    EXPECT_EQ(bits[1], 0b10) << "the driver's bitmask follows fan2_manual";

    // The other way: what the driver shows is what the keys read.
    mac.set("fan1_input", "4321");
    EXPECT_EQ(smc.readNumber("F0Ac"), 4321.0);
    mac.set("fan1_manual", "1");
    EXPECT_EQ(smc.readU8("F0Md"), 1);
    EXPECT_EQ(smc.readNumber("F1Tg"), 3000.0);

    // Everything else answers as the SMC answers a key it cannot write.
    for (const char* readOnly : {"F0Ac", "F0Mx", "FNum", "FS! ", "TC0D", "#KEY"})
        EXPECT_EQ(smc.writeU8(readOnly, 0), SmcResult::kKeyNotWritable) << readOnly;
    EXPECT_EQ(smc.writeU8("Ftst", 1), SmcResult::kKeyNotFound);
    EXPECT_EQ(smc.writeNumber("F2Tg", 3000), SmcResult::kKeyNotFound) << "a third fan this Mac lacks";
    EXPECT_EQ(smc.writeNumber("F0Tg", NAN), SmcStatus::kIOReturnBadArgument);
    EXPECT_EQ(mac.read("fan1_output"), "2000") << "a refused value writes nothing";
}

TEST(AppleSmc, T2MacsKeepFloatFansAndPerFanModeKeys)
{
    AppleSmcTree mac("t2-macbookpro", AppleSmcTree::kT2Device);
    mac.start();
    SmcConnection smc = connect(mac);
    ASSERT_EQ(smc.open(), 0u);
    EXPECT_EQ(keyInfoText(smc, "F0Tg"), "flt /4");
    EXPECT_EQ(keyInfoText(smc, "F1Md"), "ui8 /1");
    EXPECT_EQ(smc.readFlt("F1Mx"), 5500.0f) << "the daemon's float reads work unchanged";
    EXPECT_EQ(smc.writeFlt("F1Tg", 2750.0f), 0u);
    EXPECT_EQ(mac.read("fan2_output"), "2750");
    EXPECT_EQ(smc.writeU8("F0Md", 1), 0u);
    EXPECT_EQ(mac.read("fan1_manual"), "1");
    EXPECT_EQ(smc.readU8("F0Md"), 1);
}

TEST(AppleSmc, ABrokenDriverGivesErrorsNeverACrash)
{
    {
        AppleSmcTree mac("macbookair-one-fan");
        mac.tree.set("smc-keys", "TC0D sp78 2 3140\nF0Ac fpe2 2 12c0\n#KEY ui32 4 00000003");
        mac.set("key_count", "3");
        mac.start();
        SmcConnection smc = connect(mac);
        EXPECT_NE(smc.open(), 0u);
        EXPECT_NE(smc.fanControlUnavailable().find("not sorted"), std::string::npos) << smc.fanControlUnavailable();
    }
    for (const QByteArray& count : {QByteArray(""), QByteArray("many"), QByteArray("-3"), QByteArray("99999999")}) {
        AppleSmcTree mac("macbookair-one-fan");
        mac.set("key_count", count);
        mac.start();
        SmcConnection smc = connect(mac);
        EXPECT_NE(smc.open(), 0u) << count.constData();
        EXPECT_FALSE(smc.readNumber("F0Ac").has_value());
    }
    AppleSmcTree mac("macbookair-one-fan");
    // A truncated value, a nonsense length, a garbage mode file, a refused write.
    mac.tree.set("smc-keys",
        quillon::test::readFile(mac.tree.path("smc-keys"))
            .replace("TC0D sp78 2 3140", "TC0D sp78 2 31")
            .replace("TC0E sp78 2 3000", "TC0E sp78 x 3000")
            .trimmed());
    mac.set("fan1_manual", "on");
    mac.tree.remove(QString(AppleSmcTree::kPlatformDevice) + "/fan1_output");
    QDir().mkpath(mac.tree.path(QString(AppleSmcTree::kPlatformDevice) + "/fan1_output"));
    mac.start();
    SmcConnection smc = connect(mac);
    ASSERT_EQ(smc.open(), 0u);
    EXPECT_EQ(smc.readNumber("TC0D"), std::nullopt);
    EXPECT_EQ(smc.readNumber("TC0E"), std::nullopt);
    EXPECT_EQ(smc.readNumber("TC0F"), 47.5) << "one bad key spoils no other";
    bool ok = true;
    smc.readU8("F0Md", &ok);
    EXPECT_FALSE(ok);
    EXPECT_NE(smc.writeNumber("F0Tg", 3000), 0u);
}

} // namespace
