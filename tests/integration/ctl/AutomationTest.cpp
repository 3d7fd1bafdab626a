// Automation and keep-awake for a process, end to end: the app in demo mode
// finds a real process of an installed application, holds its inhibitors on
// the private bus's logind and has the simulated Mac's helper cool at max,
// and lets go of both when the process ends; `ctl awake -- COMMAND` does the
// same for a command of its own and passes on its exit status.
#include "DemoAppRig.h"

#include "support/BusService.h"
#include "support/Files.h"
#include "support/LogindLocks.h"

#include <QDBusMessage>
#include <QDateTime>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace quillon::test {
namespace {

const QStringList offscreen{"QT_QPA_PLATFORM=offscreen", "QT_QUICK_BACKEND=software"};
// How soon an exit must show (told at once by a pidfd), and a launch: a
// process outside an app unit is found by the 5-second poll, and logind
// then takes the locks.
constexpr auto kNotice = 5s;
constexpr auto kLaunchNotice = 5s + 1s;

class AutomationTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // An installed application whose program is a copy of sleep under a name of its own.
        program = apps.path() + "/bin/quillon-test-editor";
        QDir().mkpath(apps.path() + "/bin");
        ASSERT_TRUE(QFile::copy("/bin/sleep", program));
        ASSERT_TRUE(writeFile(apps.path() + "/share/applications/org.quillon.TestEditor.desktop",
            "[Desktop Entry]\nType=Application\nName=Test Editor\nIcon=accessories-text-editor\nExec="
                + program.toUtf8() + " %F\n"));
        ASSERT_TRUE(rig.start(offscreen
            + QStringList{"XDG_DATA_DIRS=" + apps.path() + "/share", "XDG_DATA_HOME=" + apps.path() + "/home"}))
            << rig.log();
    }

    std::string run(const QStringList& args)
    {
        const auto result = rig.ctl(args);
        EXPECT_EQ(result.exitCode, 0) << args.join(' ').toStdString() << ": " << result.err;
        return result.out;
    }
    // Why-texts of the inhibitors logind holds.
    QStringList logindLocks()
    {
        QStringList whys;
        for (const LogindLock& lock : logindLocksOn(rig.systemBus.connection()))
            whys << lock.value(2);
        return whys;
    }
    bool holdsSystemAndDisplay()
    {
        const QStringList locks = logindLocks();
        return locks.count("SleepTimer: prevent system sleep") == 1
            && locks.count("SleepTimer: prevent display sleep") == 1;
    }
    QJsonObject section(const char* name) const { return rig.status().value(QLatin1String(name)).toObject(); }
    bool boosted() const { return section("fans").value("boosted").toBool(); }
    std::string dump() const { return QJsonDocument(rig.status()).toJson().toStdString(); }

    QTemporaryDir apps;
    QString program;
    DemoAppRig rig;
};

TEST_F(AutomationTest, ARunningAppKeepsAwakeAndCoolUntilItEnds)
{
    run({"auto", "add", "org.quillon.TestEditor", "--cooling", "max"});
    run({"auto", "on"});
    EXPECT_FALSE(section("automation")["active"].toBool());
    EXPECT_TRUE(logindLocks().isEmpty());

    QProcess editor;
    editor.start(program, {"60"});
    ASSERT_TRUE(editor.waitForStarted());
    EXPECT_TRUE(waitUntil([&] { return holdsSystemAndDisplay(); }, kLaunchNotice))
        << logindLocks().join(", ").toStdString();
    EXPECT_TRUE(waitUntil([&] { return boosted(); }, kNotice)) << dump();
    const QJsonObject automation = section("automation");
    EXPECT_TRUE(automation["active"].toBool());
    EXPECT_EQ(automation["reason"], "Test Editor");
    EXPECT_EQ(automation["cooling"], "max");
    EXPECT_EQ(automation["apps"].toArray().first().toObject()["name"], "Test Editor");

    editor.kill();
    editor.waitForFinished();
    QElapsedTimer sinceExit;
    sinceExit.start();
    EXPECT_TRUE(waitUntil([&] { return logindLocks().isEmpty(); }, kNotice)) << logindLocks().join(", ").toStdString();
    EXPECT_LT(sinceExit.elapsed(), 2000) << "an exit is told at once, not at the next poll";
    EXPECT_TRUE(waitUntil([&] { return !boosted(); }, kNotice)) << dump();
    EXPECT_FALSE(section("automation")["active"].toBool());
}

