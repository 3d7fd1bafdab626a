// MATE, against Debian's own mate-session and mate-power-manager and the real
// logind: keep-awake is held by the session manager and confirmed in its own
// list of inhibitors. The power manager holds logind's lid lock whatever its
// lid action, signed with the user's login name, so the lid counts as held
// where that action, read from MATE's own settings store, is "nothing".
#include "InhibitBusFixture.h"
#include "VirtualDisplay.h"

#include "support/Files.h"

using namespace quillon::test;

namespace {

class MateDesktopTest : public quillon::test::InhibitBusFixture {
protected:
    // MATE's own session manager (Debian's mate-session) on a virtual X
    // display. MATE's settings are a GSettings key file in a folder of the
    // test's, which this process reads too.
    void startMate()
    {
        if (!QFile::exists("/usr/bin/mate-session"))
            GTEST_SKIP() << "mate-session-manager is not installed (scripts/setup-deps.sh installs it)";
        setLidAction("suspend");
        qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
        qputenv("GSETTINGS_BACKEND", "keyfile");
        x = std::make_unique<VirtualDisplay>();
        env = {x->environment(), "XDG_CONFIG_DIRS=" + home.filePath("xdg"), "XDG_CONFIG_HOME=" + home.path(),
            "GSETTINGS_BACKEND=keyfile"};
        manager = std::make_unique<BusService>(
            "/usr/bin/mate-session", QStringList{}, sessionBus, "org.gnome.SessionManager", systemBus.address(), env);
        ASSERT_TRUE(manager->started());
    }
    // MATE's power manager beside it, in logind's /run, with the UPower it
    // needs (without one it crashes at start), UPower's state in a folder of
    // the test's.
    void startPowerManager()
    {
        upower = std::make_unique<BusService>("unshare",
            QStringList{"--mount", "sh", "-c", "mount --bind \"$0\" /var/lib/upower && exec /usr/libexec/upowerd",
                upowerState.path()},
            systemBus, "org.freedesktop.UPower");
        ASSERT_TRUE(upower->started());
        powerManager = std::make_unique<BusService>("unshare", logind->inItsRun("/usr/bin/mate-power-manager", {}),
            sessionBus, "org.mate.PowerManager", systemBus.address(), env);
        ASSERT_TRUE(powerManager->started());
    }
    // The lid action on AC and on battery ("nothing", "suspend", …).
    void setLidAction(const QString& action)
    {
        writeFile(home.filePath("glib-2.0/settings/keyfile"),
            QStringLiteral("[org/mate/session]\nrequired-components-list=@as []\n\n"
                           "[org/mate/power-manager]\nbutton-lid-ac='%1'\nbutton-lid-battery='%1'\n")
                .arg(action)
                .toUtf8());
    }

    QTemporaryDir home;
    std::unique_ptr<VirtualDisplay> x;
    QStringList env;
    std::unique_ptr<BusService> manager;
    QTemporaryDir upowerState;
    std::unique_ptr<BusService> upower;
    std::unique_ptr<BusService> powerManager;
};

TEST_F(MateDesktopTest, KeepAwakeIsHeldByTheSessionManagerAndListedThere)
{
    START_LOGIND();
    START_OR_END(startMate());
    SleepAssertions owner(backend);
    ASSERT_NO_FATAL_FAILURE(expectBothInForceThrough(owner, "GNOME session"));
    EXPECT_EQ(
        sessionInhibitors(), (QList<QPair<QString, quint32>>{{"org.quillon.Quillon", 4}, {"org.quillon.Quillon", 8}}));
    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return sessionInhibitors().isEmpty(); }));
}

TEST_F(MateDesktopTest, TheLidIsHeldOnlyWhereMatesOwnLidActionIsNothing)
{
    START_LOGIND();
    START_OR_END(startMate());
    START_OR_END(startPowerManager());
    auto lid = makeOwner();
    ASSERT_TRUE(ownedBy(*lid, LidSwitchOwner::Desktop::mate));
    EXPECT_EQ(ownerOf(*lid).who, "mate-power-manager");
    EXPECT_FALSE(ownerOf(*lid).doesNothing) << "suspend";
    setLidAction("nothing");
    EXPECT_TRUE(waitUntil([&] { return ownerOf(*lid).doesNothing; }));
}

} // namespace
