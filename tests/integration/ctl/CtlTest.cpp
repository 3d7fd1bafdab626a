// `quillon ctl` against the running app in demo mode: each verb changes
// what the app's status reports, the same state the panel shows.
#include "DemoAppRig.h"

#include "support/FeedServer.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

const QStringList offscreen{"QT_QPA_PLATFORM=offscreen", "QT_QUICK_BACKEND=software"};

bool contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

QJsonObject section(const QJsonObject& status, const char* name)
{
    return status.value(QLatin1String(name)).toObject();
}

class CtlTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(rig.start(offscreen)) << rig.log(); }

    // Runs ctl and expects success.
    std::string run(const QStringList& args)
    {
        const auto result = rig.ctl(args);
        EXPECT_EQ(result.exitCode, 0) << args.join(' ').toStdString() << ": " << result.err;
        return result.out;
    }
    // Waits for the status to show something (the helper answers asynchronously).
    bool eventually(const std::function<bool(const QJsonObject&)>& holds)
    {
        return waitUntil([&] { return holds(rig.status()); }, 10s);
    }

    DemoAppRig rig;
};

TEST_F(CtlTest, StatusReportsTheDemosHelperAndFans)
{
    ASSERT_TRUE(eventually([](const QJsonObject& s) { return !section(s, "fans")["fans"].toArray().isEmpty(); }));
    const QJsonObject status = rig.status();
    EXPECT_TRUE(section(status, "helper")["installed"].toBool());
    EXPECT_TRUE(section(status, "helper")["connected"].toBool());
    EXPECT_EQ(section(status, "fans")["fans"].toArray().size(), 2);
    EXPECT_GT(section(status, "temperatures")["cpu"].toDouble(), 20.0);
    EXPECT_EQ(status["icon"].toString(), "idle");
    EXPECT_TRUE(section(status, "awake")["kinds"].toArray().isEmpty());
    EXPECT_FALSE(status["active"].toBool());
}

TEST_F(CtlTest, AwakeHoldsTheKindsUntilTheEndAndSwitchesTheIcon)
{
    EXPECT_TRUE(
        contains(run({"awake", "--for", "90m", "--kinds", "network,system"}), "keeping network, system awake for 1:"));
    QJsonObject awake = section(rig.status(), "awake");
    EXPECT_EQ(awake["kinds"].toArray(), QJsonArray({"system", "network"}));
    const QDateTime until = QDateTime::fromString(awake["until"].toString(), Qt::ISODate);
    EXPECT_NEAR(static_cast<double>(QDateTime::currentDateTime().secsTo(until)), 5400, 5);
    EXPECT_TRUE(eventually([](const QJsonObject& s) { return s["icon"] == "active" && s["active"] == true; }));
    // Each kind says through what it is in force: here logind, the only service on these buses.
    EXPECT_TRUE(eventually([](const QJsonObject& s) {
        const QJsonObject held = section(s, "awake")["held"].toObject();
        return held["system"].toObject()["state"] == "inForce" && held["network"].toObject()["state"] == "inForce";
    })) << QJsonDocument(rig.status()).toJson().toStdString();
    EXPECT_EQ(section(rig.status(), "awake")["held"].toObject()["system"].toObject()["through"], "logind");

    run({"awake", "--off"});
    awake = section(rig.status(), "awake");
    EXPECT_TRUE(awake["kinds"].toArray().isEmpty());
    EXPECT_TRUE(awake["until"].isNull());
    EXPECT_TRUE(eventually([](const QJsonObject& s) { return s["icon"] == "idle"; }));

    run({"awake"}); // open-ended, system and display
    awake = section(rig.status(), "awake");
    EXPECT_EQ(awake["kinds"].toArray(), QJsonArray({"system", "display"}));
    EXPECT_TRUE(awake["until"].isNull());
}

TEST_F(CtlTest, FansManualAutoOffAndTheHelperFollows)
{
    EXPECT_TRUE(contains(run({"fans", "manual", "60", "--for", "5m"}), "floor of 60 %"));
    EXPECT_TRUE(eventually([](const QJsonObject& s) {
        const QJsonObject fans = section(s, "fans");
        return fans["enabled"] == true && fans["mode"] == "manual" && fans["boosted"] == true;
    })) << QJsonDocument(rig.status()).toJson().toStdString();
    const QJsonObject fans = section(rig.status(), "fans");
    EXPECT_EQ(fans["manualPercent"].toDouble(), 60);
    EXPECT_TRUE(fans["boostRemaining"].toString().startsWith("4:5") || fans["boostRemaining"] == "5:00");

    run({"fans", "auto", "silent"});
    const QJsonObject automatic = section(rig.status(), "fans");
    EXPECT_EQ(automatic["mode"], "auto");
    EXPECT_EQ(automatic["profile"], "silent");

    run({"fans", "off"});
    EXPECT_TRUE(eventually([](const QJsonObject& s) {
        return section(s, "fans")["enabled"] == false && section(s, "fans")["boosted"] == false;
    }));
}

