#pragma once

// The Linux power assertions against real D-Bus services on private buses:
// the real systemd-logind on the "system" bus, stand-ins for the desktop
// services on the session bus (inhibit_standin.py, desktop_standin.py).
#include "app/power/SleepAssertions.h"
#include "platform/linux/LinuxPowerAssertions.h"

#include "support/BusService.h"
#include "support/LogindLocks.h"
#include "support/QStringPrinter.h"
#include "support/RealLogind.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <algorithm>
#include <gtest/gtest.h>

// Starts the real logind, or ends the test: skipped where it cannot run, failed where it does not start.
#define START_LOGIND()                                                                                                 \
    do {                                                                                                               \
        startLogind();                                                                                                 \
        if (IsSkipped() || HasFatalFailure())                                                                          \
            return;                                                                                                    \
    } while (false)

namespace quillon::test {

using app::SleepAssertions;
using platform::linux_::LinuxPowerAssertions;
using Kind = SleepAssertions::Kind;
using Phase = SleepAssertions::KindState::Phase;

inline const QString systemReason = "SleepTimer: prevent system sleep";
inline const QString displayReason = "SleepTimer: prevent display sleep";

// (flags, reason), as the stand-ins list what they hold.
using Inhibition = QPair<quint32, QString>;
class InhibitBusFixture : public ::testing::Test {
protected:
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
    BusService& startStandIn(const QString& kind, const QString& name)
    {
        return startScript(QUILLON_INHIBIT_STANDIN, {kind}, name);
    }
    // A desktop power manager's stand-in ("kde" settling after settleS seconds, or "xfce").
    BusService& startDesktop(const QString& desktop, const QString& lastName, double settleS = 0.2)
    {
        return startScript(QUILLON_DESKTOP_STANDIN, {desktop, QString::number(settleS)}, lastName);
    }
    BusService& startScript(const QString& script, const QStringList& args, const QString& name)
    {
        services.push_back(std::make_unique<BusService>(
            QUILLON_PYTHON, QStringList{script} + args, sessionBus, name, systemBus.address()));
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

    // Short waits: the stand-ins answer at once or after their own short delay.
    platform::linux_::LinuxPowerAssertions::Timing timing{600, 400};
    PrivateBus sessionBus;
    PrivateBus systemBus;
    std::unique_ptr<RealLogind> logind;
    std::vector<std::unique_ptr<BusService>> services;
    std::shared_ptr<platform::linux_::LinuxPowerAssertions> backend;
};

} // namespace quillon::test
