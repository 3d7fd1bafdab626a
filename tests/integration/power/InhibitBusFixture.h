#pragma once

// The Linux power assertions and who acts on the lid, against real D-Bus
// services on private buses: the real systemd-logind on the "system" bus,
// the desktops' own services or stand-ins for them (inhibit_standin.py) on
// the session bus. The lid setting to put back is recorded in a folder of
// the test's.
#include "app/power/SleepAssertions.h"
#include "platform/linux/LinuxLidSwitchOwner.h"
#include "platform/linux/LinuxPowerAssertions.h"

#include "support/BusService.h"
#include "support/LogindLocks.h"
#include "support/QStringPrinter.h"
#include "support/RealLogind.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>

// Runs a fixture's start step, and ends the test where it skipped or failed.
#define START_OR_END(start)                                                                                            \
    do {                                                                                                               \
        start;                                                                                                         \
        if (IsSkipped() || HasFatalFailure())                                                                          \
            return;                                                                                                    \
    } while (false)
// Starts the real logind, or ends the test: skipped where it cannot run, failed where it does not start.
#define START_LOGIND() START_OR_END(startLogind())

namespace quillon::test {

using app::SleepAssertions;
using platform::linux_::LinuxPowerAssertions;
using Kind = SleepAssertions::Kind;
using Phase = SleepAssertions::KindState::Phase;

inline const QString systemReason = "SleepTimer: prevent system sleep";
inline const QString displayReason = "SleepTimer: prevent display sleep";

// The array of two-member structures a reply carries first, in its order.
template <typename First, typename Second>
QList<QPair<First, Second>> pairsIn(const QDBusMessage& reply)
{
    QList<QPair<First, Second>> list;
    const auto array = reply.arguments().value(0).value<QDBusArgument>();
    array.beginArray();
    while (!array.atEnd()) {
        QPair<First, Second> pair;
        array.beginStructure();
        array >> pair.first >> pair.second;
        array.endStructure();
        list << pair;
    }
    array.endArray();
    return list;
}

// (flags, reason), as the stand-ins list what they hold.
using Inhibition = QPair<quint32, QString>;
class InhibitBusFixture : public ::testing::Test {
protected:
    using LidSwitchOwner = platform::LidSwitchOwner;
    using LinuxLidSwitchOwner = platform::linux_::LinuxLidSwitchOwner;

    void SetUp() override
    {
        ASSERT_TRUE(sessionBus.connection().isConnected());
        ASSERT_TRUE(systemBus.connection().isConnected());
        backend = std::make_shared<LinuxPowerAssertions>(sessionBus.connection(), systemBus.connection(), timing);
    }

    // Through START_LOGIND(), which ends the test where logind cannot run.
    void startLogind()
    {
        if (!RealLogind::canRun())
            GTEST_SKIP() << "systemd-logind runs as root";
        logind = std::make_unique<RealLogind>(systemBus);
        ASSERT_TRUE(logind->started());
    }
    // A stand-in of inhibit_standin.py, on the session bus unless told otherwise.
    BusService& startStandIn(const QStringList& args, const QString& name, PrivateBus* bus = nullptr)
    {
        services.push_back(std::make_unique<BusService>(QUILLON_PYTHON, QStringList{QUILLON_INHIBIT_STANDIN} + args,
            bus ? *bus : sessionBus, name, systemBus.address()));
        EXPECT_TRUE(services.back()->started()) << args.join(' ').toStdString();
        return *services.back();
    }
    // Waits until the kind has settled (in force, failed, or asked for where
    // nothing can confirm it) and returns its state. The wait outlasts the
    // slowest route's own bound (the portal's 5 s), so a loaded machine
    // shows the route's verdict, not the test's impatience.
    SleepAssertions::KindState settled(const SleepAssertions& owner, SleepAssertions::Kind kind)
    {
        waitUntil(
            [&] {
                const auto state = owner.state(kind);
                return state.phase != SleepAssertions::KindState::Phase::confirming || !state.problem.isEmpty();
            },
            std::chrono::seconds(8));
        return owner.state(kind);
    }

