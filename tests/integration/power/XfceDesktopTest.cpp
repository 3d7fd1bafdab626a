// Xfce, against Debian's own xfce4-power-manager and xfconfd and the real
// logind: keep-awake is held by the power manager, listed there, and taken
// again when it restarts. The power manager holds logind's lid lock until
// its setting "logind-handle-lid-switch" hands the lid to logind, and takes
// it back when the setting is put back as it was, absent or the user's own
// value, also by the next start after a crash.
#include "InhibitBusFixture.h"
#include "VirtualDisplay.h"

#include <QDBusVariant>
#include <QFile>

using namespace quillon::test;
using quillon::platform::PowerAssertionType;

namespace {

class XfceDesktopTest : public quillon::test::InhibitBusFixture {
protected:
    // Xfce's own power manager (Debian's xfce4-power-manager) as an Xfce
    // desktop runs it: on a virtual X display, with Xfce's settings service
    // (xfconfd) on the session bus, and in logind's /run, where it looks for
    // seats before it takes the lid. Its settings live in a folder of the test's.
    void startXfce()
    {
        x = std::make_unique<VirtualDisplay>();
        ASSERT_FALSE(x->environment().isEmpty()) << "Xvfb did not start";
        env = {x->environment(), "XDG_CONFIG_HOME=" + config.path()};
        xfconf = std::make_unique<BusService>(
            QUILLON_XFCONFD, QStringList{}, sessionBus, "org.xfce.Xfconf", systemBus.address(), env);
        ASSERT_TRUE(xfconf->started());
        ASSERT_TRUE(restartXfce());
    }
    // Ends the power manager, if it runs, and starts it again; its keep-awake
    // name may come a moment after the one waited for.
    bool restartXfce()
    {
        powerManager.reset();
        powerManager = std::make_unique<BusService>("unshare",
            logind->inItsRun("xfce4-power-manager", {"--no-daemon", "--sm-client-disable"}), sessionBus,
            "org.xfce.PowerManager", systemBus.address(), env);
        return powerManager->started() && waitUntil([&] {
            return sessionBus.connection().interface()->isServiceRegistered("org.freedesktop.PowerManagement").value();
        });
    }

    // The applications the power manager lists as inhibiting.
    QStringList inhibitors()
    {
        const QDBusMessage reply = sessionBus.connection().call(QDBusMessage::createMethodCall(
            "org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
            "org.freedesktop.PowerManagement.Inhibit", "GetInhibitors"));
        return reply.arguments().value(0).toStringList();
    }
    // Xfce's lid setting as xfconf holds it: "absent", "true" or "false".
    QString lidSetting()
    {
        const QDBusMessage reply = sessionBus.connection().call(
            QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf", "GetProperty")
            << QString("xfce4-power-manager") << QString("/xfce4-power-manager/logind-handle-lid-switch"));
        if (reply.type() != QDBusMessage::ReplyMessage)
            return "absent";
        return reply.arguments().value(0).value<QDBusVariant>().variant().toBool() ? "true" : "false";
    }
    void setLidSetting(bool value)
    {
        sessionBus.connection().call(
            QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf", "SetProperty")
            << QString("xfce4-power-manager") << QString("/xfce4-power-manager/logind-handle-lid-switch")
            << QVariant::fromValue(QDBusVariant(value)));
    }

    QTemporaryDir config;
    std::unique_ptr<VirtualDisplay> x;
    QStringList env;
    std::unique_ptr<BusService> xfconf;
    std::unique_ptr<BusService> powerManager;
};

TEST_F(XfceDesktopTest, KeepAwakeIsHeldByThePowerManagerListedThereAndTakenAgainAfterARestart)
{
    START_LOGIND();
    START_OR_END(startXfce());
    SleepAssertions owner(backend);
    ASSERT_NO_FATAL_FAILURE(expectBothInForceThrough(owner, "PowerManagement (Xfce)"));
    EXPECT_EQ(inhibitors(), (QStringList{"Quillon", "Quillon"}));
    // Who else blocks sleep: the power manager's lid lock, not the app's own.
    const auto lid = backend->create(PowerAssertionType::preventLidSleep, "lid");
    ASSERT_TRUE(lid);
    ASSERT_TRUE(logindHolds(2));
    EXPECT_EQ(otherInhibitors().lines,
        QStringList{"xfce4-power-manager: xfce4-power-manager handles these events "
                    "(handle-power-key:handle-suspend-key:handle-hibernate-key:handle-lid-switch)"});
    backend->release(*lid);
    owner.stop(Kind::display);
    EXPECT_TRUE(waitUntil([&] { return inhibitors() == QStringList{"Quillon"}; }));

    // It forgets every inhibition when it restarts.
    ASSERT_TRUE(restartXfce());
    EXPECT_TRUE(waitUntil(
        [&] {
            const auto held = owner.state(Kind::system);
            return inhibitors() == QStringList{"Quillon"} && held.phase == Phase::inForce
                && held.through == "PowerManagement (Xfce)";
        },
        std::chrono::seconds(10)))
        << inhibitors().join(", ").toStdString() << " / " << owner.state(Kind::system).through.toStdString();
    // What held it meanwhile was let go.
    EXPECT_TRUE(logindHolds(1)) << "only the power manager's own lid lock";

    owner.stopAll();
    EXPECT_TRUE(waitUntil([&] { return inhibitors().isEmpty(); })) << inhibitors().join(", ").toStdString();
    EXPECT_TRUE(sessionBus.connection().interface()->isServiceRegistered("org.xfce.PowerManager").value())
        << "the power manager ended with the inhibition";
}

TEST_F(XfceDesktopTest, TheLidGoesToLogindAndBackWithTheSettingAsItWasAlsoAfterACrash)
{
    START_LOGIND();
    START_OR_END(startXfce());
    auto owner = makeOwner();
    ASSERT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::xfce));
    EXPECT_EQ(ownerOf(*owner).who, "xfce4-power-manager");
    ASSERT_TRUE(ownerOf(*owner).canHandOver);
    ASSERT_EQ(lidSetting(), "absent");

    QString problem;
    ASSERT_TRUE(handOver(*owner, problem)) << problem.toStdString();
    EXPECT_EQ(lidSetting(), "true");
    EXPECT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::none)) << "the power manager kept its lid lock";

    owner->restore();
    EXPECT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::xfce)) << "the power manager left the lid to logind";
    EXPECT_EQ(lidSetting(), "absent");
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(marker); }));
    owner->restore(); // nothing left to put back: no change
    EXPECT_EQ(lidSetting(), "absent");

    setLidSetting(false); // the user's own value, to be kept
    ASSERT_TRUE(handOver(*owner, problem)) << problem.toStdString();
    EXPECT_EQ(lidSetting(), "true");
    EXPECT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::none));
    owner.reset(); // no restore(): as if the app died here
    EXPECT_TRUE(QFile::exists(marker));

    auto next = makeOwner();
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(marker); }));
    EXPECT_EQ(lidSetting(), "false");
    EXPECT_TRUE(ownedBy(*next, LidSwitchOwner::Desktop::xfce));
}

} // namespace
