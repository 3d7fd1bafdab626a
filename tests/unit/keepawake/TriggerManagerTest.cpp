// Automation: which rules hold, what they hold and ask for, and what stops
// them; and keep-awake while given processes run.
#include "app/automation/TriggerManager.h"

#include "app/power/ProcessKeepAwake.h"

#include "support/KeepAwakeRig.h"
#include "support/QStringPrinter.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>
#include <QSettings>

using namespace quillon::test;
using quillon::app::TriggerApp;
using quillon::app::TriggerManager;
using Profile = quillon::core::CoolingProfile::Kind;
using Phase = quillon::platform::PowerAssertionState::Phase;

namespace {

class TriggerManagerTest : public KeepAwakeRig {
protected:
    TriggerManager& triggers() { return *manager->triggers(); }
    std::optional<Profile> fanProfile() { return manager->fan()->triggerProfile(); }
    void listApps()
    {
        triggers().addApp({"org.kde.kdenlive", "Kdenlive", Profile::balanced});
        triggers().addApp({"org.blender.Blender", "Blender", Profile::max});
        triggers().addApp({"resolve", "DaVinci Resolve", std::nullopt});
    }
};

TEST_F(TriggerManagerTest, OffUntilSwitchedOnWhateverTheRulesSay)
{
    supply->battery(80, true);
    displays.present = true;
    triggers().setKeepAwakeOnAC(true);
    triggers().setKeepAwakeOnExternalDisplay(true);
    listApps();
    runningApps.runningIds = {"org.blender.Blender"};
    triggers().evaluate();
    EXPECT_FALSE(triggers().active());
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(fanProfile());
    EXPECT_EQ(runningApps.lookups, 0) << "nothing is looked up while automation is off";

    triggers().setAutomationEnabled(true);
    EXPECT_TRUE(triggers().active());
    EXPECT_EQ(triggers().activeReason(), "on AC power, external display, Blender");
    EXPECT_EQ(held(quillon::platform::PowerAssertionType::preventIdleSystemSleep), 1);
    EXPECT_EQ(held(quillon::platform::PowerAssertionType::preventIdleDisplaySleep), 1);
    EXPECT_EQ(fanProfile(), Profile::max);
    EXPECT_TRUE(manager->anythingActive());

    // The master switch withdraws everything, cooling included.
    triggers().setAutomationEnabled(false);
    EXPECT_FALSE(triggers().active());
    EXPECT_EQ(triggers().activeReason(), "");
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(fanProfile());
    EXPECT_FALSE(triggers().coolingProfileActive());
    EXPECT_FALSE(manager->anythingActive());

    // An answer that comes after the switch went off holds nothing.
    supply->battery(80, false);
    displays.present = false;
    runningApps.answerLater = true;
    triggers().setAutomationEnabled(true);
    EXPECT_FALSE(triggers().active()) << "nothing before the answer";
    runningApps.answer();
    EXPECT_EQ(triggers().activeReason(), "Blender");
    triggers().evaluate();
    triggers().setAutomationEnabled(false);
    runningApps.answer();
    EXPECT_FALSE(triggers().active());
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(fanProfile());
}

// Running apps are named in list order, the first plus how many more, and
// the strongest cooling any of them (or the closed lid) asks for wins.
TEST_F(TriggerManagerTest, RunningAppsNameTheFirstPlusOthersAndTheStrongestCoolingWins)
{
    triggers().setAutomationEnabled(true);
    listApps();
    runningApps.runningIds = {"org.blender.Blender", "org.kde.kdenlive"};
    triggers().evaluate();
    EXPECT_EQ(triggers().activeReason(), "Kdenlive +1"); // list order, not launch order
    EXPECT_EQ(triggers().coolingProfileActive(), Profile::max);
    EXPECT_EQ(fanProfile(), Profile::max);

    runningApps.runningIds.insert("resolve");
    triggers().evaluate();
    EXPECT_EQ(triggers().activeReason(), "Kdenlive +2");

    runningApps.runningIds = {"resolve"};
    triggers().evaluate();
    EXPECT_EQ(triggers().activeReason(), "DaVinci Resolve");
    EXPECT_FALSE(triggers().coolingProfileActive()) << "an app without cooling asks for none";
    EXPECT_FALSE(fanProfile());
    EXPECT_TRUE(triggers().active());

    triggers().addApp({"org.gnome.Builder", "Builder", Profile::silent});
    runningApps.runningIds.clear();
    runningApps.set("org.gnome.Builder", true); // announced: evaluated at once
    EXPECT_EQ(triggers().coolingProfileActive(), Profile::silent);
    EXPECT_EQ(fanProfile(), Profile::silent);
    manager->lid()->setEnabled(true); // asks for balanced
    EXPECT_EQ(fanProfile(), Profile::balanced);
    manager->lid()->setEnabled(false);
    EXPECT_EQ(fanProfile(), Profile::silent);

    runningApps.set("org.gnome.Builder", false);
    EXPECT_FALSE(triggers().active());
    EXPECT_FALSE(fanProfile());
    EXPECT_EQ(liveAssertions(), 0);
}

TEST_F(TriggerManagerTest, TheBatteryGuardHoldsNothingAtTwelvePercentOnBattery)
{
    triggers().setAutomationEnabled(true);
    triggers().addApp({"org.blender.Blender", "Blender", Profile::max});
    runningApps.runningIds = {"org.blender.Blender"};

    supply->battery(12, false);
    triggers().evaluate();
    EXPECT_FALSE(triggers().active());
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(fanProfile());

    supply->battery(13, false);
    triggers().evaluate();
    EXPECT_TRUE(triggers().active());
    EXPECT_EQ(fanProfile(), Profile::max);

    supply->battery(5, true); // charging: the guard is for running on battery
    triggers().evaluate();
    EXPECT_TRUE(triggers().active());

    supply->battery(12, false);
    settings.setFlag(quillon::app::Settings::Key::lowBatteryAutoStop, false);
    triggers().evaluate();
    EXPECT_TRUE(triggers().active()) << "the user switched the battery stops off";
}

TEST_F(TriggerManagerTest, PowerAndDisplayRulesFollowTheirProbes)
{
    triggers().setAutomationEnabled(true);
    triggers().setKeepAwakeOnAC(true);
    triggers().setKeepAwakeOnExternalDisplay(true);
    supply->battery(60, false);
    triggers().evaluate();
    EXPECT_FALSE(triggers().active());

    displays.present = true;
    emit displays.changed(); // a screen was added
    EXPECT_EQ(triggers().activeReason(), "external display");

    supply->battery(60, true); // no signal: the 5-second poll finds it
    triggers().evaluate();
    EXPECT_EQ(triggers().activeReason(), "on AC power, external display");

    triggers().setKeepAwakeOnExternalDisplay(false);
    EXPECT_EQ(triggers().activeReason(), "on AC power");
    triggers().setKeepAwakeOnAC(false);
    EXPECT_FALSE(triggers().active());
}

// Off, automation wakes the app for nothing: its 5-second poll runs only while on.
TEST_F(TriggerManagerTest, PollsEveryFiveSecondsOnlyWhileSwitchedOn)
{
    TriggerManager::Parts parts;
    parts.assertions = backend;
    parts.settings = &settings;
    TriggerManager polled(std::move(parts));
    EXPECT_FALSE(polled.pollTimer().isActive());
    polled.setAutomationEnabled(true);
    EXPECT_TRUE(polled.pollTimer().isActive());
    EXPECT_EQ(polled.pollTimer().interval(), 5000);
    polled.setAutomationEnabled(false);
    EXPECT_FALSE(polled.pollTimer().isActive());
    polled.setAutomationEnabled(true);
    EXPECT_TRUE(TriggerManager(TriggerManager::Parts{backend, {}, {}, {}, {}, {}, &settings}).pollTimer().isActive())
        << "switched on in the settings: polling from the start";
}

// Both rules are off until switched on, and watch only while they can hold;
// an excluded application's full screen does not count; each rule says why
// it holds or does not.
TEST_F(TriggerManagerTest, FullScreenAndMediaRulesHoldByTheirOwnSwitchesAndSayWhy)
{
    const auto why = [&](const char* rule) {
        for (const auto& state : triggers().ruleStates()) {
            if (state.rule == rule)
                return state.why;
        }
        return QString();
    };
    triggers().setAutomationEnabled(true);
    fullScreen.show(quillon::platform::FullScreenWindows::Window{42, "firefox-esr", "Firefox-esr"});
    media.play({"VLC media player"});
    EXPECT_FALSE(triggers().active());
    EXPECT_FALSE(fullScreen.watching || media.watching) << "off by default, and nothing is watched";
    EXPECT_EQ(why("fullScreen"), "switched off");

    triggers().setKeepAwakeOnFullScreen(true);
    EXPECT_EQ(triggers().activeReason(), "full screen: Firefox-esr");
    triggers().setKeepAwakeOnMedia(true);
    EXPECT_EQ(triggers().activeReason(), "full screen: Firefox-esr, media playing: VLC media player");
    EXPECT_EQ(held(quillon::platform::PowerAssertionType::preventIdleDisplaySleep), 1);

    runningApps.windowApps[42] = "firefox-esr";
    ASSERT_TRUE(triggers().addExcluded("firefox-esr"));
    EXPECT_FALSE(triggers().addExcluded("firefox-esr"));
    EXPECT_EQ(triggers().activeReason(), "media playing: VLC media player");
    EXPECT_EQ(why("fullScreen"), "firefox-esr is full screen, but excluded");
    media.play({"VLC media player", "Lollypop"});
    EXPECT_EQ(why("media"), "media playing: VLC media player +1");
    media.play({}); // paused: the player no longer says it plays
    EXPECT_FALSE(triggers().active());
    EXPECT_EQ(why("media"), "no player is playing");
    ASSERT_TRUE(triggers().removeExcluded("firefox-esr"));
    EXPECT_TRUE(triggers().active());

    supply->battery(12, false);
    triggers().evaluate();
    EXPECT_FALSE(triggers().active());
    EXPECT_EQ(why("fullScreen"), "on battery at 12 % or less");

    SetUp(); // the switches and the exclusions are kept
    EXPECT_TRUE(triggers().keepAwakeOnFullScreen() && triggers().keepAwakeOnMedia());
    EXPECT_TRUE(fullScreen.watching && media.watching);
    triggers().setAutomationEnabled(false);
    EXPECT_FALSE(fullScreen.watching || media.watching);

    fullScreen.supported = quillon::platform::FullScreenWindows::Support::wayland;
    EXPECT_EQ(why("fullScreen"), "this Wayland desktop tells no other app which window is full screen");
}

// Shown active only while the system shows what it asked for in force;
// taken but not (yet) shown, it is only asked for.
TEST_F(TriggerManagerTest, ActiveOnlyWhileTheSystemHoldsItsAssertions)
{
    backend->refuse = true;
    triggers().setAutomationEnabled(true);
    triggers().setKeepAwakeOnAC(true);
    EXPECT_TRUE(triggers().ruleHolds());
    EXPECT_FALSE(triggers().active());
    EXPECT_EQ(triggers().assertions().state(Kind::system).problem, "nothing here");

    backend->refuse = false;
    backend->confirmLater = true;
    triggers().evaluate(); // the next poll asks again
    EXPECT_FALSE(triggers().active());
    EXPECT_TRUE(triggers().unconfirmed());
    const auto ids = triggers().assertions().ids();
    backend->settle(ids.at(Kind::display), Phase::inForce);
    EXPECT_TRUE(triggers().active());
    EXPECT_FALSE(triggers().unconfirmed());
    backend->settle(ids.at(Kind::display), Phase::failed, "went away");
    EXPECT_FALSE(triggers().active()) << "system is still being confirmed";
    EXPECT_TRUE(triggers().unconfirmed());
    backend->settle(ids.at(Kind::system), Phase::failed, "went away");
    EXPECT_FALSE(triggers().unconfirmed());
}

// Its assertions are its own: the session ending leaves them, and it leaves
// the session's. Reset All switches automation off for good but keeps the rules.
TEST_F(TriggerManagerTest, ItsAssertionsAreItsOwnAndResetAllSwitchesItOff)
{
    manager->apply({Kind::system}, std::nullopt);
    triggers().setAutomationEnabled(true);
    triggers().setKeepAwakeOnAC(true);
    EXPECT_EQ(liveAssertions(), 3);
    manager->apply({}, std::nullopt);
    EXPECT_EQ(liveAssertions(), 2);
    EXPECT_TRUE(triggers().active());
    manager->apply({Kind::display}, std::nullopt);
    triggers().setKeepAwakeOnAC(false);
    EXPECT_EQ(liveAssertions(), 1);
    EXPECT_TRUE(manager->assertions().isHeld(Kind::display));

    triggers().setKeepAwakeOnAC(true);
    manager->resetAll();
    EXPECT_FALSE(triggers().automationEnabled());
    EXPECT_FALSE(settings.flag(quillon::app::Settings::Key::triggersEnabled));
    EXPECT_FALSE(manager->anythingActive());
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_TRUE(triggers().keepAwakeOnAC()) << "the rules stay as the user set them";
}

// The rules are stored as they change and read back by the next start. An
// element the app cannot read (a newer version's, a hand edit) is skipped,
// not the whole list, and the list as it was is kept aside before the next
// save rewrites it.
TEST_F(TriggerManagerTest, RulesPersistAndAnUnreadableElementCostsNothingElse)
{
    triggers().setAutomationEnabled(true);
    listApps();
    EXPECT_FALSE(triggers().addApp({"resolve", "Resolve again", std::nullopt})) << "listed once";
    triggers().setCooling(Profile::silent, "resolve");
    triggers().setCooling(std::nullopt, "org.blender.Blender");
    EXPECT_TRUE(triggers().removeApp("org.kde.kdenlive"));
    EXPECT_FALSE(triggers().removeApp("org.kde.kdenlive"));

    SetUp(); // the next start, on the same settings
    EXPECT_TRUE(triggers().automationEnabled());
    const QList<TriggerApp> expected{
        {"org.blender.Blender", "Blender", std::nullopt}, {"resolve", "DaVinci Resolve", Profile::silent}};
    EXPECT_EQ(triggers().apps(), expected);

    for (const char* stored : {"not json", R"({"bundleID":"x"})", R"([42])"}) {
        settings.setText(quillon::app::Settings::Key::triggerApps, QString::fromUtf8(stored));
        SetUp();
        EXPECT_TRUE(triggers().apps().isEmpty()) << stored;
    }
    const QString mixed
        = R"([{"bundleID":"x","name":"X"},{"bundleID":7,"name":"Y"},)"
          R"({"bundleID":"z","name":"Z","cooling":"turbo"},{"bundleID":"w","name":"W","cooling":null}])";
    QSettings(settings.fileName(), QSettings::IniFormat).remove("trig.apps.unreadable");
    settings.setText(quillon::app::Settings::Key::triggerApps, mixed);
    SetUp();
    EXPECT_EQ(triggers().apps(), (QList<TriggerApp>{{"x", "X", std::nullopt}, {"w", "W", std::nullopt}}));
    triggers().removeApp("w");
    SetUp();
    EXPECT_EQ(triggers().apps(), (QList<TriggerApp>{{"x", "X", std::nullopt}}));
    EXPECT_EQ(QSettings(settings.fileName(), QSettings::IniFormat).value("trig.apps.unreadable").toString(), mixed);
}

// A German user picks and reads apps by their German names, where the
// entry has one; everyone else by the plain Name.
TEST_F(TriggerManagerTest, InstalledAppsAreNamedInTheUsersLanguage)
{
    runningApps.apps = {{"org.gimp.GIMP", "GNU Image Manipulation Program", "", "GNU Bildbearbeitungsprogramm"},
        {"resolve", "DaVinci Resolve", "", ""}};
    settings.setAppLanguage("de");
    EXPECT_EQ(triggers().installedApp("org.gimp.GIMP")->name, "GNU Bildbearbeitungsprogramm");
    EXPECT_EQ(triggers().installedApps().value(1).name, "DaVinci Resolve");
    settings.setAppLanguage("en");
    EXPECT_EQ(triggers().installedApp("org.gimp.GIMP")->name, "GNU Image Manipulation Program");
    EXPECT_EQ(triggers().installedApps().value(0).name, "GNU Image Manipulation Program");
}

// A list grown by a script or a broken sync is read back without repeats
// and bounded; once full, nothing more is listed until one is taken off.
using HostileAppList = TriggerManagerTest;

TEST_F(HostileAppList, TheListIsBoundedAndReadBackWithoutRepeats)
{
    QJsonArray stored;
    for (int i = 0; i < 15000; ++i) {
        const QString id = QString("org.example.App%1").arg(i % 300);
        stored.append(QJsonObject{{"bundleID", id}, {"name", id}, {"cooling", QJsonValue::Null}});
    }
    settings.setJsonArray(quillon::app::Settings::Key::triggerApps, stored);
    SetUp();
    const QList<TriggerApp>& apps = triggers().apps();
    ASSERT_EQ(apps.size(), TriggerManager::maxApps);
    QSet<QString> ids;
    for (const TriggerApp& app : apps)
        ids.insert(app.bundleID);
    EXPECT_EQ(ids.size(), TriggerManager::maxApps) << "each app once";
    EXPECT_EQ(apps.first().bundleID, "org.example.App0") << "in the stored order";
    EXPECT_TRUE(triggers().appListFull());

    EXPECT_FALSE(triggers().addApp({"org.kde.kdenlive", "Kdenlive", std::nullopt}));
    EXPECT_EQ(triggers().apps().size(), TriggerManager::maxApps);
    EXPECT_TRUE(triggers().removeApp("org.example.App7"));
    EXPECT_TRUE(triggers().addApp({"org.kde.kdenlive", "Kdenlive", std::nullopt}));
    EXPECT_TRUE(triggers().appListFull());

    SetUp();
    EXPECT_EQ(triggers().apps().size(), TriggerManager::maxApps) << "what was stored is the bounded list";
}

// --- keep-awake while processes run ---

class ProcessKeepAwakeTest : public KeepAwakeRig {
protected:
    quillon::app::ProcessKeepAwake& processes() { return *manager->processes(); }
};

// Held while any watched process runs, let go after the last; a process that
// is not running is refused, and Reset All lets go of the rest.
TEST_F(ProcessKeepAwakeTest, HoldsWhileAnyWatchedProcessRunsAndLetsGoAfterTheLast)
{
    QString problem;
    EXPECT_FALSE(processes().keepAwakeWhile(4242, problem));
    EXPECT_EQ(problem, "no process 4242 is running");
    EXPECT_EQ(liveAssertions(), 0);

    processWatcher.alive = {100, 200, 7};
    EXPECT_TRUE(processes().keepAwakeWhile(100, problem));
    EXPECT_TRUE(processes().keepAwakeWhile(200, problem));
    EXPECT_TRUE(processes().keepAwakeWhile(200, problem)) << "watching twice is watching once";
    EXPECT_EQ(liveAssertions(), 2);
    EXPECT_TRUE(manager->anythingActive());
    EXPECT_EQ(processes().processes().size(), 2);

    processWatcher.end(100);
    EXPECT_EQ(liveAssertions(), 2);
    processWatcher.end(200);
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(manager->anythingActive());

    EXPECT_TRUE(processes().keepAwakeWhile(7, problem));
    manager->resetAll();
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_TRUE(processWatcher.watched.isEmpty());
    EXPECT_FALSE(manager->anythingActive());
}

// A watch costs a file descriptor: there is a ceiling, and a process that
// only ends with the system or the app itself would hold for ever.
using HostileWatches = ProcessKeepAwakeTest;

TEST_F(HostileWatches, RefusesBeyondTheCeilingAndProcessesThatNeverEnd)
{
    QString problem;
    for (qint64 pid = 1000; pid < 1000 + quillon::app::ProcessKeepAwake::maxProcesses; ++pid) {
        processWatcher.alive.insert(pid);
        ASSERT_TRUE(processes().keepAwakeWhile(pid, problem)) << pid;
    }
    processWatcher.alive.insert(5000);
    EXPECT_FALSE(processes().keepAwakeWhile(5000, problem));
    EXPECT_EQ(problem, "already keeping awake while 64 processes run, the most there can be");
    EXPECT_FALSE(processWatcher.watched.contains(5000));
    EXPECT_TRUE(processes().keepAwakeWhile(1000, problem)) << "one already watched is still fine";

    processWatcher.end(1000);
    EXPECT_TRUE(processes().keepAwakeWhile(5000, problem)) << "room again once one ended";

    processes().stopAll();
    for (const qint64 never : {qint64{1}, QCoreApplication::applicationPid()}) {
        processWatcher.alive.insert(never);
        problem.clear();
        EXPECT_FALSE(processes().keepAwakeWhile(never, problem)) << never;
        EXPECT_TRUE(problem.contains("keep-awake would never end")) << problem.toStdString();
    }
    EXPECT_EQ(liveAssertions(), 0);
}

} // namespace
