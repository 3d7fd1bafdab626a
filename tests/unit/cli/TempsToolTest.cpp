#include "cli/TempsTool.h"

#include "ToolTest.h"

#include "smc/FourCC.h"
#include "smc/SimulatedMac.h"

#include <regex>

namespace ExitStatus = quillon::cli::ExitStatus;
using quillon::cli::TempsTool;
using quillon::smc::SimulatedMac;
namespace SmcType = quillon::smc::SmcType;

namespace {

class TempsToolTest : public quillon::test::ToolTest {
protected:
    int run()
    {
        auto ctx = context();
        return TempsTool::run(ctx);
    }
    // A run on a simulated Mac with these sensors and fans, held at dieC when given.
    int runOn(SimulatedMac::Config config, std::optional<double> dieC = std::nullopt)
    {
        quillon::test::SimRig mac(config);
        if (dieC)
            mac.mac->holdDieTemperature(*dieC);
        quillon::test::FakePacer macPacer(mac);
        quillon::cli::ToolContext ctx{mac.smc, out, macPacer, false, "quillon"};
        return TempsTool::run(ctx);
    }
};

TEST_F(TempsToolTest, ListsExactlyTheSafetySensorsWithTheirGroups)
{
    ASSERT_EQ(run(), ExitStatus::ok);
    const std::string text = output();
    EXPECT_EQ(text.rfind("=== Safety-Sensoren (CPU-Kerne + GPU) ===\n", 0), 0u);
    const std::regex line(R"(  (\w{4})  [ \d]{3}\.\d°C   \[(CPU|E-Core|GPU)\]\n)");
    std::vector<std::string> keys;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), line); it != std::sregex_iterator(); ++it) {
        const std::string key = (*it)[1];
        const std::string group = (*it)[2];
        keys.push_back(key);
        EXPECT_EQ(group, key.starts_with("Tg") ? "GPU" : key.starts_with("Te") ? "E-Core" : "CPU") << key;
    }
    // Tc0P is safety-prefixed but sp78; TC0P, Ts0P, TB0T are no safety sensors.
    const std::vector<std::string> expected{"Te05", "Te0S", "Tg05", "Tg0D", "Tp01", "Tp05", "Tp09", "Tp0D"};
    EXPECT_EQ(keys, expected);
}

TEST_F(TempsToolTest, HottestLineCarriesTheCurvesDemand)
{
    SimulatedMac::Config config;
    config.fans = {{1200, 5700}};
    config.sensors
        = {{"Tp01", SmcType::flt, 1.0, 0.0}, {"Tg05", SmcType::flt, 1.0, 0.0}, {"Te05", SmcType::flt, 1.0, -3.0}};
    ASSERT_EQ(runOn(config, 83.5), ExitStatus::ok);
    // Two sensors tie; the first in key order (Tg05 before Tp01) stays the hottest.
    EXPECT_TRUE(printed("→ Heißester Safety-Sensor: Tg05 = 83.5°C → Kurve fordert 50%, kritisch=nein\n")) << output();
}

TEST_F(TempsToolTest, CriticalHeatIsFlagged)
{
    rig.smc.writeU8("QFLT", SimulatedMac::temperaturesRead105);
    ASSERT_EQ(run(), ExitStatus::ok);
    EXPECT_TRUE(printed("= 105.0°C → Kurve fordert 100%, kritisch=JA\n")) << output();
}

TEST_F(TempsToolTest, NoReadableSensorFails)
{
    rig.smc.writeU8("QFLT", SimulatedMac::temperatureReadsFail);
    EXPECT_EQ(run(), ExitStatus::failed);
    EXPECT_EQ(output(), "=== Safety-Sensoren (CPU-Kerne + GPU) ===\n→ Kein Safety-Sensor lesbar\n");
}

TEST_F(TempsToolTest, ImplausibleReadingsAreNotSafetySensors)
{
    constexpr double ambient = quillon::smc::SimThermalModel::ambientC;
    SimulatedMac::Config config;
    config.fans = {};
    config.sensors = {{"Tp01", SmcType::flt, 0.0, 5.0 - ambient}, {"Tp05", SmcType::flt, 0.0, 128.0 - ambient},
        {"Tp09", SmcType::flt, 0.0, 48.0 - ambient}};
    ASSERT_EQ(runOn(config), ExitStatus::ok);
    EXPECT_FALSE(printed("Tp01")) << output();   // exactly 5 °C
    EXPECT_FALSE(printed("Tp05  ")) << output(); // 128 °C
    EXPECT_TRUE(printed("  Tp09   48.0°C   [CPU]\n")) << output();
}

} // namespace
