#include "DaemonHarness.h"

#include <QElapsedTimer>
#include <QThread>
#include <cmath>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>

using namespace quillon::test;

namespace {

TEST(HelperService, FloorBoostsBothFansStatusShowsItStopHandsThemBack)
{
    HelperRig rig;
    // What a helper killed while boosting leaves behind.
    for (const char* key : {"Ftst", "F0Md", "F1Md"})
        rig.smc.writeU8(key, 1);
    ASSERT_TRUE(rig.startHelper()) << rig.helperLog().toStdString();
    EXPECT_TRUE(rig.allFansInFirmwareMode()) << "start-up hands everything back first";
    EXPECT_EQ(answerOf(rig.client->Ping()).text, "Quillon daemon alive, fans=2");

    const Answer answer = answerOf(rig.client->SetFanFloor(40));
    EXPECT_TRUE(answer.ok) << answer.error.toStdString();
    EXPECT_EQ(answer.text, "floor set to 40%");
    // Applied before the reply. The Mac idles far below the curve's ramp, so
    // the floor alone sets the targets: 40 % of 1200-5700 and 1300-6200 rpm.
    EXPECT_EQ(rig.smc.readU8("Ftst") + rig.mode(0) + rig.mode(1), 3);
    EXPECT_EQ(rig.target(0), 3000);
    EXPECT_EQ(rig.target(1), 3260);
    for (const double bad :
        {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()})
        EXPECT_EQ(answerOf(rig.client->SetFanFloor(bad)).text, "refused: the fan floor must be a finite percentage");

    const QVariantMap status = statusOf(*rig.client);
    EXPECT_TRUE(status.value("isBoosted").toBool());
    EXPECT_EQ(status.value("floorPercent").toDouble(), 40.0);
    EXPECT_TRUE(status.contains("cpuTemp") && status.contains("gpuTemp"));
    const QList<QVariantMap> fans = fansOf(status);
    ASSERT_EQ(fans.size(), 2);
    EXPECT_EQ(fans[1].value("mode").toInt(), 1);
    EXPECT_EQ(fans[1].value("targetRPM").toInt(), 3260);
    EXPECT_EQ(fans[1].value("maxRPM").toInt(), 6200);

    EXPECT_EQ(answerOf(rig.client->StopBoost()).text, "boost stopped");
    EXPECT_TRUE(rig.allFansInFirmwareMode());
    EXPECT_TRUE(rig.helperLog().contains("Quillon daemon: released to Apple-auto (verified, attempt 1)"));
}

// In real time on purpose: the daemon's QTimers and monotonic clock are
// what is under test. About 17 s.
TEST(HelperService, APollingAppKeepsItsBoostASilentOneLosesItWithinEightSeconds)
{
    HelperRig rig;
    ASSERT_TRUE(rig.startSystemServices());
    ASSERT_TRUE(rig.startHelper());
    ASSERT_TRUE(answerOf(rig.client->SetFanFloor(40)).ok);
    ASSERT_TRUE(answerOf(rig.client->SetLidStayAwake(true)).ok);
    ASSERT_TRUE(rig.systemServices.waitForLine("inhibit handle-lid-switch block", 2s));

    // Nine polls a second apart outlast the 6 s limit and a watchdog tick.
    QElapsedTimer sinceContact;
    for (int poll = 0; poll < 9; ++poll) {
        QThread::msleep(1000);
        ASSERT_TRUE(statusOf(*rig.client).value("isBoosted").toBool()) << "poll " << poll;
        sinceContact.start();
    }

    ASSERT_TRUE(waitUntil([&] { return rig.allFansInFirmwareMode(); }, 12s));
    const double releasedAfter = static_cast<double>(sinceContact.elapsed()) / 1000.0;
    std::cout << "[ figure ] fans released " << releasedAfter << " s after the app's last request\n";
    EXPECT_GT(releasedAfter, 6.0);
    EXPECT_LT(releasedAfter, 9.0);
    EXPECT_TRUE(rig.helperLog().contains("Quillon daemon: WATCHDOG — app silent, releasing fans to Apple"));
    EXPECT_TRUE(rig.systemServices.waitForLine("released handle-lid-switch", 2s)) << "the lid lock went too";
    EXPECT_TRUE(rig.helper.running());
}

} // namespace
