// KDE, against Debian's own PowerDevil in a logind session of its own, with
// the real logind (systemd's part in making the session is a stand-in,
// logind_session.py): keep-awake is held by PowerDevil's PolicyAgent, counts
// only once PowerDevil lists it (about 5 s after the call), is taken again when
// PowerDevil restarts, and is gone from its list when released. PowerDevil
// holds logind's lid lock whatever its lid action, so the lid counts as held
// only where that action is "Do nothing" on every profile it may switch to.
#include "InhibitBusFixture.h"
#include "LogindWithSessions.h"
#include "VirtualDisplay.h"

#include "support/Files.h"

using namespace quillon::test;

namespace {

class KdeDesktopTest : public quillon::test::InhibitBusFixture {
protected:
    void TearDown() override
    {
        if (configHome.isNull())
            qunsetenv("XDG_CONFIG_HOME");
        else
            qputenv("XDG_CONFIG_HOME", configHome);
    }
    // KDE's own power manager (Debian's powerdevil) as a Plasma session runs
    // it: on a virtual X display, as the leader of a logind session of its
    // own, with its settings in a folder of the test's. Its other companions
    // (UPower, KScreen, kglobalaccel) are absent: it runs on AC and says so in
    // warnings.
    void startKde()
    {
        if (!QFile::exists(QUILLON_POWERDEVIL))
            GTEST_SKIP() << "powerdevil is not installed (scripts/setup-deps.sh installs it)";
        if (!LogindWithSessions::canRun())
            GTEST_SKIP() << "a logind session needs root and a writable cgroup2 file system";
        login = std::make_unique<LogindWithSessions>(systemBus);
        ASSERT_TRUE(login->started());
        setLidActions(1, 1, 1);
        x = std::make_unique<VirtualDisplay>();
        ASSERT_FALSE(x->environment().isEmpty()) << "Xvfb did not start";
        ASSERT_TRUE(restartKde());
        // PowerDevil's own delay, not the stand-ins' short one.
        backend = std::make_shared<LinuxPowerAssertions>(sessionBus.connection(), systemBus.connection());
    }
    // Ends PowerDevil, if it runs, and starts it again in a new session, as
    // its restarting user service would.
    bool restartKde()
    {
        powerDevil.reset();
        powerDevil = std::make_unique<BusService>("unshare", login->inSession(QUILLON_POWERDEVIL, {}), sessionBus,
            "org.kde.Solid.PowerManagement.PolicyAgent", systemBus.address(),
            QStringList{x->environment(), "XDG_CONFIG_HOME=" + config.path(), "QT_QPA_PLATFORM=xcb"});
        return powerDevil->started();
    }
    QDBusMessage call(const QString& path, const QString& interface, const QString& method)
    {
        return sessionBus.connection().call(
            QDBusMessage::createMethodCall("org.kde.Solid.PowerManagement", path, interface, method));
    }
    // "When laptop lid closed" on AC, on battery and on low battery (0 "Do
    // nothing", 1 sleep), as System Settings writes it; a running PowerDevil
    // reloads it, as after System Settings' Apply.
    void setLidActions(int ac, int battery, int lowBattery)
    {
        writeFile(config.filePath("powermanagementprofilesrc"),
            QStringLiteral("[AC]\nicon=battery-charging\n\n[AC][HandleButtonEvents]\nlidAction=%1\n\n"
                           "[Battery]\nicon=battery-060\n\n[Battery][HandleButtonEvents]\nlidAction=%2\n\n"
                           "[LowBattery]\nicon=battery-low\n\n[LowBattery][HandleButtonEvents]\nlidAction=%3\n")
                .arg(ac)
                .arg(battery)
                .arg(lowBattery)
                .toUtf8());
        if (powerDevil && powerDevil->started()) {
            call("/org/kde/Solid/PowerManagement", "org.kde.Solid.PowerManagement", "reparseConfiguration");
            call("/org/kde/Solid/PowerManagement", "org.kde.Solid.PowerManagement", "refreshStatus");
        }
    }
    // The lid action PowerDevil applies now, for the profile in use.
    int lidAction()
    {
        return call("/org/kde/Solid/PowerManagement/Actions/HandleButtonEvents",
            "org.kde.Solid.PowerManagement.Actions.HandleButtonEvents", "lidAction")
            .arguments()
            .value(0, -1)
            .toInt();
    }
    // PowerDevil's own list of inhibitions in force, as (who, why), sorted.
    QList<QPair<QString, QString>> inhibitions()
    {
        auto list = pairsIn<QString, QString>(call("/org/kde/Solid/PowerManagement/PolicyAgent",
            "org.kde.Solid.PowerManagement.PolicyAgent", "ListInhibitions"));
        std::sort(list.begin(), list.end());
        return list;
    }
    // Both kinds in force through PowerDevil, and PowerDevil's list saying so.
    bool bothHeldAndListed(const SleepAssertions& owner)
    {
        for (const auto kind : {Kind::system, Kind::display}) {
            const auto held = owner.state(kind);
            if (held.phase != Phase::inForce || held.through != "PowerDevil (KDE)")
                return false;
        }
        return inhibitions() == ours;
    }
    std::string describe(const SleepAssertions& owner)
    {
        QStringList text;
        for (const auto kind : {Kind::system, Kind::display})
            text << owner.state(kind).through + " " + owner.state(kind).problem;
        for (const auto& [who, why] : inhibitions())
            text << who + ": " + why;
        return text.join(" / ").toStdString();
    }

