// Who acts on the lid, read from logind's locks: logind itself, or a desktop
// power manager that keeps it: those are the real desktops' tests
// (KdeDesktopTest, XfceDesktopTest, MateDesktopTest). logind is the real one.
#include "LidOwnerFixture.h"

#include <QFile>

using namespace quillon::test;
using quillon::platform::LidSwitchOwner;

namespace {

using LidOwnerTest = LidOwnerFixture;

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