// An unknown desktop id is refused; a rule the settings file does not take
// would be gone after a restart: the script is told, with the reason, and
// does not take it for done.
TEST_F(AutomationTest, RulesThatCannotHoldAreReportedNotDone)
{
    const auto unknown = rig.ctl({"auto", "add", "org.example.Nowhere"});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_NE(unknown.err.find("no installed application has the desktop id org.example.Nowhere"), std::string::npos)
        << unknown.err;
    EXPECT_TRUE(section("automation")["apps"].toArray().isEmpty());

    const QString file = rig.demoDirectory() + "/Quillon.conf";
    ASSERT_FALSE(rig.demoDirectory().isEmpty());
    QFile::remove(file);
    ASSERT_TRUE(QDir().mkdir(file)) << "a folder where the file should be";
    const auto on = rig.ctl({"auto", "on"});
    EXPECT_EQ(on.exitCode, 1);
    EXPECT_NE(on.err.find("cannot be written"), std::string::npos) << on.err;

    ASSERT_TRUE(QDir(file).removeRecursively());
    EXPECT_EQ(rig.ctl({"auto", "off"}).exitCode, 0) << "saved again once the file can be written";
}

TEST_F(AutomationTest, AwakeRunsACommandHoldsWhileItRunsAndPassesOnItsStatus)
{
    LineProcess ctl;
    ctl.start(QUILLON_APP_BIN, {"ctl", "awake", "--", "sleep", "2"}, rig.environment());
    EXPECT_TRUE(waitUntil([&] { return holdsSystemAndDisplay(); }, kNotice)) << logindLocks().join(", ").toStdString();
    const QJsonArray processes = section("awakeWhile")["processes"].toArray();
    ASSERT_EQ(processes.size(), 1) << dump();
    EXPECT_EQ(processes.first().toObject()["command"], "sleep");
    EXPECT_TRUE(rig.status()["active"].toBool());

    EXPECT_EQ(ctl.waitForExit(10s), 0);
    EXPECT_TRUE(waitUntil([&] { return logindLocks().isEmpty(); }, kNotice)) << logindLocks().join(", ").toStdString();
    EXPECT_TRUE(section("awakeWhile")["processes"].toArray().isEmpty());

    EXPECT_EQ(rig.ctl({"awake", "--", "sh", "-c", "exit 3"}).exitCode, 3);
    EXPECT_EQ(rig.ctl({"awake", "--", "sh", "-c", "kill -TERM $$"}).exitCode, 128 + 15);
    EXPECT_EQ(rig.ctl({"awake", "--", "/no/such/program"}).exitCode, 127);
    const auto gone = rig.ctl({"awake", "--while", "999999999"});
    EXPECT_EQ(gone.exitCode, 1);
    EXPECT_NE(gone.err.find("no process 999999999 is running"), std::string::npos) << gone.err;
}

