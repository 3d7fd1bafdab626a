#include "DaemonHarness.h"

#include "smc/SimulatedMac.h"
#include "support/ChildProcess.h"

#include <csignal>
#include <gtest/gtest.h>

using namespace quillon::test;

namespace {

TEST(HelperSafety, TerminationReleasesFansAndLidLockThenExitsCleanly)
{
    for (const int signalNumber : {SIGTERM, SIGINT}) {
        HelperRig rig;
        ASSERT_TRUE(rig.startSystemServices());
        ASSERT_TRUE(rig.startHelper());
        ASSERT_TRUE(answerOf(rig.client->SetFanFloor(60)).ok);
        ASSERT_TRUE(answerOf(rig.client->SetLidStayAwake(true)).ok);
        ASSERT_TRUE(rig.systemServices.waitForLine("inhibit handle-lid-switch block", 2s));

        rig.helper.signal(signalNumber);
        EXPECT_EQ(rig.helper.waitForExit(5s), 0) << signalNumber;
        EXPECT_TRUE(rig.allFansInFirmwareMode()) << signalNumber;
        EXPECT_TRUE(rig.systemServices.waitForLine("released handle-lid-switch", 2s));
        const QString log = rig.helperLog();
        const auto signalLine = log.indexOf("Quillon daemon: received termination signal — releasing to Apple");
        EXPECT_GE(signalLine, 0) << log.toStdString();
        EXPECT_GT(log.indexOf("Quillon daemon: released to Apple-auto (verified, attempt 1)", signalLine), signalLine);
    }
}

TEST(HelperSafety, AfterAKilledHelperTheStopTimeReleaseHandsTheFansBack)
{
    HelperRig rig;
    ASSERT_TRUE(rig.startHelper());
    ASSERT_TRUE(answerOf(rig.client->SetFanFloor(70)).ok);
    rig.helper.signal(SIGKILL);
    rig.helper.waitForExit(5s);
    ASSERT_EQ(rig.mode(0), 1);

    auto release = ChildProcess::run(QUILLON_HELPER_BIN, {"--release"}, rig.environment());
    EXPECT_EQ(release.exitCode, 0) << release.err;
    EXPECT_TRUE(rig.allFansInFirmwareMode());
    EXPECT_NE(release.err.find("Quillon daemon: released to Apple-auto (verified, attempt 1)"), std::string::npos);

    rig.smc.writeU8("QFLT", quillon::smc::SimulatedMac::modeReadsBackManual);
    release = ChildProcess::run(QUILLON_HELPER_BIN, {"--release"}, rig.environment());
    EXPECT_EQ(release.exitCode, 1) << "an unverified release fails";

    // A machine without an SMC: a clean stop of the unit is no failure.
    const auto noSmc = ChildProcess::run(QUILLON_HELPER_BIN, {"--release"}, {"QUILLON_SMC=none"});
    EXPECT_EQ(noSmc.exitCode, 0) << noSmc.err;
    EXPECT_NE(noSmc.err.find("no SMC to release"), std::string::npos) << noSmc.err;
    EXPECT_NE(release.err.find("WARNING — could not verify auto mode after retries"), std::string::npos);
}

// Nothing serves logind on this bus: the lid lock is refused, never shown
// held. Then the bus itself goes away.
TEST(HelperSafety, WithoutLogindTheLidLockIsRefusedAndLosingTheBusReleasesAndExits)
{
    HelperRig rig;
    ASSERT_TRUE(rig.startHelper());
    ASSERT_TRUE(answerOf(rig.client->SetFanFloor(50)).ok);
    const Answer lid = answerOf(rig.client->SetLidStayAwake(true));
    EXPECT_FALSE(lid.ok);
    EXPECT_TRUE(lid.text.startsWith("lid-stay-awake refused: org.freedesktop.DBus.Error.ServiceUnknown"))
        << lid.text.toStdString();
    EXPECT_FALSE(statusOf(*rig.client).value("lidStayAwake").toBool());
    EXPECT_TRUE(rig.helperLog().contains(
        "Quillon daemon: pmset disablesleep failed: org.freedesktop.DBus.Error.ServiceUnknown"));

    rig.bus.kill();
    EXPECT_EQ(rig.helper.waitForExit(5s), 1);
    EXPECT_TRUE(rig.allFansInFirmwareMode());
    EXPECT_TRUE(rig.helperLog().contains("Quillon daemon: lost the bus connection — releasing to Apple"));
}

TEST(HelperSafety, AHandBackThatFailsForAWhileCompletesOnceWritesWorkAgain)
{
    HelperRig rig;
    ASSERT_TRUE(rig.startHelper());
    ASSERT_TRUE(answerOf(rig.client->SetFanFloor(60)).ok);
    rig.smc.writeU8("QFLT", quillon::smc::SimulatedMac::writesFail);
    const Answer stop = answerOf(rig.client->StopBoost());
    EXPECT_FALSE(stop.ok);
    EXPECT_TRUE(stop.text.startsWith("release pending")) << stop.text.toStdString();
    EXPECT_TRUE(statusOf(*rig.client).value("releasePending").toBool());

    waitUntil([] { return false; }, 1500ms); // the fault outlasts the five quick attempts
    EXPECT_EQ(rig.mode(0), 1);
    rig.smc.writeU8("QFLT", 0);
    EXPECT_TRUE(waitUntil([&] { return rig.allFansInFirmwareMode(); }, 3s)) << rig.helperLog().toStdString();
    EXPECT_FALSE(statusOf(*rig.client).value("releasePending").toBool());
    EXPECT_TRUE(rig.helperLog().contains("Quillon daemon: released to Apple-auto (verified after"));
}

} // namespace
