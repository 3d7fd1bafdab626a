#include "DaemonHarness.h"

#include "support/CapturedTree.h"
#include "support/ChildProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <csignal>
#include <functional>
#include <gtest/gtest.h>

using namespace quillon::test;

namespace {

// The installed helper on a computer that is no Mac: its SMC is the hwmon
// fan and temperature drivers of a captured tree, its hand-back record in
// the tree's run folder, as under the helper's systemd unit.
struct HwmonHelper {
    struct Machine {
        const char* name;
        const char* fanDevice; // below sys/devices
        const char* cpuTemperature;
        int fans;
        const char* found; // the fans' pwmN_enable as captured, in fan order
    };

    explicit HwmonHelper(const Machine& captured)
        : machine(captured)
        , tree(QString("hwmon/") + machine.name)
    {
        QDir().mkpath(tree.path("run"));
    }
    QStringList env() const
    {
        return {"QUILLON_SMC", "QUILLON_SYSFS_ROOT=" + tree.path("sys"), "QUILLON_PROC_ROOT=" + tree.path("proc"),
            "RUNTIME_DIRECTORY=" + tree.path("run")};
    }
    bool start() { return rig.startHelper(env()); }
    // The helper and logind up, and the fans held at this floor.
    bool hold(double floor)
    {
        if (!rig.startSystemServices() || !start())
            return false;
        const Answer answer = answerOf(rig.client->SetFanFloor(floor));
        return answer.ok && waitForEnables(held(), 2s);
    }
    QString fanFile(const QString& file) const { return QString("sys/devices/") + machine.fanDevice + '/' + file; }
    QByteArray read(const QString& file) const { return readFile(tree.path(fanFile(file))).trimmed(); }
    void set(const QString& file, const QByteArray& value) const { tree.set(fanFile(file), value); }
    QByteArray enables() const
    {
        QByteArray all;
        for (int n = 1; n <= machine.fans; ++n)
            all += read(QString("pwm%1_enable").arg(n));
        return all;
    }
    bool waitForEnables(const QByteArray& expected, std::chrono::milliseconds timeout) const
    {
        return waitUntil([&] { return enables() == expected; }, timeout);
    }
    QByteArray held() const { return QByteArray(machine.fans, '1'); }
    void setCpu(const QByteArray& milliCelsius) const { tree.set(machine.cpuTemperature, milliCelsius); }
    // logind announces a suspend, asleep happens to the drivers, then the resume.
    void sleepAndWake(const std::function<void()>& asleep)
    {
        rig.systemServices.signal(SIGUSR1);
        EXPECT_TRUE(rig.systemServices.waitForLine("prepare-for-sleep true", 2s));
        asleep();
        rig.systemServices.signal(SIGUSR2);
        EXPECT_TRUE(rig.systemServices.waitForLine("prepare-for-sleep false", 2s));
    }

