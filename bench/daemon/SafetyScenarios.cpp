#include "SafetyScenarios.h"

#include "BenchProbes.h"
#include "DaemonHarness.h"

#include "smc/SimulatedMac.h"
#include "support/ChildProcess.h"

#include <QElapsedTimer>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <functional>
#include <limits>
#include <unistd.h>
#include <vector>

namespace quillon::bench {

namespace {

using namespace std::chrono_literals;
using smc::SimulatedMac;
using test::answerOf;
using test::HelperRig;

struct Row {
    QString scenario;
    QString outcome;
    QString timeToSafe;
};

QString seconds(std::optional<double> s)
{
    return s ? QStringLiteral("%1 s").arg(*s, 0, 'f', 3) : QStringLiteral("not within the limit");
}

// A helper holding a 60 % floor, polled as the app does.
struct Boosted {
    HelperRig rig;
    bool ready = false;
    explicit Boosted(bool withSystemServices = false)
    {
        ready = (!withSystemServices || rig.startSystemServices()) && rig.startHelper()
            && answerOf(rig.client->SetFanFloor(60)).ok;
    }
    void poll() { test::statusOf(*rig.client); }
    std::optional<double> untilReleased(std::chrono::milliseconds limit, bool polling = true)
    {
        return secondsUntil([this] { return rig.allFansInFirmwareMode(); }, limit,
            polling ? std::function<void()>([this] { poll(); }) : std::function<void()>());
    }
};

Row appSilent()
{
    Boosted b;
    const auto t = b.untilReleased(15s, false);
    return {"The app stops polling (killed, stopped or hung) while a boost is on",
        b.rig.helperLog().contains("WATCHDOG") ? "watchdog hands the fans back, verified" : "no watchdog release",
        seconds(t)};
}

Row helperTerminated()
{
    Boosted b(true);
    answerOf(b.rig.client->SetLidStayAwake(true));
    b.rig.helper.signal(SIGTERM);
    const auto t = b.untilReleased(5s, false);
    const auto code = b.rig.helper.waitForExit(5s);
    const bool lidFreed = b.rig.systemServices.waitForLine("released handle-lid-switch", 2s);
    return {"The helper gets SIGTERM while boosted and holding the lid lock",
        QStringLiteral("fans handed back, lid lock %1, exit %2")
            .arg(lidFreed ? "dropped" : "kept", code ? QString::number(*code) : "none"),
        seconds(t)};
}

Row helperKilled()
{
    Boosted b;
    QElapsedTimer timer;
    timer.start();
    b.rig.helper.signal(SIGKILL);
    b.rig.helper.waitForExit(5s);
    const auto release = test::ChildProcess::run(QUILLON_HELPER_BIN, {"--release"}, b.rig.environment());
    const bool released = b.rig.allFansInFirmwareMode();
    return {"The helper is killed (SIGKILL); the unit's stop command `--release` runs",
        released && release.exitCode == 0 ? "fans handed back, verified" : "fans still held",
        seconds(released ? std::optional(static_cast<double>(timer.elapsed()) / 1000.0) : std::nullopt)};
}

Row fault(const QString& scenario, std::uint8_t bits, const char* logged, const char* outcome)
{
    Boosted b;
    b.rig.smc.writeU8("QFLT", bits);
    const auto t = b.untilReleased(10s);
    b.rig.smc.writeU8("QFLT", 0);
    // The app's status poll, as the app would see it, and a floor asked again at once.
    const QString reason = test::statusOf(*b.rig.client).value("safetyRelease").toString();
    return {scenario,
        b.rig.helperLog().contains(logged) ? QStringLiteral("%1 (status: %2)").arg(outcome, reason)
                                           : QStringLiteral("no release logged"),
        seconds(t)};
}

Row writesFailDuringRelease()
{
    Boosted b;
    b.rig.smc.writeU8("QFLT", SimulatedMac::writesFail);
    const test::Answer stop = answerOf(b.rig.client->StopBoost());
    secondsUntil([] { return false; }, 1500ms, [&] { b.poll(); });
    b.rig.smc.writeU8("QFLT", 0);
    const auto t = b.untilReleased(5s);
    return {"Writes fail for 1.5 s while the app stops the boost",
        QStringLiteral("StopBoost answers %1 \"%2…\"; retried until verified")
            .arg(stop.ok ? "true" : "false", stop.text.left(15)),
        QStringLiteral("%1 after the fault clears").arg(seconds(t))};
}

Row firmwareRefuses()
{
    Boosted b;
    b.rig.smc.writeU8("QFLT", SimulatedMac::modeWritesIgnored);
    answerOf(b.rig.client->StopBoost());
    const auto full = secondsUntil([&] { return b.rig.target(0) == 5700 && b.rig.target(1) == 6200; }, 5s);
    secondsUntil([] { return false; }, 5s, [&] { b.poll(); });
    const bool pending = test::statusOf(*b.rig.client).value("releasePending").toBool();
    b.rig.smc.writeU8("QFLT", 0);
    const auto t = b.untilReleased(5s);
    return {"The firmware will not take the fans back for 5 s (mode writes ignored)",
        QStringLiteral("fans held at full speed after %1, status %2, released once it can")
            .arg(seconds(full), pending ? "releasePending" : "silent"),
        QStringLiteral("%1 after the fault clears").arg(seconds(t))};
}

Row stranger()
{
    if (::geteuid() != 0)
        return {"Another user asks for a floor", "skipped: needs root", "-"};
    HelperRig rig;
    rig.startHelper();
    const QString out = test::callAsUser(
        test::kNobody, rig.bus.address(), "org.quillon.Quillon.smchelper.SetFanFloor", {"double:100"});
    return {"Another user asks for a floor",
        out.contains("not authorized") && rig.allFansInFirmwareMode() ? "refused, no SMC write" : "ACCEPTED",
        "no change"};
}

Row malformed()
{
    Boosted b;
    int refused = 0;
    for (const double floor :
        {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()})
        refused += answerOf(b.rig.client->SetFanFloor(floor)).ok ? 0 : 1;
    const bool kept = test::statusOf(*b.rig.client).value("floorPercent").toDouble() == 60;
    const test::Answer tiny = answerOf(b.rig.client->SetFanFloor(1e-300));
    return {"Malformed floors: NaN, ±inf, then 1e-300",
        QStringLiteral("%1 of 3 refused, floor %2; 1e-300 answers \"%3\"")
            .arg(refused)
            .arg(kept ? "unchanged" : "CHANGED")
            .arg(tiny.text),
        b.rig.allFansInFirmwareMode() ? "handed back at once" : "fans still held"};
}

} // namespace

void printSafetyTable()
{
    const std::vector<std::function<Row()>> scenarios = {
        appSilent,
        helperTerminated,
        helperKilled,
        [] {
            return fault("Every temperature read fails", SimulatedMac::temperatureReadsFail, "lost all temp readings",
                "released");
        },
        [] {
            return fault(
                "Every temperature reads 105 °C", SimulatedMac::temperaturesRead105, "CRITICAL temp", "released");
        },
        writesFailDuringRelease,
        firmwareRefuses,
        stranger,
        malformed,
    };
    std::printf("\n| scenario | outcome | time to the safe state |\n|---|---|---|\n");
    for (const auto& scenario : scenarios) {
        const Row row = scenario();
        std::printf(
            "| %s | %s | %s |\n", qPrintable(row.scenario), qPrintable(row.outcome), qPrintable(row.timeToSafe));
        std::fflush(stdout);
    }
    std::printf("\n");
}

} // namespace quillon::bench
