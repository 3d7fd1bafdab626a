// GNOME, against Debian's own gnome-session and the real logind: keep-awake
// is held by the session manager, confirmed in its own list of inhibitors by
// our app id, reason and flags, released there, and taken again when the session
// manager restarts. (gnome-shell's screen saver is not in it: the display
// kind is the session's idle inhibition.)
#include "InhibitBusFixture.h"
#include "RealGnomeSession.h"

#include <QDBusObjectPath>
#include <algorithm>

using namespace quillon::test;

namespace {

class GnomeDesktopTest : public quillon::test::InhibitBusFixture {
protected:
    void startGnome()
    {
        if (!RealGnomeSession::installed())
            GTEST_SKIP() << "gnome-session-bin is not installed (scripts/setup-deps.sh installs it)";
        gnome = std::make_unique<RealGnomeSession>(sessionBus, systemBus, *logind);
        ASSERT_TRUE(gnome->started());
    }

    // The session's inhibitors as (app id, flags), in its order.
    QList<QPair<QString, quint32>> inhibitors()
    {
        QDBusConnection bus = sessionBus.connection();
        const QDBusMessage reply = bus.call(QDBusMessage::createMethodCall(
            "org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager", "GetInhibitors"));
        QList<QPair<QString, quint32>> list;
        for (const auto& path : qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0))) {
            const auto ask = [&](const char* method) {
                return bus
                    .call(QDBusMessage::createMethodCall(
                        "org.gnome.SessionManager", path.path(), "org.gnome.SessionManager.Inhibitor", method))
                    .arguments()
                    .value(0);
            };
            list.append({ask("GetAppId").toString(), ask("GetFlags").toUInt()});
        }
        return list;
    }

    std::unique_ptr<RealGnomeSession> gnome;
};

const QList<QPair<QString, quint32>> both{{"org.quillon.Quillon", 4}, {"org.quillon.Quillon", 8}};

TEST_F(GnomeDesktopTest, KeepAwakeIsHeldByTheSessionAndListedThere)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startGnome());
    if (IsSkipped())
        return;
    SleepAssertions owner(backend);
    ASSERT_NO_FATAL_FAILURE(expectBothInForceThrough(owner, "GNOME session"));
    auto listed = inhibitors();
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(listed, both);
    // The session's own logind lock for our suspend inhibition is ours, not someone else's.
    EXPECT_TRUE(waitUntil([&] { return !logindLocks().isEmpty(); })) << "the session mirrors it into logind";
    EXPECT_EQ(otherInhibitors().lines, QStringList{});

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return inhibitors().isEmpty(); }));
    EXPECT_TRUE(logindHolds(0));
}

TEST_F(GnomeDesktopTest, ARestartedSessionManagerIsAskedAgainAndConfirmsAgain)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startGnome());
    if (IsSkipped())
        return;
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    ASSERT_EQ(settled(owner, Kind::system).through, "GNOME session");

    ASSERT_TRUE(gnome->restart());
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto held = owner.state(Kind::system);
            return inhibitors() == QList<QPair<QString, quint32>>{{"org.quillon.Quillon", 4}}
            && held.phase == Phase::inForce && held.through == "GNOME session";
        },
        std::chrono::seconds(10)))
        << owner.state(Kind::system).through.toStdString() << " " << owner.state(Kind::system).problem.toStdString();

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return inhibitors().isEmpty(); }));
}

} // namespace