// The full-screen and media rules through `ctl auto`: each says in the status
// whether it holds and why; without a display the full-screen rule is
// refused with the reason.
TEST_F(AutomationTest, TheFullScreenAndMediaRulesAreSwitchedAndExplained)
{
    run({"auto", "on"});
    EXPECT_NE(run({"auto", "media", "on"}).find("keeps awake while media plays"), std::string::npos);
    EXPECT_NE(run({"auto", "exclude", "add", "org.quillon.TestEditor"}).find("Test Editor does not keep awake"),
        std::string::npos);
    EXPECT_EQ(rig.ctl({"auto", "exclude", "add", "org.example.Nowhere"}).exitCode, 1);
    const auto fullScreen = rig.ctl({"auto", "fullscreen", "on"});
    EXPECT_EQ(fullScreen.exitCode, 1) << "the app runs without a display here";
    EXPECT_NE(fullScreen.err.find("no display to ask which window is full screen"), std::string::npos)
        << fullScreen.err;

    const QJsonObject automation = section("automation");
    EXPECT_TRUE(automation["media"].toBool());
    EXPECT_FALSE(automation["fullscreen"].toBool());
    EXPECT_EQ(automation["excluded"].toArray(), QJsonArray{"org.quillon.TestEditor"});
    QJsonObject media;
    for (const QJsonValue rule : automation["rules"].toArray()) {
        if (rule["rule"] == "media")
            media = rule.toObject();
    }
    EXPECT_EQ(media, (QJsonObject{{"rule", "media"}, {"on", true}, {"holds", false}, {"why", "no player is playing"}}))
        << dump();
    run({"auto", "exclude", "remove", "org.quillon.TestEditor"});
    EXPECT_TRUE(section("automation")["excluded"].toArray().isEmpty());
}

// A pause lets go of the session's locks on logind and takes them again;
// the closed lid's stay throughout.
TEST_F(AutomationTest, APauseLetsGoOfTheSessionButNotTheLid)
{
    const auto count = [&](const char* why) {
        return static_cast<int>(logindLocks().count(why));
    };
    const char* system = "SleepTimer: prevent system sleep";
    const char* display = "SleepTimer: prevent display sleep";
    run({"awake", "--for", "2h"});
    run({"lid", "on"});
    EXPECT_TRUE(waitUntil([&] { return count(system) == 2 && count(display) == 1; }, kNotice))
        << logindLocks().join(", ").toStdString();
    EXPECT_TRUE(rig.status()["pausedUntil"].isNull());

    EXPECT_NE(run({"pause", "--for", "30m"}).find("keep-awake paused until"), std::string::npos);
    EXPECT_TRUE(waitUntil([&] { return count(system) == 1 && count(display) == 0; }, kNotice))
        << logindLocks().join(", ").toStdString();
    const QJsonObject status = rig.status();
    const QDateTime until = QDateTime::fromString(status["pausedUntil"].toString(), Qt::ISODate);
    EXPECT_NEAR(static_cast<double>(QDateTime::currentDateTime().secsTo(until)), 1800, 30) << dump();
    EXPECT_FALSE(status["awake"].toObject()["remaining"].isNull()) << "the session's countdown runs on";
    EXPECT_EQ(status["lid"].toObject()["held"].toObject()["state"], "inForce") << dump();
    EXPECT_NE(run({"awake", "--for", "2h"}).find("once the pause ends"), std::string::npos)
        << "asked for during a pause: not refused, held once it ends";

    run({"resume"});
    EXPECT_TRUE(waitUntil([&] { return count(system) == 2 && count(display) == 1; }, kNotice))
        << logindLocks().join(", ").toStdString();
    EXPECT_TRUE(rig.status()["pausedUntil"].isNull());
}

// Where nothing can hold keep-awake (no logind, no desktop power manager),
// asking for it, or for automation whose rule holds, fails with the reason
// instead of claiming it holds. The portal alone takes it without ever
// showing it in force: asked for, not done, and the icon stays idle.
class NothingToHoldKeepAwakeTest : public AutomationTest {
protected:
    void SetUp() override
    {
        rig.withLogind = false;
        AutomationTest::SetUp();
    }
};

