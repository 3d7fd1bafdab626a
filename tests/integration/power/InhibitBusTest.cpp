// The Linux power assertions against real D-Bus services on private buses:
// python3-dbusmock's logind on the "system" bus, stand-ins for the portal,
// the screen saver and GNOME's session manager on the session bus. Every
// owner's assertion is an inhibition of its own, and letting go of one leaves
// the others in force.
#include "BusService.h"
#include "app/power/SleepAssertions.h"
#include "platform/linux/LinuxPowerAssertions.h"

#include "support/QStringPrinter.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QProcess>
#include <gtest/gtest.h>

using quillon::app::SleepAssertions;
using quillon::platform::linux_::LinuxPowerAssertions;
using quillon::test::BusService;
using quillon::test::PrivateBus;
using quillon::test::waitUntil;
using Kind = SleepAssertions::Kind;

namespace {

const QString systemReason = "SleepTimer: prevent system sleep";
const QString displayReason = "SleepTimer: prevent display sleep";

// (flags, reason), as the stand-ins list what they hold.
using Inhibition = QPair<quint32, QString>;
// (what, who, why, mode), as logind lists its locks.
using LogindLock = QStringList;

class InhibitBusTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(sessionBus.connection().isConnected());
        ASSERT_TRUE(systemBus.connection().isConnected());
        backend = std::make_shared<LinuxPowerAssertions>(sessionBus.connection(), systemBus.connection());
    }

    void startLogind()
    {
        services.push_back(std::make_unique<BusService>(QUILLON_PYTHON,
            QStringList{"-m", "dbusmock", "--template", "logind"}, systemBus, "org.freedesktop.login1"));
        ASSERT_TRUE(services.back()->started());
    }
    BusService& startStandIn(const QString& kind, const QString& name)
    {
        services.push_back(
            std::make_unique<BusService>(QUILLON_PYTHON, QStringList{QUILLON_INHIBIT_STANDIN, kind}, sessionBus, name));
        EXPECT_TRUE(services.back()->started()) << kind.toStdString();
        return *services.back();
    }

    // What a stand-in holds now, in the order taken.
    QList<Inhibition> held(const QString& service)
    {
        const QDBusMessage reply = sessionBus.connection().call(
            QDBusMessage::createMethodCall(service, "/org/quillon/Test", "org.quillon.Test", "Inhibitions"));
        QList<Inhibition> list;
        const auto array = reply.arguments().value(0).value<QDBusArgument>();
        array.beginArray();
        while (!array.atEnd()) {
            Inhibition i;
            array.beginStructure();
            array >> i.first >> i.second;
            array.endStructure();
            list << i;
        }
        array.endArray();
        return list;
    }
    QList<LogindLock> logindLocks()
    {
        const QDBusMessage reply = systemBus.connection().call(QDBusMessage::createMethodCall(
            "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "ListInhibitors"));
        QList<LogindLock> list;
        const auto array = reply.arguments().value(0).value<QDBusArgument>();
        array.beginArray();
        while (!array.atEnd()) {
            QString what, who, why, mode;
            quint32 uid = 0;
            quint32 pid = 0;
            array.beginStructure();
            array >> what >> who >> why >> mode >> uid >> pid;
            array.endStructure();
            list << LogindLock{what, who, why, mode};
        }
        array.endArray();
        return list;
    }
    // The stand-ins and logind notice a release asynchronously (a closed
    // descriptor, a message from another connection): wait for it.
    ::testing::AssertionResult portalHolds(const QList<Inhibition>& expected)
    {
        if (waitUntil([&] { return held("org.freedesktop.portal.Desktop") == expected; }))
            return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure()
            << "the portal holds " << ::testing::PrintToString(held("org.freedesktop.portal.Desktop"));
    }
    bool logindHolds(qsizetype count)
    {
        return waitUntil([&] { return logindLocks().size() == count; });
    }

    PrivateBus sessionBus;
    PrivateBus systemBus;
    std::vector<std::unique_ptr<BusService>> services;
    std::shared_ptr<LinuxPowerAssertions> backend;
};

TEST_F(InhibitBusTest, WithAPortalEveryOwnerHoldsItsOwnInhibitionThere)
{
    startLogind();
    startStandIn("screensaver", "org.freedesktop.ScreenSaver");
    startStandIn("portal", "org.freedesktop.portal.Desktop");

    SleepAssertions session(backend);
    auto lid = std::make_unique<SleepAssertions>(backend);
    ASSERT_TRUE(session.start(Kind::system));
    ASSERT_TRUE(lid->start(Kind::system));
    ASSERT_TRUE(lid->start(Kind::display));
    EXPECT_TRUE(portalHolds({{4, systemReason}, {4, systemReason}, {8, displayReason}}));

    session.stop(Kind::system);
    EXPECT_TRUE(portalHolds({{4, systemReason}, {8, displayReason}}));
    lid.reset();
    EXPECT_TRUE(portalHolds({}));

    // The fallbacks were never asked.
    EXPECT_TRUE(held("org.freedesktop.ScreenSaver").isEmpty());
    EXPECT_TRUE(logindLocks().isEmpty());
}

TEST_F(InhibitBusTest, WithoutAPortalSleepGoesToLogindAndTheDisplayToTheScreenSaver)
{
    startLogind();
    startStandIn("screensaver", "org.freedesktop.ScreenSaver");

    SleepAssertions session(backend);
    SleepAssertions renderMode(backend);
    ASSERT_TRUE(session.start(Kind::system));
    ASSERT_TRUE(renderMode.start(Kind::network));
    ASSERT_TRUE(renderMode.start(Kind::display));
    const LogindLock systemLock{"idle:sleep", "Quillon", systemReason, "block"};
    const LogindLock networkLock{"idle:sleep", "Quillon", "SleepTimer: keep network active", "block"};
    ASSERT_TRUE(logindHolds(2));
    EXPECT_EQ(logindLocks(), (QList{systemLock, networkLock}));
    EXPECT_EQ(held("org.freedesktop.ScreenSaver"), (QList<Inhibition>{{8, displayReason}}));

    // A child started meanwhile must not inherit the lock's descriptor, or
    // the lock would outlive its release for as long as the child runs.
    QProcess child;
    child.start("sleep", {"30"});
    ASSERT_TRUE(child.waitForStarted());

    renderMode.stop(Kind::network);
    ASSERT_TRUE(logindHolds(1));
    EXPECT_EQ(logindLocks(), QList<LogindLock>{systemLock});
    renderMode.stopAll();
    EXPECT_TRUE(waitUntil([&] { return held("org.freedesktop.ScreenSaver").isEmpty(); }));
    EXPECT_EQ(logindLocks(), QList<LogindLock>{systemLock});
    session.stopAll();
    EXPECT_TRUE(logindHolds(0));
    child.kill();
    child.waitForFinished();
}

TEST_F(InhibitBusTest, GnomeSessionIsAskedBeforeLogind)
{
    startLogind();
    startStandIn("gnome-session", "org.gnome.SessionManager");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    EXPECT_EQ(held("org.gnome.SessionManager"), (QList<Inhibition>{{4, systemReason}}));
    EXPECT_TRUE(logindLocks().isEmpty());
    owner.stop(Kind::system);
    EXPECT_TRUE(waitUntil([&] { return held("org.gnome.SessionManager").isEmpty(); }));
}

TEST_F(InhibitBusTest, WithNothingToAskEveryStartIsRefused)
{
    SleepAssertions owner(backend);
    for (Kind kind : SleepAssertions::allKinds)
        EXPECT_FALSE(owner.start(kind)) << SleepAssertions::rawValue(kind).toStdString();
    EXPECT_TRUE(owner.ids().empty());
}

TEST_F(InhibitBusTest, APortalThatWentAwayNeitherBreaksReleaseNorLaterStarts)
{
    startLogind();
    BusService& portal = startStandIn("portal", "org.freedesktop.portal.Desktop");
    SleepAssertions owner(backend);
    ASSERT_TRUE(owner.start(Kind::system));
    portal.stop();
    owner.stop(Kind::system);
    ASSERT_TRUE(owner.start(Kind::system));
    EXPECT_TRUE(logindHolds(1));
}

} // namespace
