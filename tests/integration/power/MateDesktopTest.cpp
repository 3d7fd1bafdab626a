// MATE, against Debian's own mate-session and mate-power-manager and the real
// logind: keep-awake is held by the session manager and confirmed in its own
// list of inhibitors. The power manager holds logind's lid lock whatever its
// lid action, signed with the user's login name, so the lid counts as held
// where that action, read from MATE's own settings store, is "nothing".
#include "LidOwnerFixture.h"
#include "RealMateDesktop.h"

#include <QDBusObjectPath>

using namespace quillon::test;
using quillon::platform::LidSwitchOwner;

namespace {

class MateDesktopTest : public quillon::test::LidOwnerFixture {
protected:
    void startMate()
    {
        if (!RealMateDesktop::installed())
            GTEST_SKIP() << "mate-session-manager is not installed (scripts/setup-deps.sh installs it)";
        mate = std::make_unique<RealMateDesktop>(sessionBus, systemBus);
        for (const QString& setting : mate->environment())
            qputenv(setting.section('=', 0, 0).toUtf8(), setting.section('=', 1).toUtf8());
        ASSERT_TRUE(mate->started());
    }
    qsizetype sessionInhibitors()
    {
        const QDBusMessage reply = sessionBus.connection().call(QDBusMessage::createMethodCall(
            "org.gnome.SessionManager", "/org/gnome/SessionManager", "org.gnome.SessionManager", "GetInhibitors"));
        return qdbus_cast<QList<QDBusObjectPath>>(reply.arguments().value(0)).size();
    }

    std::unique_ptr<RealMateDesktop> mate;
};

TEST_F(MateDesktopTest, KeepAwakeIsHeldByTheSessionManagerAndListedThere)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startMate());
    if (IsSkipped())
        return;
    SleepAssertions owner(backend);
    ASSERT_NO_FATAL_FAILURE(expectBothInForceThrough(owner, "GNOME session"));
    EXPECT_EQ(sessionInhibitors(), 2);
    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return sessionInhibitors() == 0; }));
}

TEST_F(MateDesktopTest, TheLidIsHeldOnlyWhereMatesOwnLidActionIsNothing)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startMate());
    if (IsSkipped())
        return;
    ASSERT_TRUE(mate->startPowerManager(sessionBus, systemBus, *logind));
    auto lid = makeOwner();
    ASSERT_TRUE(ownedBy(*lid, LidSwitchOwner::Desktop::mate));
    EXPECT_EQ(ownerOf(*lid).who, "mate-power-manager");
    EXPECT_FALSE(ownerOf(*lid).doesNothing) << "suspend";
    mate->setLidAction("nothing");
    EXPECT_TRUE(waitUntil([&] { return ownerOf(*lid).doesNothing; }));
}

} // namespace