TEST_F(NothingToHoldKeepAwakeTest, AutomationAndAwakeExitWithTheReason)
{
    QProcess editor;
    editor.start(program, {"60"});
    ASSERT_TRUE(editor.waitForStarted());
    run({"auto", "add", "org.quillon.TestEditor"});
    const auto on = rig.ctl({"auto", "on"});
    EXPECT_EQ(on.exitCode, 1) << on.out;
    EXPECT_NE(on.err.find("keep-awake is refused (Test Editor): nothing on this desktop"), std::string::npos) << on.err;
    EXPECT_FALSE(section("automation")["active"].toBool());
    editor.kill();
    editor.waitForFinished();

    auto awake = rig.ctl({"awake", "--for", "1h"});
    EXPECT_EQ(awake.exitCode, 1) << awake.out;
    EXPECT_NE(awake.err.find("keep-awake refused: nothing on this desktop"), std::string::npos) << awake.err;
    EXPECT_EQ(section("awake")["held"].toObject()["system"].toObject()["state"], "failed");
    EXPECT_FALSE(rig.status()["active"].toBool());

    BusService portal(QUILLON_PYTHON, {QUILLON_INHIBIT_STANDIN, "portal"}, rig.bus, "org.freedesktop.portal.Desktop",
        rig.systemBus.address());
    ASSERT_TRUE(portal.started());
    awake = rig.ctl({"awake", "--for", "1h"});
    EXPECT_EQ(awake.exitCode, 1) << awake.out;
    EXPECT_NE(awake.err.find("keep-awake asked for, not confirmed; system asked through portal"), std::string::npos)
        << awake.err;
    const QJsonObject status = rig.status();
    const QJsonObject display = status["awake"].toObject()["held"].toObject()["display"].toObject();
    EXPECT_EQ(display["state"], "confirming");
    EXPECT_TRUE(display["through"].toString().startsWith("portal"));
    EXPECT_FALSE(status["active"].toBool());
    EXPECT_EQ(status["icon"], "idle");
}

// Callers of the scripting interface other than `quillon ctl` (busctl, a
// script) can send anything: what could never end is refused, and no answer
// repeats more than a short line of what was sent.
using HostileScripting = AutomationTest;

TEST_F(HostileScripting, RefusesEndlessHoldsAndQuotesLittle)
{
    const auto call = [&](const char* method, const QVariantList& args) {
        QDBusMessage message = QDBusMessage::createMethodCall(
            "org.quillon.Quillon", "/org/quillon/Quillon", "org.quillon.Quillon", QLatin1String(method));
        message.setArguments(args);
        const QDBusMessage reply = rig.bus.connection().call(message, QDBus::Block, 10000);
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << method;
        return std::pair(reply.arguments().value(0).toBool(), reply.arguments().value(1).toString());
    };
    const QString past = QDateTime::currentDateTime().addSecs(-60).toString(Qt::ISODate);
    auto [ok, text] = call("StayAwake", {QStringList{"system"}, past});
    EXPECT_FALSE(ok) << text.toStdString();
    EXPECT_TRUE(text.contains("has already passed")) << text.toStdString();
    EXPECT_TRUE(waitUntil([&] { return !rig.status().isEmpty(); }));
    EXPECT_TRUE(logindLocks().isEmpty()) << logindLocks().join(", ").toStdString();

    std::tie(ok, text) = call("AwakeWhile", {qint64{1}});
    EXPECT_FALSE(ok);
    EXPECT_TRUE(text.contains("keep-awake would never end")) << text.toStdString();

    const QString huge = QString("k").repeated(4 * 1024 * 1024);
    std::tie(ok, text) = call("StayAwake", {QStringList{huge}, QString()});
    EXPECT_FALSE(ok);
    EXPECT_LT(text.size(), 200);
    std::tie(ok, text) = call("AddAutomationApp", {huge, QString()});
    EXPECT_FALSE(ok);
    EXPECT_LT(text.size(), 200);
    EXPECT_TRUE(section("awakeWhile")["processes"].toArray().isEmpty());
}

} // namespace
} // namespace quillon::test
