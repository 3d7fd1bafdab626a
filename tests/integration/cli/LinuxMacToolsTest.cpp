#include "support/AppleSmcTree.h"
#include "support/ChildProcess.h"

#include <gtest/gtest.h>

using quillon::test::AppleSmcTree;
using quillon::test::CapturedTree;
using quillon::test::ChildProcess;

namespace {

// The helper's tools on a Mac running Linux: the machine's SMC is whatever
// driver the sysfs tree shows.
ChildProcess::Result runOn(const QString& sysfs, const QString& tool)
{
    return ChildProcess::run(QUILLON_HELPER_BIN, {tool}, {"QUILLON_SMC", "QUILLON_SYSFS_ROOT=" + sysfs});
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(LinuxMacTools, ApplesmcMacsShowTheirIntelSensorsAndFans)
{
    for (const char* name : {"macbookair-one-fan", "macbookpro-two-fans"}) {
        AppleSmcTree mac(name);
        mac.start();
        const auto temps = runOn(mac.sysfs(), "--temps");
        EXPECT_EQ(temps.exitCode, 0) << name << temps.out;
        EXPECT_TRUE(contains(temps.out, "  TC0D  ")) << temps.out;
        EXPECT_FALSE(contains(temps.out, "Tp0")) << "the power supply is no safety sensor";
        EXPECT_FALSE(contains(temps.out, "fan control unavailable")) << temps.out;
        const auto diag = runOn(mac.sysfs(), "--diag");
        EXPECT_TRUE(contains(diag.out, "F0Ac: size=2 type=fpe2")) << diag.out;
        EXPECT_TRUE(contains(diag.out, "F0Md: size=1 type=ui8 ")) << diag.out;
        EXPECT_EQ(mac.read("fan1_manual"), "0") << "the write test restores the mode";
    }
    AppleSmcTree air("macbookair-one-fan");
    air.start();
    EXPECT_TRUE(contains(runOn(air.sysfs(), "--temps").out,
        "→ Heißester Safety-Sensor: TC2C = 50.5°C → Kurve fordert 0%, kritisch=nein"));
}

TEST(LinuxMacTools, AppleSiliconSaysPlainlyWhenFanControlIsOff)
{
    CapturedTree off("macsmc/macbookpro-fan-control-off");
    const std::string line = "fan control unavailable on this computer: the macsmc_hwmon driver runs with "
                             "fan_control off (start Linux with macsmc_hwmon.fan_control=1 to allow it)";
    const auto temps = runOn(off.path("sys"), "--temps");
    EXPECT_TRUE(contains(temps.out, line)) << temps.out;
    EXPECT_TRUE(contains(temps.out, "Kein Safety-Sensor")) << "the mainline device tree names no CPU sensor";
    const auto diag = runOn(off.path("sys"), "--diag");
    EXPECT_TRUE(contains(diag.out, line)) << diag.out;
    EXPECT_TRUE(contains(diag.out, "FNum (fan count) = 2")) << diag.out;
    EXPECT_TRUE(contains(diag.out, "csmc_write_flt(F0Tg, 4000) rc=0x86")) << diag.out;

    CapturedTree on("macsmc/macbookpro-fan-control-on");
    const auto onTemps = runOn(on.path("sys"), "--temps");
    EXPECT_EQ(onTemps.exitCode, 0) << onTemps.out;
    EXPECT_TRUE(contains(onTemps.out, "  Tg00   46.5°C   [GPU]")) << onTemps.out;
    EXPECT_TRUE(contains(onTemps.out, "Heißester Safety-Sensor: Tp01 = 57.2°C")) << onTemps.out;

    CapturedTree garbage("macsmc/garbage");
    for (const char* tool : {"--temps", "--diag"}) {
        const auto result = runOn(garbage.path("sys"), tool);
        EXPECT_FALSE(result.crashed) << tool;
    }
}

} // namespace
