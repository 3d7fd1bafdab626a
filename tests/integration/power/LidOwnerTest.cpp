// Who acts on the lid, read from logind's locks: logind itself, or a desktop
// power manager that keeps it: those are the real desktops' tests
// (KdeDesktopTest, XfceDesktopTest, MateDesktopTest). logind is the real one.
#include "InhibitBusFixture.h"
#include "platform/linux/LinuxLidSensor.h"

#include "support/Files.h"

#include <QFile>
#include <QTimer>

using namespace quillon::test;
using quillon::platform::linux_::LinuxLidSensor;

namespace {

using LidOwnerTest = InhibitBusFixture;

TEST_F(LidOwnerTest, WhereLogindOwnsTheLidTheAppsOwnLockIsListedAndNothingIsHandedOver)
{
    // GNOME, wlroots compositors, bare sessions.
    START_LOGIND();
    auto owner = makeOwner();
    EXPECT_EQ(ownerOf(*owner).desktop, LidSwitchOwner::Desktop::none);

    const auto lock = backend->create(quillon::platform::PowerAssertionType::preventLidSleep, "lid closed");
    ASSERT_TRUE(lock);
    EXPECT_TRUE(waitUntil(
        [&] { return backend->state(*lock).phase == quillon::platform::PowerAssertionState::Phase::inForce; }));
    EXPECT_EQ(logindLocks(), QList<LogindLock>({{"handle-lid-switch", "Quillon", "lid closed", "block"}}));
    // Our own lock does not make the lid someone else's.
    EXPECT_EQ(ownerOf(*owner).desktop, LidSwitchOwner::Desktop::none);
    backend->release(*lock);
    EXPECT_TRUE(logindHolds(0));

    // Without xfconf the hand-over fails with the reason, and leaves nothing to put back.
    QString problem;
    EXPECT_FALSE(handOver(*owner, problem));
    EXPECT_TRUE(problem.contains("xfconf")) << problem.toStdString();
    EXPECT_FALSE(QFile::exists(marker));

    // The lid as logind tells it, asked without waiting: the ACPI button
    // answers until logind's reply is in.
    ASSERT_TRUE(writeFile(stateDir.filePath("proc/acpi/button/lid/LID0/state"), "state:      closed\n"));
    LinuxLidSensor lid(systemBus.connection(), stateDir.path());
    EXPECT_EQ(lid.isClosed(), true);
    EXPECT_TRUE(waitUntil([&] { return lid.isClosed() == false; }));
}

// logind and xfconf that take every call and never answer: asking who else
// blocks sleep, who holds the lid, and for Xfce's hand-over all return at
// once, the lid reads (no lid where logind does not say) never hold up the
// GUI thread's timer, and each answer arrives after its bound, saying why.
TEST_F(LidOwnerTest, HungServicesAreAskedWithoutWaitingAndAnswerWithTheReason)
{
    ASSERT_TRUE(startStandIn({"hung-logind"}, "org.freedesktop.login1", &systemBus).started());
    startStandIn({"hung-xfconf"}, "org.xfce.Xfconf");
    auto owner = makeOwner();
    LinuxLidSensor lidSensor(systemBus.connection(), stateDir.path());
    int ticks = 0;
    QTimer gui;
    QObject::connect(&gui, &QTimer::timeout, [&] {
        ++ticks;
        lidSensor.isClosed();
    });
    gui.start(20);

    std::optional<quillon::platform::PowerAssertionBackend::OtherInhibitors> others;
    std::optional<LidSwitchOwner::Owner> lid;
    std::optional<QString> handOverRefused;
    backend->askOtherInhibitors([&](const auto& told) { others = told; });
    owner->askOwner([&](const LidSwitchOwner::Owner& told) { lid = told; });
    owner->handOver([&](bool accepted, const QString& why) { handOverRefused = accepted ? QString() : why; });
    EXPECT_FALSE(others || lid || handOverRefused) << "answered before asking returned: it waited";

    ASSERT_TRUE(waitUntil([&] { return others && lid && handOverRefused; }, std::chrono::seconds(10)));
    EXPECT_GT(ticks, 20) << "the timer stood still";
    EXPECT_EQ(others->problem, "logind: it did not answer in time");
    EXPECT_TRUE(others->lines.isEmpty());
    EXPECT_EQ(lid->desktop, LidSwitchOwner::Desktop::none) << "logind's own lock says whether it can";
    EXPECT_EQ(*handOverRefused, "Xfce's settings service (xfconf) did not answer in time");
    EXPECT_FALSE(QFile::exists(marker)) << "nothing was changed, nothing to put back";
    EXPECT_FALSE(lidSensor.isClosed().has_value()) << "no reading from a logind that never answered";
}

} // namespace
