// KDE, against Debian's own PowerDevil in a logind session of its own, with
// the real logind (systemd's part in making the session is a stand-in,
// logind_session.py): keep-awake is held by PowerDevil's PolicyAgent, counts
// only once PowerDevil lists it (about 5 s after the call), is taken again when
// PowerDevil restarts, and is gone from its list when released. PowerDevil
// holds logind's lid lock whatever its lid action, so the lid counts as held
// only where that action is "Do nothing" on every profile it may switch to.
#include "LidOwnerFixture.h"
#include "RealPowerDevil.h"

using namespace quillon::test;
using quillon::platform::LidSwitchOwner;

namespace {

class KdeDesktopTest : public quillon::test::LidOwnerFixture {
protected:
    void TearDown() override
    {
        kde.reset();
        if (configHome.isNull())
            qunsetenv("XDG_CONFIG_HOME");
        else
            qputenv("XDG_CONFIG_HOME", configHome);
    }
    void startKde()
    {
        if (!RealPowerDevil::installed())
            GTEST_SKIP() << "powerdevil is not installed (scripts/setup-deps.sh installs it)";
        if (!LogindWithSessions::canRun())
            GTEST_SKIP() << "a logind session needs root and a writable cgroup2 file system";
        login = std::make_unique<LogindWithSessions>(systemBus);
        ASSERT_TRUE(login->started());
        kde = std::make_unique<RealPowerDevil>(sessionBus, systemBus, *login);
        ASSERT_TRUE(kde->started());
        // PowerDevil's own delay, not the stand-ins' short one.
        backend = std::make_shared<LinuxPowerAssertions>(sessionBus.connection(), systemBus.connection());
    }
    // Both kinds in force through PowerDevil, and PowerDevil's list saying so.
    bool bothHeldAndListed(const SleepAssertions& owner)
    {
        for (const auto kind : {Kind::system, Kind::display}) {
            const auto held = owner.state(kind);
            if (held.phase != Phase::inForce || held.through != "PowerDevil (KDE)")
                return false;
        }
        return kde->inhibitions() == ours;
    }
    std::string describe(const SleepAssertions& owner)
    {
        QStringList text;
        for (const auto kind : {Kind::system, Kind::display})
            text << owner.state(kind).through + " " + owner.state(kind).problem;
        for (const auto& listed : kde->inhibitions())
            text << listed.join(": ");
        return text.join(" / ").toStdString();
    }

    const QList<QStringList> ours{{"Quillon", displayReason}, {"Quillon", systemReason}};
    QByteArray configHome = qgetenv("XDG_CONFIG_HOME");
    std::unique_ptr<LogindWithSessions> login;
    std::unique_ptr<RealPowerDevil> kde;
};

TEST_F(KdeDesktopTest, KeepAwakeIsHeldByPowerDevilListedThereAndTakenAgainAfterARestart)
{
    ASSERT_NO_FATAL_FAILURE(startKde());
    if (IsSkipped())
        return;
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    ASSERT_TRUE(owner.start(Kind::display));
    // Not applied yet, so not shown as in force.
    EXPECT_EQ(owner.state(Kind::system).phase, Phase::confirming);
    EXPECT_TRUE(waitUntil([&] { return bothHeldAndListed(owner); }, std::chrono::seconds(10))) << describe(owner);
    EXPECT_EQ(logindLocks().size(), 1) << "only PowerDevil's own lid lock";

    // A restarted PowerDevil has forgotten every inhibition.
    ASSERT_TRUE(kde->restart());
    EXPECT_TRUE(
        waitUntil([&] { return bothHeldAndListed(owner) && logindLocks().size() == 1; }, std::chrono::seconds(10)))
        << describe(owner);

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return kde->inhibitions().isEmpty(); })) << describe(owner);
}

TEST_F(KdeDesktopTest, TheLidIsHeldOnlyWherePowerDevilDoesNothingWithItOnEveryProfile)
{
    ASSERT_NO_FATAL_FAILURE(startKde());
    if (IsSkipped())
        return;
    qputenv("XDG_CONFIG_HOME", kde->configHome().toUtf8());
    auto lid = makeOwner();
    ASSERT_TRUE(ownedBy(*lid, LidSwitchOwner::Desktop::kde)) << "PowerDevil took no lid lock in its session";
    const auto found = ownerOf(*lid);
    EXPECT_EQ(found.who, "PowerDevil");
    EXPECT_FALSE(found.canHandOver);
    EXPECT_FALSE(found.doesNothing) << "its lid action is to sleep";

    // On AC, the profile in use, it does nothing; unplugged, it would sleep.
    kde->setLidActions(0, 1, 1);
    ASSERT_TRUE(waitUntil([&] { return kde->lidAction() == 0; }));
    EXPECT_FALSE(ownerOf(*lid).doesNothing) << "the battery profile's lid action is to sleep";

    kde->setLidActions(0, 0, 0);
    EXPECT_TRUE(ownerOf(*lid).doesNothing);
}

} // namespace
