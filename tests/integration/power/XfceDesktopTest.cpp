// Xfce, against Debian's own xfce4-power-manager and xfconfd and the real
// logind: the power manager holds logind's lid lock until its setting
// "logind-handle-lid-switch" hands the lid to logind, and takes it back
// when the setting is put back as it was, absent or the user's own value,
// also by the next start after a crash.
#include "LidOwnerFixture.h"
#include "RealXfcePowerManager.h"

#include <QFile>

using namespace quillon::test;
using quillon::platform::LidSwitchOwner;

namespace {

class XfceDesktopTest : public quillon::test::LidOwnerFixture {
protected:
    void startXfce()
    {
        xfce = std::make_unique<RealXfcePowerManager>(sessionBus, systemBus, *logind);
        ASSERT_TRUE(xfce->started());
    }

    // The applications the power manager lists as inhibiting.
    QStringList inhibitors()
    {
        const QDBusMessage reply = sessionBus.connection().call(QDBusMessage::createMethodCall(
            "org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
            "org.freedesktop.PowerManagement.Inhibit", "GetInhibitors"));
        return reply.arguments().value(0).toStringList();
    }

    std::unique_ptr<RealXfcePowerManager> xfce;
};

TEST_F(XfceDesktopTest, TheLidGoesToLogindAndBackWithTheSettingAbsentAgain)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startXfce());
    auto owner = makeOwner();
    ASSERT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::xfce));
    EXPECT_EQ(ownerOf(*owner).who, "xfce4-power-manager");
    ASSERT_TRUE(ownerOf(*owner).canHandOver);
    ASSERT_EQ(xfceLidSetting(), "absent");

    QString problem;
    ASSERT_TRUE(handOver(*owner, problem)) << problem.toStdString();
    EXPECT_EQ(xfceLidSetting(), "true");
    EXPECT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::none)) << "the power manager kept its lid lock";

    owner->restore();
    EXPECT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::xfce)) << "the power manager left the lid to logind";
    EXPECT_EQ(xfceLidSetting(), "absent");
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(marker); }));
    owner->restore(); // nothing left to put back: no change
    EXPECT_EQ(xfceLidSetting(), "absent");
}

TEST_F(XfceDesktopTest, AfterACrashTheNextStartPutsTheUsersSettingBack)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startXfce());
    setXfceLidSetting(false); // the user's own value, to be kept
    {
        auto crashed = makeOwner();
        ASSERT_TRUE(ownedBy(*crashed, LidSwitchOwner::Desktop::xfce));
        QString problem;
        ASSERT_TRUE(handOver(*crashed, problem)) << problem.toStdString();
        EXPECT_EQ(xfceLidSetting(), "true");
        EXPECT_TRUE(ownedBy(*crashed, LidSwitchOwner::Desktop::none));
    } // no restore(): as if the app died here
    EXPECT_TRUE(QFile::exists(marker));

    auto next = makeOwner();
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(marker); }));
    EXPECT_EQ(xfceLidSetting(), "false");
    EXPECT_TRUE(ownedBy(*next, LidSwitchOwner::Desktop::xfce));
}

TEST_F(XfceDesktopTest, KeepAwakeIsHeldByThePowerManagerAndListedThere)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startXfce());
    SleepAssertions owner(backend);
    ASSERT_NO_FATAL_FAILURE(expectBothInForceThrough(owner, "PowerManagement (Xfce)"));
    EXPECT_EQ(inhibitors(), (QStringList{"Quillon", "Quillon"}));

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return inhibitors().isEmpty(); })) << inhibitors().join(", ").toStdString();
    EXPECT_TRUE(sessionBus.connection().interface()->isServiceRegistered("org.xfce.PowerManager").value())
        << "the power manager ended with the inhibition";
}

TEST_F(XfceDesktopTest, ARestartedPowerManagerIsAskedAgainAndConfirmsAgain)
{
    START_LOGIND();
    ASSERT_NO_FATAL_FAILURE(startXfce());
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    ASSERT_EQ(settled(owner, Kind::system).through, "PowerManagement (Xfce)");

    // It forgets every inhibition when it restarts.
    ASSERT_TRUE(xfce->restart());
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto held = owner.state(Kind::system);
            return inhibitors() == QStringList{"Quillon"} && held.phase == SleepAssertions::KindState::Phase::inForce
                && held.through == "PowerManagement (Xfce)";
        },
        std::chrono::seconds(10)))
        << inhibitors().join(", ").toStdString() << " / "
        << owner.state(Kind::system).through.toStdString();
    // What held it meanwhile was let go.
    EXPECT_TRUE(logindHolds(1)) << "only the power manager's own lid lock";

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return inhibitors().isEmpty(); }));
}

} // namespace
