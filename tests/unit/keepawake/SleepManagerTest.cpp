// The menu's keep-awake session, its battery watchdog and the start-up wiring.
#include "app/Translations.h"
#include "app/automation/RenderModeManager.h"
#include "app/automation/TriggerManager.h"
#include "app/power/KeepAwakePause.h"
#include "app/power/ProcessKeepAwake.h"

#include "support/KeepAwakeRig.h"

using namespace quillon::test;

namespace {

class SleepManagerTest : public KeepAwakeRig {
protected:
    QDateTime in(double seconds) const { return clock.now().addMSecs(static_cast<qint64>(seconds * 1000)); }
};

TEST_F(SleepManagerTest, StartUpClearsWhatAnEarlierRunLeftInTheHelper)
{
    FakeHelperLink fresh;
    quillon::app::SleepManager started(servicesWith(fresh));
    EXPECT_EQ(fresh.requests, (QStringList{"stopBoost", "setLidStayAwake 0"}));
    EXPECT_FALSE(started.anythingActive());
    EXPECT_EQ(started.lid()->assertions().ids().size(), 0u);
}

TEST_F(SleepManagerTest, ApplyHoldsExactlyTheRequestedKindsAndToggleForADay)
{
    manager->apply({Kind::system, Kind::display}, std::nullopt);
    EXPECT_EQ(liveAssertions(), 2);
    EXPECT_TRUE(manager->anythingActive());
    manager->apply({Kind::display}, std::nullopt);
    EXPECT_EQ(liveAssertions(), 1);
    EXPECT_TRUE(manager->assertions().isHeld(Kind::display));
    EXPECT_EQ(backend->released.size(), 1u);
    EXPECT_FALSE(manager->expiresAt().isValid()); // open-ended
    manager->apply({}, std::nullopt);
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(manager->anythingActive());

    manager->toggle(Kind::system);
    const QDateTime end = manager->expiresAt();
    EXPECT_EQ(clock.now().secsTo(end), 86400);
    clock.advance(60);
    manager->toggle(Kind::display);
    EXPECT_EQ(manager->expiresAt(), end);
    manager->toggle(Kind::system);
    manager->toggle(Kind::display);
    EXPECT_FALSE(manager->expiresAt().isValid());
    EXPECT_TRUE(manager->activeKinds().isEmpty());
    EXPECT_EQ(liveAssertions(), 0);
}

TEST_F(SleepManagerTest, RefusedKindIsShownAsRequestedByApplyButNeverTurnedOnByToggle)
{
    backend->refuse = true;
    manager->apply({Kind::network}, in(3600));
    EXPECT_EQ(manager->activeKinds(), QSet<Kind>{Kind::network});
    EXPECT_EQ(liveAssertions(), 0);

    manager->apply({}, std::nullopt);
    manager->toggle(Kind::system);
    EXPECT_TRUE(manager->activeKinds().isEmpty()) << "nothing is held, so nothing shows as on";
    EXPECT_FALSE(manager->expiresAt().isValid()) << "and no countdown runs";
    EXPECT_FALSE(manager->anythingActive());
}

TEST_F(SleepManagerTest, CountdownAndEndTimeTextsAndTheEndWithANotification)
{
    EXPECT_FALSE(manager->remainingText().has_value());
    manager->apply({Kind::system}, in(3599));
    EXPECT_EQ(manager->remainingText(), "59:59");
    manager->apply({Kind::system}, in(3600));
    EXPECT_EQ(manager->remainingText(), "1:00:00");
    manager->apply({Kind::system}, in(86399));
    EXPECT_EQ(manager->remainingText(), "23:59:59");
    clock.advance(90000);
    manager->tick();
    EXPECT_EQ(manager->remainingText(), "0:00");

    const QDateTime lateToday = QDateTime(clock.now().toLocalTime().date(), QTime(23, 30));
    manager->apply({Kind::system}, lateToday);
    settings.setAppLanguage("en");
    EXPECT_EQ(manager->expiryDescription(), "Today, 11:30 PM");
    settings.setAppLanguage("de");
    ASSERT_TRUE(quillon::app::Translations::apply(settings));
    EXPECT_EQ(manager->expiryDescription(), "Heute, 23:30");
    manager->apply({Kind::system}, lateToday.addDays(1));
    EXPECT_EQ(manager->expiryDescription(), "Morgen, 23:30");
    manager->apply({Kind::system}, QDateTime(QDate(2027, 1, 5), QTime(8, 5)));
    EXPECT_EQ(manager->expiryDescription(), "05.01.27, 08:05");
    quillon::app::Translations::apply(false);

    manager->apply({Kind::system, Kind::network}, in(10));
    manager->sessionExpired();
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_TRUE(manager->activeKinds().isEmpty());
    EXPECT_FALSE(manager->expiresAt().isValid());
    ASSERT_EQ(center.shown.size(), 1);
    EXPECT_EQ(center.shown[0].title, "Keep-awake finished");
    EXPECT_EQ(center.shown[0].body, "The timer ended — your Mac is back to its normal sleep behaviour.");
}

// 15 % or less on battery stops the session once per episode; above 20 %
// or on mains, which is never stopped, re-arms.
TEST_F(SleepManagerTest, LowBatteryStopsOncePerEpisode)
{
    const struct {
        bool switchOn; // the user switches keep-awake on before the check
        int percent;
        bool onAC;
        bool stillOn;
        int told;
    } checks[] = {
        {true, 15, false, false, 1},
        {true, 14, false, true, 1}, // the user chose again: same episode
        {false, 18, false, true, 1},
        {false, 15, false, true, 1}, // 16..20 % did not re-arm
        {false, 21, false, true, 1},
        {false, 15, false, false, 2},
        {true, 10, true, true, 2},
        {false, 10, false, false, 3},
    };
    for (const auto& check : checks) {
        SCOPED_TRACE(testing::Message() << check.percent << (check.onAC ? " % on AC" : " % on battery"));
        if (check.switchOn)
            manager->apply({Kind::system}, std::nullopt);
        supply->battery(check.percent, check.onAC);
        manager->batterySafetyCheck();
        EXPECT_EQ(manager->activeKinds().isEmpty(), !check.stillOn);
        EXPECT_EQ(center.shown.size(), check.told);
    }
    EXPECT_EQ(center.titles().first(), "🪫 Battery low");

    // With the rule switched off nothing is stopped and nothing said.
    settings.setFlag(quillon::app::Settings::Key::lowBatteryAutoStop, false);
    supply->battery(25, false);
    manager->batterySafetyCheck();
    manager->apply({Kind::system}, std::nullopt);
    supply->battery(3, false);
    manager->batterySafetyCheck();
    EXPECT_FALSE(manager->activeKinds().isEmpty());
    EXPECT_EQ(center.shown.size(), 3);
}

// A pause lets go of the session, automation and the processes kept awake
// for, and each comes back by itself as it then stands; Render Mode and the
// closed lid hold on throughout.
TEST_F(SleepManagerTest, APauseLetsGoOfWhatItCoversAndItComesBack)
{
    manager->apply({Kind::system, Kind::display}, in(3600));
    manager->triggers()->setAutomationEnabled(true);
    manager->triggers()->setKeepAwakeOnAC(true);
    processWatcher.alive = {77};
    QString problem;
    ASSERT_TRUE(manager->processes()->keepAwakeWhile(77, problem));
    manager->renderMode()->setEnabled(true);
    manager->lid()->setEnabled(true);
    link.deliver();
    const int untouched = liveAssertions() - 6; // Render Mode's and the lid's

    quillon::app::KeepAwakePause& pause = *manager->pause();
    pause.pause(in(1800));
    EXPECT_EQ(liveAssertions(), untouched);
    EXPECT_TRUE(manager->renderMode()->assertions().holding(Kind::system));
    EXPECT_TRUE(manager->lid()->enabled());
    EXPECT_FALSE(manager->triggers()->active());
    EXPECT_EQ(manager->assertions().state(Kind::system).phase, quillon::app::SleepAssertions::KindState::Phase::paused);

    // The countdown runs on, the rules are still evaluated, a watched
    // process may end: each comes back as it stands at the end.
    clock.advance(1200);
    manager->tick();
    EXPECT_EQ(manager->remainingText(), "40:00");
    manager->triggers()->evaluate();
    EXPECT_TRUE(manager->triggers()->ruleHolds());
    EXPECT_EQ(liveAssertions(), untouched);
    processWatcher.end(77);
    manager->batterySafetyCheck();
    EXPECT_TRUE(pause.paused()) << "ten minutes to go";
    clock.advance(600);
    manager->batterySafetyCheck(); // a timer late after a suspend is not waited for
    EXPECT_FALSE(pause.paused());
    EXPECT_EQ(liveAssertions(), untouched + 4);
    EXPECT_FALSE(manager->kindsInForce().isEmpty());
    EXPECT_TRUE(manager->triggers()->active());

    // Until resumed: no time ends it. A pause across a session's end ends
    // the session as usual, and nothing of it comes back.
    pause.pause(std::nullopt);
    clock.advance(86400 * 3);
    pause.resumeIfDue();
    EXPECT_TRUE(pause.paused());
    manager->sessionExpired();
    EXPECT_EQ(center.titles().last(), "Keep-awake finished");
    EXPECT_TRUE(manager->activeKinds().isEmpty());
    pause.resume();
    EXPECT_EQ(liveAssertions(), untouched + 2) << "automation's only";
    EXPECT_FALSE(manager->assertions().isHeld(Kind::system));
}

TEST_F(SleepManagerTest, ResetAllStopsEverythingButDriveKeepAlive)
{
    manager->drives()->setEnabled(true);
    manager->apply({Kind::display}, in(600));
    manager->lid()->setEnabled(true);
    manager->fan()->setFansEnabled(true);
    link.deliver();
    EXPECT_TRUE(manager->anythingActive());

    manager->resetAll();
    link.deliver();
    EXPECT_EQ(liveAssertions(), 0);
    EXPECT_FALSE(manager->lid()->enabled());
    EXPECT_FALSE(manager->fan()->fansEnabled());
    EXPECT_FALSE(manager->fan()->isBoosted());
    EXPECT_FALSE(manager->anythingActive());
    EXPECT_TRUE(manager->drives()->enabled());
}

} // namespace