    const QList<QPair<QString, QString>> ours{{"Quillon", displayReason}, {"Quillon", systemReason}};
    QByteArray configHome = qgetenv("XDG_CONFIG_HOME");
    std::unique_ptr<LogindWithSessions> login;
    QTemporaryDir config;
    std::unique_ptr<VirtualDisplay> x;
    std::unique_ptr<BusService> powerDevil;
};

TEST_F(KdeDesktopTest, KeepAwakeIsHeldByPowerDevilListedThereAndTakenAgainAfterARestart)
{
    START_OR_END(startKde());
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    ASSERT_TRUE(owner.start(Kind::display));
    // Not applied yet, so not shown as in force.
    EXPECT_EQ(owner.state(Kind::system).phase, Phase::confirming);
    EXPECT_TRUE(waitUntil([&] { return bothHeldAndListed(owner); }, std::chrono::seconds(10))) << describe(owner);
    EXPECT_EQ(logindLocks().size(), 1) << "only PowerDevil's own lid lock";

    // A restarted PowerDevil has forgotten every inhibition.
    ASSERT_TRUE(restartKde());
    EXPECT_TRUE(
        waitUntil([&] { return bothHeldAndListed(owner) && logindLocks().size() == 1; }, std::chrono::seconds(10)))
        << describe(owner);

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return inhibitions().isEmpty(); })) << describe(owner);
}

TEST_F(KdeDesktopTest, TheLidIsHeldOnlyWherePowerDevilDoesNothingWithItOnEveryProfile)
{
    START_OR_END(startKde());
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    auto lid = makeOwner();
    ASSERT_TRUE(ownedBy(*lid, LidSwitchOwner::Desktop::kde)) << "PowerDevil took no lid lock in its session";
    const auto found = ownerOf(*lid);
    EXPECT_EQ(found.who, "PowerDevil");
    EXPECT_FALSE(found.canHandOver);
    EXPECT_FALSE(found.doesNothing) << "its lid action is to sleep";

    // On AC, the profile in use, it does nothing; unplugged, it would sleep.
    setLidActions(0, 1, 1);
    ASSERT_TRUE(waitUntil([&] { return lidAction() == 0; }));
    EXPECT_FALSE(ownerOf(*lid).doesNothing) << "the battery profile's lid action is to sleep";

    setLidActions(0, 0, 0);
    EXPECT_TRUE(ownerOf(*lid).doesNothing);
}

} // namespace