    Machine machine;
    CapturedTree tree;
    HelperRig rig;
};

const HwmonHelper::Machine kThinkpad{"thinkpad-t480", "platform/thinkpad_hwmon/hwmon/hwmon4",
    "sys/devices/platform/coretemp.0/hwmon/hwmon6/temp1_input", 1, "2"};
const HwmonHelper::Machine kDesktop{"desktop-nct6798", "platform/nct6775.656/hwmon/hwmon3",
    "sys/devices/pci0000:00/0000:00:18.3/hwmon/hwmon1/temp1_input", 2, "55"};

class HwmonHelperSafety : public testing::TestWithParam<HwmonHelper::Machine> { };

// Silence, termination and, after a SIGKILL, the unit's release command.
TEST_P(HwmonHelperSafety, SilenceTerminationAndTheReleaseAfterAKillHandEveryChannelBackAsFound)
{
    HwmonHelper helper(GetParam());
    ASSERT_TRUE(helper.hold(50)) << helper.rig.helperLog().toStdString();
    EXPECT_EQ(helper.read("pwm1"), "160");
    EXPECT_TRUE(QFile::exists(helper.tree.path("run/hwmon-fans")));

    QElapsedTimer silence;
    silence.start();
    EXPECT_TRUE(helper.waitForEnables(helper.machine.found, 10s));
    const qint64 handedBackAfter = silence.elapsed();
    EXPECT_LE(handedBackAfter, 8500);
    std::printf("hand-back after silence: %lld ms after the last call\n", static_cast<long long>(handedBackAfter));
    EXPECT_TRUE(helper.rig.helperLog().contains("WATCHDOG — app silent, releasing fans to Apple"));
    EXPECT_FALSE(QFile::exists(helper.tree.path("run/hwmon-fans")));

    ASSERT_TRUE(answerOf(helper.rig.client->SetFanFloor(80)).ok);
    ASSERT_TRUE(helper.waitForEnables(helper.held(), 2s));
    helper.rig.helper.signal(SIGTERM);
    EXPECT_EQ(helper.rig.helper.waitForExit(5s), 0);
    EXPECT_EQ(helper.enables(), helper.machine.found);

    ASSERT_TRUE(helper.start());
    ASSERT_TRUE(answerOf(helper.rig.client->SetFanFloor(60)).ok);
    ASSERT_TRUE(helper.waitForEnables(helper.held(), 2s));
    helper.rig.helper.signal(SIGKILL);
    helper.rig.helper.waitForExit(5s);
    EXPECT_EQ(helper.enables(), helper.held()) << "nothing ran after the kill";
    const auto release = ChildProcess::run(QUILLON_HELPER_BIN, {"--release"}, helper.rig.environment() + helper.env());
    EXPECT_EQ(release.exitCode, 0) << release.err;
    EXPECT_EQ(helper.enables(), helper.machine.found);
    EXPECT_FALSE(QFile::exists(helper.tree.path("run/hwmon-fans")));
}

// A hand-back the driver refuses keeps the fans at full speed until it is
// verified; critical heat and lost sensors hand the fans back.
TEST_P(HwmonHelperSafety, AFailedHandBackIsRetriedAndCriticalHeatAndLostSensorsHandTheFansBack)
{
    HwmonHelper helper(GetParam());
    ASSERT_TRUE(helper.hold(30)) << helper.rig.helperLog().toStdString();
    const QString enable = helper.fanFile("pwm1_enable");
    helper.tree.remove(enable);
    QDir().mkpath(helper.tree.path(enable));
    const Answer stop = answerOf(helper.rig.client->StopBoost());
    EXPECT_FALSE(stop.ok);
    EXPECT_TRUE(stop.text.startsWith("release pending")) << stop.text.toStdString();
    EXPECT_EQ(helper.read("pwm1"), "255") << "held at full speed meanwhile";
    helper.tree.remove(enable);
    helper.set("pwm1_enable", "1");
    EXPECT_TRUE(helper.waitForEnables(helper.machine.found, 5s)) << helper.rig.helperLog().toStdString();
    EXPECT_TRUE(waitUntil([&] { return helper.rig.helperLog().contains("verified after"); }, 2s));

    ASSERT_TRUE(answerOf(helper.rig.client->SetFanFloor(40)).ok);
    ASSERT_TRUE(helper.waitForEnables(helper.held(), 2s));
    helper.setCpu("101000");
    EXPECT_TRUE(helper.waitForEnables(helper.machine.found, 5s)) << helper.rig.helperLog().toStdString();
    EXPECT_TRUE(helper.rig.helperLog().contains("CRITICAL temp"));
    EXPECT_EQ(statusOf(*helper.rig.client).value("safetyRelease").toString(), "critical-heat");

    helper.setCpu("60000");
    ASSERT_TRUE(answerOf(helper.rig.client->SetFanFloor(40)).ok);
    ASSERT_TRUE(helper.waitForEnables(helper.held(), 2s));
    // Every safety sensor's driver goes away (a module unloaded).
    for (const char* device : {"sys/devices/platform/coretemp.0", "sys/devices/pci0000:00/0000:00:18.3",
             "sys/devices/pci0000:00/0000:00:03.1"})
        helper.tree.remove(device);
    EXPECT_TRUE(helper.waitForEnables(helper.machine.found, 5s));
    EXPECT_TRUE(helper.rig.helperLog().contains("lost all temp readings"));
}

// Drivers wake up in other modes than they were left in: what the helper
// holds it takes again, what it had handed back it hands back again as found.
TEST_P(HwmonHelperSafety, AfterResumeHeldChannelsAreTakenAgainAndHandedBackOnesStayAsFound)
{
    HwmonHelper helper(GetParam());
    ASSERT_TRUE(helper.hold(50)) << helper.rig.helperLog().toStdString();
    helper.sleepAndWake([&] {
        for (int n = 1; n <= helper.machine.fans; ++n)
            helper.set(QString("pwm%1_enable").arg(n), QByteArray(1, helper.machine.found[n - 1]));
    });
    statusOf(*helper.rig.client);
    EXPECT_TRUE(helper.waitForEnables(helper.held(), 2s));
    EXPECT_TRUE(waitUntil([&] { return helper.read("pwm1") == "160"; }, 2s)) << "the duty cycle too";
    ASSERT_TRUE(answerOf(helper.rig.client->StopBoost()).ok);
    EXPECT_EQ(helper.enables(), helper.machine.found);

    helper.sleepAndWake([&] { helper.set("pwm1_enable", "1"); });
    EXPECT_TRUE(helper.waitForEnables(helper.machine.found, 2s)) << helper.rig.helperLog().toStdString();
}

INSTANTIATE_TEST_SUITE_P(Machines, HwmonHelperSafety, testing::Values(kThinkpad, kDesktop),
    [](const testing::TestParamInfo<HwmonHelper::Machine>& machine) {
        return machine.param.fans == 1 ? std::string("ThinkPad") : std::string("Desktop");
    });

TEST(HwmonHelper, WhereNoFanCanBeWrittenTheStatusSaysWhyAndAFloorIsRefused)
{
    HwmonHelper helper(kThinkpad);
    helper.tree.set("sys/module/thinkpad_acpi/parameters/fan_control", "N");
    ASSERT_TRUE(helper.rig.startSystemServices());
    ASSERT_TRUE(helper.start());
    EXPECT_EQ(statusOf(*helper.rig.client).value("fanControlUnavailable").toString(),
        "thinkpad_acpi needs fan_control=1 (start Linux with thinkpad_acpi.fan_control=1)");
    const Answer floor = answerOf(helper.rig.client->SetFanFloor(50));
    EXPECT_FALSE(floor.ok);
    EXPECT_TRUE(floor.text.contains("thinkpad_acpi needs fan_control=1")) << floor.text.toStdString();
    EXPECT_EQ(helper.enables(), "2");
}

} // namespace
