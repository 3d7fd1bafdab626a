#include "DaemonHarness.h"

#include "support/AppleSmcTree.h"

#include <QElapsedTimer>
#include <csignal>
#include <gtest/gtest.h>

using namespace quillon::test;

namespace {

// The installed helper on an Intel Mac running Linux: no simulator, the SMC
// is the applesmc driver (played over a captured MacBook Pro tree).
struct ApplesmcHelper {
    ApplesmcHelper()
        : mac("macbookpro-two-fans")
    {
        mac.start();
    }
    bool start() { return rig.startHelper({"QUILLON_SMC", "QUILLON_SYSFS_ROOT=" + mac.sysfs()}); }
    QByteArray manual() const { return mac.read("fan1_manual") + mac.read("fan2_manual"); }
    bool waitForManual(const QByteArray& bits, std::chrono::milliseconds timeout)
    {
        return waitUntil([&] { return manual() == bits; }, timeout);
    }

    AppleSmcTree mac;
    HelperRig rig;
};

TEST(LinuxMacHelper, BoostsApplesmcFansAndReleasesThemOnSilenceAndOnTermination)
{
    ApplesmcHelper helper;
    ASSERT_TRUE(helper.rig.startSystemServices());
    ASSERT_TRUE(helper.start()) << helper.rig.helperLog().toStdString();
    ASSERT_TRUE(answerOf(helper.rig.client->SetFanFloor(50)).ok);
    EXPECT_TRUE(helper.waitForManual("11", 2s));
    EXPECT_EQ(helper.mac.read("fan2_output"), "4000");
    EXPECT_TRUE(waitUntil([&] { return helper.mac.read("fan2_input") == "4000"; }, 2s)) << "the fans follow";

    // The app goes silent: the watchdog hands back within its limit and a tick.
    QElapsedTimer silence;
    silence.start();
    EXPECT_TRUE(helper.waitForManual("00", 10s));
    EXPECT_LE(silence.elapsed(), 8500);
    EXPECT_TRUE(helper.rig.helperLog().contains("WATCHDOG — app silent, releasing fans to Apple"));

    ASSERT_TRUE(answerOf(helper.rig.client->SetFanFloor(80)).ok);
    EXPECT_TRUE(helper.waitForManual("11", 2s));
    helper.rig.helper.signal(SIGTERM);
    EXPECT_EQ(helper.rig.helper.waitForExit(5s), 0);
    EXPECT_EQ(helper.manual(), "00");
    EXPECT_EQ(helper.mac.read("fan1_output"), "0");
}

TEST(LinuxMacHelper, AfterResumeTheHelperTakesTheFansBack)
{
    ApplesmcHelper helper;
    ASSERT_TRUE(helper.rig.startSystemServices());
    ASSERT_TRUE(helper.start());
    ASSERT_TRUE(answerOf(helper.rig.client->SetFanFloor(50)).ok);
    ASSERT_TRUE(helper.waitForManual("11", 2s));

    helper.rig.systemServices.signal(SIGUSR1);
    ASSERT_TRUE(helper.rig.systemServices.waitForLine("prepare-for-sleep true", 2s));
    // The SMC drops manual mode across the sleep.
    helper.mac.set("fan1_manual", "0");
    helper.mac.set("fan2_manual", "0");
    helper.rig.systemServices.signal(SIGUSR2);
    ASSERT_TRUE(helper.rig.systemServices.waitForLine("prepare-for-sleep false", 2s));
    statusOf(*helper.rig.client); // the app is back too
    EXPECT_TRUE(helper.waitForManual("11", 2s));
    EXPECT_TRUE(waitUntil(
        [&] { return helper.rig.helperLog().contains("resumed from sleep — re-applying the floor on the next tick"); },
        2s))
        << helper.rig.helperLog().toStdString();
}

} // namespace
