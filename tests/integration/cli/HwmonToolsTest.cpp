#include "support/CapturedTree.h"
#include "support/ChildProcess.h"

#include <QDir>
#include <gtest/gtest.h>

using quillon::test::CapturedTree;
using quillon::test::ChildProcess;

namespace {

// The helper's tools on computers that are no Macs: the SMC is whatever
// hwmon drivers the captured tree shows.
struct Machine {
    const char* name;
    const char* hottest;     // the --temps verdict line
    const char* fanDevice;   // "" without a fan to drive
    const char* foundEnable; // pwm1_enable as captured
    const char* unavailable; // "" when the fans can be driven
    // After --diag's forced write of 4000 rpm: a fan that knows only full
    // speed and automatic runs at full speed.
    const char* forcedTarget = "After: F0Md=1 F0Tg=4000";
};

const Machine kMachines[] = {
    {"thinkpad-t480", "→ Heißester Safety-Sensor: Tc00 = 52.0°C → Kurve fordert 0%, kritisch=nein",
        "platform/thinkpad_hwmon/hwmon/hwmon4", "2", ""},
    {"desktop-nct6798", "→ Heißester Safety-Sensor: Tc00 = 48.9°C → Kurve fordert 0%, kritisch=nein",
        "platform/nct6775.656/hwmon/hwmon3", "5", ""},
    // pwm1_enable cannot be read there: the driver's automatic mode hands back.
    {"dell-latitude-dell_smm", "→ Heißester Safety-Sensor: Tc00 = 55.0°C → Kurve fordert 0%, kritisch=nein",
        "platform/dell_smm_hwmon/hwmon/hwmon3", "2", ""},
    {"asus-zenbook-asus", "→ Heißester Safety-Sensor: Tc00 = 49.0°C → Kurve fordert 0%, kritisch=nein",
        "platform/asus-nb-wmi/hwmon/hwmon4", "2", "", "After: F0Md=1 F0Tg=5000"},
    {"ideapad-no-writable-fan", "→ Heißester Safety-Sensor: Tc00 = 47.0°C → Kurve fordert 0%, kritisch=nein", "", "",
        "fan control unavailable on this computer: no hwmon driver on this computer shows a fan"},
};

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(HwmonTools, TempsAndDiagOnEveryCapturedMachine)
{
    for (const Machine& machine : kMachines) {
        CapturedTree tree(QString("hwmon/") + machine.name);
        QDir().mkpath(tree.path("run"));
        const QStringList env{"QUILLON_SMC", "QUILLON_SYSFS_ROOT=" + tree.path("sys"),
            "QUILLON_PROC_ROOT=" + tree.path("proc"), "RUNTIME_DIRECTORY=" + tree.path("run")};
        const auto temps = ChildProcess::run(QUILLON_HELPER_BIN, {"--temps"}, env);
        EXPECT_EQ(temps.exitCode, 0) << machine.name << temps.out;
        EXPECT_TRUE(contains(temps.out, machine.hottest)) << temps.out;
        EXPECT_FALSE(contains(temps.out, "[CPU]\n  Tx")) << "no board sensor among the safety sensors";
        EXPECT_EQ(contains(temps.out, "fan control unavailable"), *machine.unavailable != 0) << temps.out;
        EXPECT_TRUE(contains(temps.out, machine.unavailable)) << temps.out;

        const auto diag = ChildProcess::run(QUILLON_HELPER_BIN, {"--diag"}, env);
        EXPECT_EQ(diag.exitCode, 0) << machine.name << diag.out;
        EXPECT_TRUE(contains(diag.out, machine.unavailable)) << diag.out;
        if (*machine.fanDevice == 0)
            continue;
        EXPECT_TRUE(contains(diag.out, "csmc_write_u8(F0Md, 1) rc=0\n")) << diag.out;
        EXPECT_TRUE(contains(diag.out, machine.forcedTarget)) << diag.out;
        const QString enable = tree.path(QString("sys/devices/") + machine.fanDevice + "/pwm1_enable");
        EXPECT_EQ(quillon::test::readFile(enable).trimmed(), machine.foundEnable) << "the write test hands back";
    }
}

} // namespace