    // Starts system and display keep-awake and expects both to settle in
    // force through this route.
    void expectBothInForceThrough(SleepAssertions& owner, const QString& through)
    {
        ASSERT_TRUE(owner.start(Kind::system));
        ASSERT_TRUE(owner.start(Kind::display));
        for (const auto kind : {Kind::system, Kind::display}) {
            const auto held = settled(owner, kind);
            EXPECT_EQ(held.phase, Phase::inForce) << held.problem.toStdString();
            EXPECT_EQ(held.through, through);
        }
    }

    // What a stand-in holds now, in the order taken.
    QList<Inhibition> held(const QString& service)
    {
        return pairsIn<quint32, QString>(sessionBus.connection().call(
            QDBusMessage::createMethodCall(service, "/org/quillon/Test", "org.quillon.Test", "Inhibitions")));
    }
    // What a session manager (GNOME's, MATE's) lists as inhibiting, as (app id, flags), sorted.
    QList<QPair<QString, quint32>> sessionInhibitors()
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
        std::sort(list.begin(), list.end());
        return list;
    }
    // Who else blocks sleep, as the backend tells it once logind has answered.
    platform::PowerAssertionBackend::OtherInhibitors otherInhibitors()
    {
        std::optional<platform::PowerAssertionBackend::OtherInhibitors> told;
        backend->askOtherInhibitors([&](const auto& others) { told = others; });
        EXPECT_TRUE(waitUntil([&] { return told.has_value(); }));
        return told.value_or(platform::PowerAssertionBackend::OtherInhibitors{{}, "never told"});
    }
    // logind lists its locks in an order of its own: compared sorted.
    QList<LogindLock> logindLocks() { return sorted(logindLocksOn(systemBus.connection())); }
    static QList<LogindLock> sorted(QList<LogindLock> locks)
    {
        std::sort(locks.begin(), locks.end());
        return locks;
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

    std::unique_ptr<LinuxLidSwitchOwner> makeOwner()
    {
        return std::make_unique<LinuxLidSwitchOwner>(sessionBus.connection(), systemBus.connection(), marker);
    }
    // Who holds the lid, once the owner has been told.
    LidSwitchOwner::Owner ownerOf(LinuxLidSwitchOwner& owner)
    {
        std::optional<LidSwitchOwner::Owner> told;
        owner.askOwner([&](const LidSwitchOwner::Owner& found) { told = found; });
        EXPECT_TRUE(waitUntil([&] { return told.has_value(); }));
        return told.value_or(LidSwitchOwner::Owner{LidSwitchOwner::Desktop::other, "never told"});
    }
    // Whether the hand-over was accepted, once answered; problem says why not.
    bool handOver(LinuxLidSwitchOwner& owner, QString& problem)
    {
        std::optional<bool> accepted;
        owner.handOver([&](bool ok, const QString& why) {
            accepted = ok;
            problem = why;
        });
        EXPECT_TRUE(waitUntil([&] { return accepted.has_value(); }, std::chrono::seconds(10)));
        return accepted.value_or(false);
    }
    // A real power manager answers a changed setting in its own time, slower on a loaded machine.
    bool ownedBy(LinuxLidSwitchOwner& owner, LidSwitchOwner::Desktop desktop)
    {
        return waitUntil([&] { return ownerOf(owner).desktop == desktop; }, std::chrono::seconds(10));
    }

    // Short waits: the stand-ins answer at once or after their own short delay.
    platform::linux_::LinuxPowerAssertions::Timing timing{600, 400};
    PrivateBus sessionBus;
    PrivateBus systemBus;
    std::unique_ptr<RealLogind> logind;
    std::vector<std::unique_ptr<BusService>> services;
    std::shared_ptr<platform::linux_::LinuxPowerAssertions> backend;
    QTemporaryDir stateDir;
    QString marker = stateDir.filePath("quillon/xfce-lid-handover");
};

} // namespace quillon::test
