// Who acts on the lid, read from logind's locks, and handing it back from a
// desktop power manager: KDE's keeps it (no interface lets go), Xfce's hands
// it to logind through its xfconf setting, which is put back afterwards, even
// after a crash. Stand-ins as in DesktopRoutesTest; logind is the real one.
#include "InhibitBusFixture.h"
#include "platform/linux/LinuxLidSwitchOwner.h"

#include <QDBusVariant>
#include <QFile>
#include <QTemporaryDir>

using quillon::platform::LidSwitchOwner;
using quillon::platform::linux_::LinuxLidSwitchOwner;
using quillon::test::LogindLock;
using quillon::test::waitUntil;

namespace {

class LidOwnerTest : public quillon::test::InhibitBusFixture {
protected:
    std::unique_ptr<LinuxLidSwitchOwner> makeOwner()
    {
        return std::make_unique<LinuxLidSwitchOwner>(sessionBus.connection(), systemBus.connection(), marker);
    }
    // The xfconf setting as the stand-in holds it: "absent", "true" or "false".
    QString xfceLidSetting()
    {
        const QDBusMessage reply = sessionBus.connection().call(
            QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf", "GetProperty")
            << QString("xfce4-power-manager") << QString("/xfce4-power-manager/logind-handle-lid-switch"));
        if (reply.type() != QDBusMessage::ReplyMessage)
            return "absent";
        return reply.arguments().value(0).value<QDBusVariant>().variant().toBool() ? "true" : "false";
    }
    void setXfceLidSetting(bool value)
    {
        sessionBus.connection().call(
            QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf", "org.xfce.Xfconf", "SetProperty")
            << QString("xfce4-power-manager") << QString("/xfce4-power-manager/logind-handle-lid-switch")
            << QVariant::fromValue(QDBusVariant(value)));
    }
    bool ownedBy(LinuxLidSwitchOwner& owner, LidSwitchOwner::Desktop desktop)
    {
        return waitUntil([&] { return owner.owner().desktop == desktop; });
    }

    QTemporaryDir state;
    QString marker = state.filePath("quillon/xfce-lid-handover");
};

TEST_F(LidOwnerTest, WhereLogindOwnsTheLidTheAppsOwnLockIsListed)
{
    // GNOME, wlroots compositors, bare sessions.
    START_LOGIND();
    auto owner = makeOwner();
    EXPECT_EQ(owner->owner().desktop, LidSwitchOwner::Desktop::none);

    const auto lock = backend->create(quillon::platform::PowerAssertionType::preventLidSleep, "lid closed");
    ASSERT_TRUE(lock);
    EXPECT_TRUE(waitUntil(
        [&] { return backend->state(*lock).phase == quillon::platform::PowerAssertionState::Phase::inForce; }));
    EXPECT_EQ(logindLocks(), QList<LogindLock>({{"handle-lid-switch", "Quillon", "lid closed", "block"}}));
    // Our own lock does not make the lid someone else's.
    EXPECT_EQ(owner->owner().desktop, LidSwitchOwner::Desktop::none);
    backend->release(*lock);
    EXPECT_TRUE(logindHolds(0));
}

TEST_F(LidOwnerTest, KdeKeepsTheLidAndCannotHandItBack)
{
    START_LOGIND();
    startDesktop("kde", "org.kde.Solid.PowerManagement");
    auto owner = makeOwner();
    const auto found = owner->owner();
    EXPECT_EQ(found.desktop, LidSwitchOwner::Desktop::kde);
    EXPECT_EQ(found.who, "PowerDevil");
    EXPECT_FALSE(found.canHandOver);
}

TEST_F(LidOwnerTest, XfceHandsTheLidToLogindAndGetsItsSettingBack)
{
    START_LOGIND();
    startDesktop("xfce", "org.freedesktop.PowerManagement");
    auto owner = makeOwner();
    const auto found = owner->owner();
    ASSERT_EQ(found.desktop, LidSwitchOwner::Desktop::xfce);
    ASSERT_TRUE(found.canHandOver);

    QString problem;
    ASSERT_TRUE(owner->handOver(problem)) << problem.toStdString();
    EXPECT_EQ(xfceLidSetting(), "true");
    EXPECT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::none)) << "the power manager kept its lid lock";

    owner->restore();
    EXPECT_EQ(xfceLidSetting(), "absent");
    EXPECT_TRUE(ownedBy(*owner, LidSwitchOwner::Desktop::xfce));
    EXPECT_FALSE(QFile::exists(marker));
    owner->restore(); // nothing left to put back: no change
    EXPECT_EQ(xfceLidSetting(), "absent");
}

TEST_F(LidOwnerTest, AfterACrashTheNextStartPutsXfcesSettingBack)
{
    START_LOGIND();
    startDesktop("xfce", "org.freedesktop.PowerManagement");
    setXfceLidSetting(false); // the user's own value, to be kept
    {
        auto crashed = makeOwner();
        QString problem;
        ASSERT_TRUE(crashed->handOver(problem)) << problem.toStdString();
        EXPECT_EQ(xfceLidSetting(), "true");
    } // no restore(): as if the app died here
    EXPECT_TRUE(QFile::exists(marker));

    auto next = makeOwner();
    EXPECT_EQ(xfceLidSetting(), "false");
    EXPECT_FALSE(QFile::exists(marker));
    EXPECT_TRUE(ownedBy(*next, LidSwitchOwner::Desktop::xfce));
}

TEST_F(LidOwnerTest, WithoutXfconfTheHandOverFailsWithAReasonAndNothingToPutBack)
{
    START_LOGIND();
    auto owner = makeOwner();
    QString problem;
    EXPECT_FALSE(owner->handOver(problem));
    EXPECT_TRUE(problem.contains("xfconf")) << problem.toStdString();
    EXPECT_FALSE(QFile::exists(marker));
}

} // namespace
