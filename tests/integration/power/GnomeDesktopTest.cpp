// GNOME, against Debian's own gnome-session and the real logind: keep-awake
// is held by the session manager, asked before logind, confirmed in its own
// list of inhibitors by our app id and flags, released there, and taken
// again when the session manager restarts. (gnome-shell's screen saver is
// not in it: the display kind is the session's idle inhibition.)
#include "InhibitBusFixture.h"

#include "support/Files.h"

using namespace quillon::test;

namespace {

class GnomeDesktopTest : public quillon::test::InhibitBusFixture {
protected:
    // GNOME's own session manager (Debian's gnome-session-binary), in
    // logind's /run: a session of its built-in kind whose required components
    // are none, so no shell or settings daemon starts with it. It serves
    // org.gnome.SessionManager as on a GNOME desktop, and mirrors a suspend
    // inhibition into a logind lock of its own.
    void startGnome()
    {
        if (!QFile::exists(program))
            GTEST_SKIP() << "gnome-session-bin is not installed (scripts/setup-deps.sh installs it)";
        ASSERT_TRUE(writeFile(home.filePath("data/gnome-session/sessions/quillon-test.session"),
            "[GNOME Session]\nName=Quillon test\nRequiredComponents=\n"));
        QDir(home.path()).mkpath("autostart");
        ASSERT_TRUE(restartGnome());
    }
    // Ends the session manager, if it runs, and starts it again.
    bool restartGnome()
    {
        gnome.reset();
        gnome = std::make_unique<BusService>("unshare",
            logind->inItsRun(program,
                {"--builtin", "--session=quillon-test", "--disable-acceleration-check", "-a",
                    home.filePath("autostart")}),
            sessionBus, "org.gnome.SessionManager", systemBus.address(),
            QStringList{"XDG_DATA_DIRS=" + home.filePath("data") + ":/usr/share", "XDG_CONFIG_HOME=" + home.path(),
                "XDG_CONFIG_DIRS=" + home.path(), "GSETTINGS_BACKEND=memory"});
        return gnome->started();
    }

    static constexpr const char* program = "/usr/libexec/gnome-session-binary";
    QTemporaryDir home;
    std::unique_ptr<BusService> gnome;
};

TEST_F(GnomeDesktopTest, KeepAwakeIsHeldByTheSessionListedThereAndTakenAgainAfterARestart)
{
    START_LOGIND();
    START_OR_END(startGnome());
    SleepAssertions owner(backend);
    ASSERT_NO_FATAL_FAILURE(expectBothInForceThrough(owner, "GNOME session"));
    EXPECT_EQ(
        sessionInhibitors(), (QList<QPair<QString, quint32>>{{"org.quillon.Quillon", 4}, {"org.quillon.Quillon", 8}}));
    // The session mirrors our suspend inhibition into a logind lock of its
    // own, the only one: it is ours, not someone else's.
    EXPECT_TRUE(logindHolds(1)) << logindLocks().size();
    EXPECT_EQ(otherInhibitors().lines, QStringList{});

    owner.stop(Kind::display);
    const QList<QPair<QString, quint32>> suspendOnly{{"org.quillon.Quillon", 4}};
    EXPECT_TRUE(waitUntil([&] { return sessionInhibitors() == suspendOnly; }));
    ASSERT_TRUE(restartGnome());
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto held = owner.state(Kind::system);
            return sessionInhibitors() == suspendOnly && held.phase == Phase::inForce
                && held.through == "GNOME session";
        },
        std::chrono::seconds(10)))
        << owner.state(Kind::system).through.toStdString() << " " << owner.state(Kind::system).problem.toStdString();

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return sessionInhibitors().isEmpty(); }));
    EXPECT_TRUE(logindHolds(0));
}

} // namespace
