#include "DaemonHarness.h"

#include "support/AppleSmcTree.h"

#include <csignal>
#include <gtest/gtest.h>

using namespace quillon::test;

namespace {

// The installed helper on an Intel Mac running Linux: no simulator, the SMC
// is the applesmc driver (played over a captured MacBook Pro tree). The
// watchdog and the resume are the service's own and are followed on the
// simulator and on hwmon drivers; here the driver's own files are at stake.
TEST(LinuxMacHelper, BoostsApplesmcFansAndHandsThemBackOnTermination)
{
    AppleSmcTree mac("macbookpro-two-fans");
    mac.start();
    HelperRig rig;
    ASSERT_TRUE(rig.startHelper({"QUILLON_SMC", "QUILLON_SYSFS_ROOT=" + mac.sysfs()})) << rig.helperLog().toStdString();
    const auto manual = [&] {
        return mac.read("fan1_manual") + mac.read("fan2_manual");
    };
    ASSERT_TRUE(answerOf(rig.client->SetFanFloor(50)).ok);
    EXPECT_TRUE(waitUntil([&] { return manual() == "11"; }, 2s));
    EXPECT_EQ(mac.read("fan2_output"), "4000");
    EXPECT_TRUE(waitUntil([&] { return mac.read("fan2_input") == "4000"; }, 2s)) << "the fans follow";

    rig.helper.signal(SIGTERM);
    EXPECT_EQ(rig.helper.waitForExit(5s), 0);
    EXPECT_EQ(manual(), "00");
    EXPECT_EQ(mac.read("fan1_output"), "0");
}

} // namespace
