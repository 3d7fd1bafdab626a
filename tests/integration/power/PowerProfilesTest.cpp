#include "platform/linux/PpdPowerProfiles.h"

#include "support/BusService.h"
#include "support/ChildProcess.h"
#include "support/EventLoop.h"
#include "support/PrivateBus.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace quillon::test;
using quillon::platform::linux_::PpdPowerProfiles;

namespace {

// The profiles held on python3-dbusmock's power-profiles-daemon, with their
// holders ("performance by org.quillon.Quillon"), as dbus-send prints them.
QStringList holds(PrivateBus& bus)
{
    const auto reply = ChildProcess::run("dbus-send",
        {"--bus=" + bus.address(), "--print-reply", "--dest=net.hadess.PowerProfiles", "/net/hadess/PowerProfiles",
            "org.freedesktop.DBus.Properties.Get", "string:net.hadess.PowerProfiles", "string:ActiveProfileHolds"});
    const QString text = QString::fromStdString(reply.out);
    QStringList held;
    static const QRegularExpression hold(
        R"re("Profile"\s+(?:variant\s+)?string "([a-z-]+)".*?"ApplicationId"\s+(?:variant\s+)?string "([^"]+)")re",
        QRegularExpression::DotMatchesEverythingOption);
    for (auto it = hold.globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        held << match.captured(1) + " by " + match.captured(2);
    }
    return held;
}

struct Outcome {
    bool answered = false;
    bool held = false;
    QString error;
};

Outcome holdAndWait(PpdPowerProfiles& profiles, const QString& profile)
{
    Outcome outcome;
    profiles.hold(profile, "cooling", [&](bool held, const QString& error) { outcome = {true, held, error}; });
    waitUntil([&] { return outcome.answered; }, std::chrono::seconds(5));
    return outcome;
}

TEST(PowerProfiles, AHoldIsTakenReplacedAndReleasedOnTheProfileDaemonAndFailsWithoutOne)
{
    PrivateBus bus;
    {
        PpdPowerProfiles profiles(bus.connection(), "org.quillon.Quillon");
        const Outcome outcome = holdAndWait(profiles, "performance");
        EXPECT_TRUE(outcome.answered);
        EXPECT_FALSE(outcome.held);
        EXPECT_EQ(outcome.error, "no power profile daemon runs");
    }
    BusService ppd(
        QUILLON_PYTHON, {"-m", "dbusmock", "--template", "power_profiles_daemon"}, bus, "net.hadess.PowerProfiles");
    ASSERT_TRUE(ppd.started());
    {
        PpdPowerProfiles profiles(bus.connection(), "org.quillon.Quillon");
        const Outcome first = holdAndWait(profiles, "performance");
        EXPECT_TRUE(first.held) << first.error.toStdString() << " (the older name answers where the new one is absent)";
        EXPECT_EQ(holds(bus), QStringList{"performance by org.quillon.Quillon"});

        EXPECT_TRUE(holdAndWait(profiles, "power-saver").held);
        EXPECT_TRUE(waitUntil(
            [&] { return holds(bus) == QStringList{"power-saver by org.quillon.Quillon"}; }, std::chrono::seconds(2)))
            << "the new hold replaces the old one";

        profiles.release();
        EXPECT_TRUE(waitUntil([&] { return holds(bus).isEmpty(); }, std::chrono::seconds(2)));

        EXPECT_TRUE(holdAndWait(profiles, "balanced").held);
    }
    EXPECT_TRUE(waitUntil([&] { return holds(bus).isEmpty(); }, std::chrono::seconds(2)))
        << "nothing is left held once the app's side is gone";
}

} // namespace