TEST_F(CtlTest, ResetSwitchesEverythingOff)
{
    run({"lid", "on"});
    run({"awake", "--for", "1h"});
    run({"fans", "auto", "max"});
    // The helper holds the lid through logind; logind lists the lock.
    EXPECT_TRUE(eventually([](const QJsonObject& s) {
        return section(s, "lid")["held"].toObject()["state"] == "inForce";
    })) << QJsonDocument(rig.status()).toJson().toStdString();
    QJsonObject status = rig.status();
    EXPECT_EQ(section(status, "lid")["held"].toObject()["through"], "logind (fan helper)");
    EXPECT_TRUE(section(status, "lid")["enabled"].toBool());
    EXPECT_TRUE(section(status, "fans")["enabled"].toBool());

    EXPECT_TRUE(contains(run({"reset"}), "off"));
    status = rig.status();
    EXPECT_FALSE(section(status, "lid")["enabled"].toBool());
    EXPECT_FALSE(section(status, "fans")["enabled"].toBool());
    EXPECT_TRUE(section(status, "awake")["kinds"].toArray().isEmpty());
}

// Bad commands never reach the app; a second demo does not start beside the first.
TEST_F(CtlTest, UsageErrorsAndASecondInstance)
{
    const auto mistake = rig.ctl({"fans", "sideways"}); // what each mistake says is CtlRequest's
    EXPECT_EQ(mistake.exitCode, 2);
    EXPECT_TRUE(contains(mistake.err, "Usage: quillon ctl")) << mistake.err;
    const auto help = rig.ctl({"help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(contains(help.out, "awake [--for DURATION | --until TIME | --off]"));

    const auto second = ChildProcess::run(QUILLON_APP_BIN, {"--demo"}, rig.environment() + offscreen);
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_TRUE(contains(second.err, "already running")) << second.err;
}

// Where nothing can hold keep-awake (no logind, no desktop power manager),
// asking for it fails with the reason instead of claiming it holds.
TEST(CtlWithNothingToHoldKeepAwake, AwakeExitsWithTheReason)
{
    DemoAppRig rig;
    rig.withLogind = false;
    ASSERT_TRUE(rig.start(offscreen)) << rig.log();
    const auto awake = rig.ctl({"awake", "--for", "1h"});
    EXPECT_EQ(awake.exitCode, 1) << awake.out;
    EXPECT_TRUE(contains(awake.err, "keep-awake refused: nothing on this desktop")) << awake.err;
    const QJsonObject held = section(rig.status(), "awake")["held"].toObject();
    EXPECT_EQ(held["system"].toObject()["state"], "failed");
    EXPECT_FALSE(rig.status()["active"].toBool());
}

TEST(CtlWithoutApp, SaysTheAppIsNotRunning)
{
    DemoAppRig rig;
    const auto result = rig.ctl({"status"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(contains(result.err, "Quillon is not running")) << result.err;
}

// `ctl update check` asks the feed through the app and says what it offers.
TEST(CtlUpdate, CheckSaysWhatTheFeedOffers)
{
    FeedServer feed;
    ASSERT_TRUE(feed.ready());
    feed.serve("appcast.json", R"({"shortVersion": "99.1", "url": "https://example.org/quillon_99.1.deb"})");
    DemoAppRig rig;
    ASSERT_TRUE(rig.start(offscreen + QStringList{"QUILLON_UPDATE_FEED=" + feed.url("appcast.json").toString()}))
        << rig.log();

    auto result = rig.ctl({"update", "check"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "Quillon 99.1 is available: https://example.org/quillon_99.1.deb")) << result.out;
    EXPECT_EQ(section(rig.status(), "updates")["latestVersion"], "99.1");

    feed.serve("appcast.json", R"({"shortVersion": "0.0.1"})");
    result = rig.ctl({"update", "check"});
    EXPECT_TRUE(contains(result.out, "up to date")) << result.out;
    EXPECT_TRUE(section(rig.status(), "updates")["latestVersion"].isNull());

    feed.serve("appcast.json", "not a feed");
    EXPECT_EQ(rig.ctl({"update", "check"}).exitCode, 1);
}

} // namespace
} // namespace quillon::test
