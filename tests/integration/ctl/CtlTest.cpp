// `quillon ctl` against the running app in demo mode: each verb changes
// what the app's status reports, the same state the panel shows.
#include "DemoAppRig.h"

#include "support/BusService.h"
#include "support/FeedServer.h"
#include "support/Files.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
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

// The status of a fresh demo: its helper, fans and temperatures, nothing
// held; lid, keep-awake and fans switched on, reset switches everything off.
TEST_F(CtlTest, StatusOfTheDemoAndResetSwitchesEverythingOff)
{
    ASSERT_TRUE(eventually([](const QJsonObject& s) { return !section(s, "fans")["fans"].toArray().isEmpty(); }));
    QJsonObject status = rig.status();
    EXPECT_TRUE(section(status, "helper")["installed"].toBool());
    EXPECT_TRUE(section(status, "helper")["connected"].toBool());
    EXPECT_EQ(section(status, "fans")["fans"].toArray().size(), 2);
    EXPECT_GT(section(status, "temperatures")["cpu"].toDouble(), 20.0);
    EXPECT_EQ(status["icon"].toString(), "idle");
    EXPECT_TRUE(section(status, "awake")["kinds"].toArray().isEmpty());
    EXPECT_FALSE(status["active"].toBool());

    run({"lid", "on"});
    run({"awake", "--for", "1h"});
    run({"fans", "auto", "max"});
    // The helper holds the lid through logind; logind lists the lock.
    EXPECT_TRUE(eventually([](const QJsonObject& s) {
        return section(s, "lid")["held"].toObject()["state"] == "inForce";
    })) << QJsonDocument(rig.status()).toJson().toStdString();
    status = rig.status();
    EXPECT_EQ(section(status, "lid")["held"].toObject()["through"], "logind (fan helper)");
    EXPECT_TRUE(section(status, "lid")["enabled"].toBool());
    EXPECT_TRUE(section(status, "fans")["enabled"].toBool());

    EXPECT_TRUE(contains(run({"reset"}), "off"));
    status = rig.status();
    EXPECT_FALSE(section(status, "lid")["enabled"].toBool());
    EXPECT_FALSE(section(status, "fans")["enabled"].toBool());
    EXPECT_TRUE(section(status, "awake")["kinds"].toArray().isEmpty());
}

// Bad commands never reach the app; a second demo does not start beside the
// first, nor an app beside one that holds the name but never answers: that
// one is given up on after a short bound, with the reason.
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

    PrivateBus hungSession;
    BusService hung(QUILLON_PYTHON, {QUILLON_INHIBIT_STANDIN, "hung-quillon"}, hungSession, "org.quillon.Quillon");
    ASSERT_TRUE(hung.started());
    const auto beside = ChildProcess::run(QUILLON_APP_BIN, {},
        rig.environment() + offscreen + QStringList{"DBUS_SESSION_BUS_ADDRESS=" + hungSession.address()}, 10000);
    EXPECT_EQ(beside.exitCode, 1);
    EXPECT_TRUE(contains(beside.err, "already running but does not answer")) << beside.err;
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

// `ctl helper ...` runs the panel's and the settings window's flows, password
// dialog included; pkexec is a stand-in that answers as the test says (and
// never runs anything as root), so each outcome reaches the command line.
TEST(CtlHelper, InstallUpdateAndUninstallGoThroughThePasswordDialog)
{
    QTemporaryDir bin;
    const QString answer = bin.path() + "/answer";
    const QString asked = bin.path() + "/script";
    writeFile(bin.path() + "/pkexec",
        "#!/bin/sh\nprintf '%s' \"$4\" > '" + asked.toUtf8() + "'\ncase $(cat '" + answer.toUtf8()
            + "') in\n"
              "dismiss) exit 126 ;;\n"
              "noagent) echo 'Error executing command as another user: No authentication agent found.' >&2; exit "
              "127 ;;\n"
              "grant) echo 'quillon: running as root'; exit 0 ;;\n"
              "esac\nexit 1\n");
    QFile::setPermissions(bin.path() + "/pkexec", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    DemoAppRig rig;
    ASSERT_TRUE(rig.start(offscreen + QStringList{"PATH=" + bin.path() + ":" + qEnvironmentVariable("PATH")}))
        << rig.log();
    const auto says = [&](const char* how, const QStringList& args) {
        writeFile(answer, how);
        QFile::remove(asked);
        return rig.ctl(QStringList{"helper"} + args);
    };

    // The demo's helper counts as installed and current: nothing to ask.
    auto result = says("grant", {"install"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "installed already")) << result.out;
    EXPECT_FALSE(QFileInfo::exists(asked)) << "no password asked for";

    result = says("dismiss", {"update"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(contains(result.err, "dismissed")) << result.err;
    result = says("noagent", {"update"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(contains(result.err, "No password dialog is available")) << result.err;
    EXPECT_TRUE(section(rig.status(), "helper")["message"].toString().startsWith("Fehler: No password dialog"))
        << "the panel shows the same";
    result = says("grant", {"update"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "updated")) << result.out;
    EXPECT_TRUE(readFile(asked).contains("sha256sum")) << "root was handed the install script itself";

    result = says("dismiss", {"uninstall"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(rig.app.running()) << "a dismissed removal keeps the app";
    result = says("grant", {"uninstall"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(contains(result.out, "removed")) << result.out;
    EXPECT_TRUE(readFile(asked).contains("rm -f")) << "root was handed the removal script itself";
    EXPECT_TRUE(waitUntil([&] { return !rig.app.running(); }, 10s)) << "the app quits after its removal";
}

} // namespace
} // namespace quillon::test
