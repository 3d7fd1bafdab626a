#include "ServiceRig.h"

#include "daemon/SensorKeyRule.h"
#include "smc/AppleSmcTransport.h"
#include "smc/SmcTransportFactory.h"
#include "support/AppleSmcTree.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using quillon::daemon::SensorKeyRule;
using quillon::smc::SmcGeneration;
namespace SmcType = quillon::smc::SmcType;
using quillon::test::AppleSmcTree;
using quillon::test::ServiceRig;

namespace {

TEST(SafetySensors, EachSmcGenerationHasItsOwn)
{
    const struct {
        const char* key;
        bool appleSilicon;
        bool intel;
    } cases[] = {
        {"Tp09", true, false}, // a performance core; on Intel "Tp.." is the power supply
        {"Tp0P", true, false},
        {"Te05", true, false},
        {"Tg0D", true, false},
        {"Tc0a", true, false},
        {"TC0P", false, true}, // CPU proximity
        {"TC0D", false, true}, // CPU die
        {"TC0E", false, true},
        {"TC0F", false, true},
        {"TC3C", false, true}, // core 3
        {"TCXC", false, true}, // PECI
        {"TG0D", false, true}, // GPU die
        {"TG1D", false, true},
        {"TG0P", false, true},
        {"TCGC", false, true},  // integrated GPU
        {"TC0H", false, false}, // heatsink
        {"TB0T", false, false}, // battery
        {"TCSA", false, false},
        {"TC10", false, false},
        {"TC0", false, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SensorKeyRule::isSafetyKey(SmcGeneration::appleSilicon, c.key), c.appleSilicon) << c.key;
        EXPECT_EQ(SensorKeyRule::isSafetyKey(SmcGeneration::intel, c.key), c.intel) << c.key;
    }
    EXPECT_TRUE(SensorKeyRule::isGpuKey(SmcGeneration::intel, "TCGC"));
    EXPECT_FALSE(SensorKeyRule::isCpuKey(SmcGeneration::intel, "TCGC"));
    EXPECT_TRUE(SensorKeyRule::acceptsType(SmcGeneration::intel, SmcType::sp78, 2));
    EXPECT_FALSE(SensorKeyRule::acceptsType(SmcGeneration::appleSilicon, SmcType::sp78, 2));
}

TEST(SafetySensors, AnIntelMacIsWatchedThroughItsUpperCaseSensors)
{
    ServiceRig::Config config = ServiceRig::plainMachine();
    // A hot power supply ("Tp0P" on Intel) must neither cool nor release the fans.
    config.sensors = {{"TC0D", SmcType::sp78, 1.0, 0.0}, {"TG0D", SmcType::sp78, 0.9, 0.0},
        {"Tp0P", SmcType::flt, 0.0, 80.0}, {"TB0T", SmcType::sp78, 0.2, 0.0}};
    config.generation = SmcGeneration::intel;
    ServiceRig intel(config);
    intel.holdTemperature(60);
    auto& service = intel.start();
    EXPECT_EQ(service.safetyTempKeys(), (std::vector<std::string>{"TC0D", "TG0D"}));
    ASSERT_TRUE(service.setFanFloor(40).ok);
    intel.runTicks(6);
    EXPECT_TRUE(service.isBoosted());
    EXPECT_EQ(intel.mode(0), 1);
    const auto status = service.status();
    EXPECT_NEAR(status.cpuTemp.value_or(0), 60.0, 0.5);
    EXPECT_TRUE(status.gpuTemp.has_value());

    // The same keys on Apple silicon name no safety sensor: no floor is taken.
    config.generation = SmcGeneration::appleSilicon;
    ServiceRig appleSilicon(config);
    EXPECT_FALSE(appleSilicon.start().setFanFloor(40).ok);
    EXPECT_EQ(appleSilicon.mode(0), 0);
}

TEST(Resume, TheNextTickTakesTheFansBackUnlessTheAppWentSilent)
{
    for (const bool appSilent : {false, true}) {
        ServiceRig rig;
        rig.holdTemperature(60);
        auto& service = rig.start();
        ASSERT_TRUE(service.setFanFloor(50).ok);
        rig.runTicks(3);
        // The firmware took the fans over the sleep.
        rig.sim.smc.writeU8("F0Md", 0);
        rig.sim.smc.writeU8("Ftst", 0);
        if (appSilent)
            rig.advance(7s);
        else
            service.noteContact();
        service.noteResume();
        rig.runTicks(1);
        EXPECT_EQ(service.isBoosted(), !appSilent) << appSilent;
        EXPECT_EQ(rig.mode(0), appSilent ? 0 : 1) << appSilent;
        EXPECT_EQ(rig.forceTest(), appSilent ? 0 : 1) << appSilent;
        EXPECT_EQ(rig.log.has("resumed from sleep — re-applying the floor"), !appSilent) << rig.log.all();
    }
}

TEST(LinuxDrivers, TheHelperDrivesAndReleasesApplesmcFans)
{
    AppleSmcTree mac("macbookpro-two-fans");
    mac.start();
    quillon::smc::SmcConnection smc(std::make_unique<quillon::smc::AppleSmcTransport>(mac.device()));
    ServiceRig rig;
    mac.set("fan1_manual", "1"); // left behind by an earlier run
    auto& service = rig.start(&smc);
    EXPECT_EQ(mac.read("fan1_manual"), "0") << "start-up hands back first";
    EXPECT_EQ(service.safetyTempKeys(),
        (std::vector<std::string>{"TC0D", "TC0P", "TC1C", "TC2C", "TC3C", "TC4C", "TG0D", "TG0P"}));
    ASSERT_TRUE(service.setFanFloor(50).ok);
    EXPECT_EQ(mac.read("fan1_manual") + mac.read("fan2_manual"), "11");
    EXPECT_EQ(mac.read("fan2_output"), "4000") << "half way from 2000 to 6000";
    EXPECT_EQ(service.status().fans.at(1).mode, 1);

    ASSERT_TRUE(service.stopBoost().ok);
    EXPECT_EQ(mac.read("fan1_manual") + mac.read("fan2_manual"), "00");
    EXPECT_EQ(mac.read("fan1_output"), "0");
    EXPECT_TRUE(rig.log.has("released to Apple-auto (verified, attempt 1)"));
}

TEST(LinuxDrivers, WithoutFanControlTheHelperRefusesAndSaysWhy)
{
    quillon::test::CapturedTree tree("macsmc/macbookpro-fan-control-off");
    quillon::smc::SmcConnection smc(quillon::smc::SmcTransportFactory::probe(tree.path("sys").toStdString()));
    ServiceRig rig;
    auto& service = rig.start(&smc);
    const auto reply = service.setFanFloor(60);
    EXPECT_FALSE(reply.ok);
    EXPECT_EQ(reply.text,
        "refused: fan control unavailable on this computer: the macsmc_hwmon driver runs with fan_control off "
        "(start Linux with macsmc_hwmon.fan_control=1 to allow it)");
    EXPECT_FALSE(service.isBoosted());
    EXPECT_EQ(service.status().fanControlUnavailable, service.fanControlUnavailable());
    EXPECT_EQ(service.status().fans.size(), 2u) << "the fans are still shown";
    EXPECT_TRUE(rig.log.has("fan control unavailable on this computer"));
    EXPECT_TRUE(service.stopBoost().ok) << "a release is never refused";
}

} // namespace
