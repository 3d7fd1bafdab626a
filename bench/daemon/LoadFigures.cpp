#include "LoadFigures.h"

#include "BenchProbes.h"
#include "DaemonHarness.h"
#include "app/Settings.h"
#include "app/fan/DBusHelperLink.h"
#include "app/fan/FanController.h"
#include "platform/Clock.h"

#include "core/CoolingProfile.h"
#include "smc/SimulatedMac.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace quillon::bench {

namespace {

using namespace std::chrono_literals;

double ownCpuSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

} // namespace

void measureFlood()
{
    if (::geteuid() != 0) {
        std::printf("Flood from another uid: skipped, needs root to call as uid %u\n", test::kNobody);
        return;
    }
    test::HelperRig rig;
    if (!rig.startHelper() || !test::answerOf(rig.client->SetFanFloor(60)).ok) {
        std::printf("Flood from another uid: the helper did not start\n");
        return;
    }
    const qint64 helper = rig.helper.pid();
    secondsUntil([] { return false; }, 1500ms, [&] { test::statusOf(*rig.client); });
    const double rssBefore = memoryMiB(helper, "VmRSS");
    const double cpuBefore = processCpuSeconds(helper);

    const auto flood = test::startAsUser(test::kNobody, QUILLON_BUS_FLOOD_BIN, {rig.bus.address(), "60000"});
    QElapsedTimer floodTime;
    floodTime.start();
    qint64 worstMs = 0;
    int polls = 0;
    bool boostKept = true;
    do {
        QElapsedTimer poll;
        poll.start();
        boostKept = boostKept && test::statusOf(*rig.client).value("isBoosted").toBool();
        worstMs = std::max(worstMs, poll.elapsed());
        ++polls;
    } while (!flood->waitForFinished(100) && floodTime.elapsed() < 120'000);
    const qint64 floodMs = floodTime.elapsed();
    const double floodCpu = processCpuSeconds(helper) - cpuBefore;
    // Past the next watchdog tick, which gives freed memory back.
    secondsUntil([] { return false; }, 2500ms, [&] { test::statusOf(*rig.client); });

    std::printf("Flood of 60,000 GetStatus calls from uid %u while the owner holds a boost:\n", test::kNobody);
    const QByteArray answer = flood->readAll();
    const auto at = answer.indexOf("answer: ");
    std::printf("  over after %lld ms (%.2f s of helper CPU); the last call got %s\n", static_cast<long long>(floodMs),
        floodCpu, at < 0 ? "no answer" : answer.mid(at + 8).trimmed().constData());
    std::printf("  owner's worst poll %lld ms over %d polls; boost kept: %s\n", static_cast<long long>(worstMs), polls,
        boostKept && rig.mode(0) == 1 ? "yes" : "no");
    std::printf("  helper memory: %.1f MiB before, %.1f MiB peak, %.1f MiB after\n", rssBefore,
        memoryMiB(helper, "VmHWM"), memoryMiB(helper, "VmRSS"));
    std::printf("  ticks more than 50 ms late: %lld\n", static_cast<long long>(rig.helperLog().count("ms late")));
}

void measureSensorFaultCpu(std::chrono::seconds span)
{
    test::HelperRig rig;
    rig.smc.writeU8("QLOD", 100);
    if (!rig.startHelper()) {
        std::printf("Sensor fault: the helper did not start\n");
        return;
    }
    QTemporaryDir dir;
    app::Settings settings(dir.path() + "/Quillon.ini");
    platform::SystemClock clock;
    app::DBusHelperLink link(daemon::HelperBus::Setting{daemon::HelperBus::Kind::address, rig.bus.address()});
    app::FanController::Parts parts;
    parts.link = &link;
    parts.settings = &settings;
    parts.clock = &clock;
    app::FanController fan(std::move(parts));
    secondsUntil([&] { return fan.cpuTemp().has_value(); }, 5s);
    fan.setCoolingProfile(core::CoolingProfile::Kind::max);
    fan.setFansEnabled(true);
    if (!secondsUntil([&] { return rig.mode(0) == 1; }, 5s)) {
        std::printf("Sensor fault: the boost did not start\n");
        return;
    }
    rig.smc.writeU8("QFLT", smc::SimulatedMac::temperatureReadsFail);
    secondsUntil([] { return false; }, 2s);

    const qint64 helper = rig.helper.pid(), sim = rig.mac.pid(), bus = rig.bus.pid();
    const double app0 = ownCpuSeconds(), helper0 = processCpuSeconds(helper), sim0 = processCpuSeconds(sim),
                 bus0 = processCpuSeconds(bus);
    const auto takes0 = rig.helperLog().count("loop started");
    // Only the app's own timers and the bus wake this process meanwhile.
    QEventLoop loop;
    QTimer::singleShot(span, &loop, &QEventLoop::quit);
    loop.exec();
    const double seconds = static_cast<double>(span.count());
    const auto share = [seconds](double cpu) {
        return cpu * 100.0 / seconds;
    };
    std::printf("Every temperature read failing for %.0f s with a boost requested (max profile):\n", seconds);
    std::printf("  CPU, %% of one core: app %.2f, helper %.2f, simulator %.2f, bus daemon %.2f\n",
        share(ownCpuSeconds() - app0), share(processCpuSeconds(helper) - helper0), share(processCpuSeconds(sim) - sim0),
        share(processCpuSeconds(bus) - bus0));
    std::printf("  the helper took the fans again %lld times; the app holds back for: %s\n",
        static_cast<long long>(rig.helperLog().count("loop started") - takes0), qPrintable(fan.safetyHold()));
}

} // namespace quillon::bench
