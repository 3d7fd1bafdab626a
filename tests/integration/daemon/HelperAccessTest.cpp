#include "DaemonHarness.h"

#include <QElapsedTimer>
#include <cmath>
#include <gtest/gtest.h>
#include <iostream>
#include <unistd.h>

using namespace quillon::test;

namespace {

const QString kMethod = "org.quillon.Quillon.smchelper.";

TEST(HelperAccess, OffTheSystemBusOtherUsersMayLookButNotTouch)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to call as another uid";
    HelperRig rig;
    ASSERT_TRUE(rig.startHelper());
    const QString bus = rig.bus.address();

    QString out = callAsUser(kNobody, bus, kMethod + "SetFanFloor", {"double:40"});
    EXPECT_TRUE(out.contains("boolean false") && out.contains("not authorized to control the fans"))
        << out.toStdString();
    EXPECT_TRUE(rig.allFansInFirmwareMode());
    out = callAsUser(kNobody, bus, kMethod + "SetLidStayAwake", {"boolean:true"});
    EXPECT_TRUE(out.contains("not authorized to keep the machine awake with the lid closed")) << out.toStdString();

    ASSERT_TRUE(answerOf(rig.client->SetFanFloor(40)).ok);
    out = callAsUser(kNobody, bus, kMethod + "StopBoost");
    EXPECT_TRUE(out.contains("boolean false")) << "another user's boost is not theirs to end";
    EXPECT_EQ(rig.mode(0), 1);

    EXPECT_TRUE(callAsUser(kNobody, bus, kMethod + "Ping").contains("Quillon daemon alive, fans=2"));
    EXPECT_TRUE(callAsUser(kNobody, bus, kMethod + "GetStatus").contains("isBoosted"));
    EXPECT_TRUE(rig.helperLog().contains("Quillon daemon: refused SetFanFloor from uid 65534"));
}

TEST(HelperAccess, OnTheSystemBusPolkitDecidesPerAction)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to call as another uid (root itself needs no grant)";
    HelperRig rig;
    // The private bus stands in for the system bus.
    ASSERT_TRUE(rig.startHelper({"QUILLON_HELPER_BUS=system"})) << rig.helperLog().toStdString();
    const QString bus = rig.bus.address();

    QString out = callAsUser(kNobody, bus, kMethod + "SetFanFloor", {"double:40"});
    EXPECT_TRUE(out.contains("boolean false") && out.contains("authorization check failed")) << "no polkit running";
    EXPECT_TRUE(rig.allFansInFirmwareMode());

    ASSERT_TRUE(rig.startSystemServices({"org.quillon.Quillon.smchelper.control-fans"}));
    out = callAsUser(kNobody, bus, kMethod + "SetFanFloor", {"double:40"});
    EXPECT_TRUE(out.contains("boolean true") && out.contains("floor set to 40%")) << out.toStdString();
    EXPECT_EQ(rig.mode(0), 1);
    out = callAsUser(kNobody, bus, kMethod + "SetLidStayAwake", {"boolean:true"});
    EXPECT_TRUE(out.contains("boolean false") && out.contains("not authorized to keep the machine awake"));

    // Asked about the caller's bus name, with interaction allowed.
    ASSERT_TRUE(rig.systemServices.waitForLine("lid-stay-awake", 2s));
    const QStringList checks = rig.systemServices.lines().filter("check ");
    ASSERT_EQ(checks.size(), 2) << checks.join('\n').toStdString();
    EXPECT_TRUE(checks[0].startsWith("check system-bus-name :1.")) << checks[0].toStdString();
    EXPECT_TRUE(checks[0].endsWith(" org.quillon.Quillon.smchelper.control-fans 1 yes"));
    EXPECT_TRUE(checks[1].endsWith(" org.quillon.Quillon.smchelper.lid-stay-awake 1 no"));
    EXPECT_FALSE(rig.systemServices.waitForLine("inhibit", 200ms));

    EXPECT_TRUE(answerOf(rig.client->StopBoost()).ok) << "root needs no grant";
    EXPECT_EQ(rig.systemServices.lines().filter("check ").size(), 2);
}

TEST(HelperAccess, AFloodOfCallsLeavesTheHelperResponsiveAndInAKnownState)
{
    HelperRig rig;
    ASSERT_TRUE(rig.startHelper());
    std::vector<QDBusPendingCall> calls;
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 10'000; ++i) {
        switch (i % 5) {
        case 0:
            calls.push_back(rig.client->SetFanFloor(i % 10 == 0 ? std::nan("") : 30 + i % 60));
            break;
        case 1:
            calls.push_back(rig.client->GetStatus());
            break;
        case 2:
            calls.push_back(rig.client->Ping());
            break;
        case 3:
            calls.push_back(rig.client->SetLidStayAwake(i % 2 == 0));
            break;
        default:
            calls.push_back(rig.client->SetFanFloor(-1));
        }
    }
    calls.push_back(rig.client->SetFanFloor(55));
    int errors = 0;
    for (QDBusPendingCall& call : calls) {
        call.waitForFinished();
        errors += call.isError() ? 1 : 0;
    }
    std::cout << "[ figure ] 10000 calls answered in " << timer.elapsed() << " ms\n";
    EXPECT_EQ(errors, 0);
    EXPECT_TRUE(rig.helper.running());
    EXPECT_TRUE(answerOf(rig.client->Ping()).ok);
    // The last request decides: a floor of 55 %, applied by the next tick at the latest.
    EXPECT_TRUE(waitUntil([&] { return rig.target(0) == 1200 + 4500 * 55 / 100; }, 2s)) << rig.target(0);
    EXPECT_EQ(rig.mode(0) + rig.mode(1), 2);
}

TEST(HelperAccess, AnotherUsersFloodNeitherStallsTheOwnerNorCostsItsBoost)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs root to call as another uid";
    HelperRig rig;
    ASSERT_TRUE(rig.startHelper());
    ASSERT_TRUE(answerOf(rig.client->SetFanFloor(60)).ok);
    const auto flood = startAsUser(kNobody, QUILLON_BUS_FLOOD_BIN, {rig.bus.address(), "60000"});
    ASSERT_TRUE(flood->waitForStarted());

    // The owner polls as the app does while the flood lasts.
    qint64 worstMs = 0;
    int polls = 0;
    bool boostKept = true;
    QElapsedTimer floodTime;
    floodTime.start();
    do {
        QElapsedTimer poll;
        poll.start();
        boostKept = boostKept && statusOf(*rig.client).value("isBoosted").toBool();
        worstMs = std::max(worstMs, poll.elapsed());
        ++polls;
    } while (!flood->waitForFinished(100) && floodTime.elapsed() < 60'000);
    std::cout << "[ figure ] flood of 60000 calls: " << floodTime.elapsed() << " ms, owner's worst poll " << worstMs
              << " ms over " << polls << " polls\n";
    EXPECT_TRUE(boostKept);
    const QString out = QString::fromUtf8(flood->readAll());
    EXPECT_TRUE(out.contains("answer: org.freedesktop.DBus.Error.LimitsExceeded")) << out.toStdString();
    EXPECT_FALSE(rig.helperLog().contains("WATCHDOG")) << rig.helperLog().toStdString();
    EXPECT_EQ(rig.mode(0), 1);
}

} // namespace
