// Figures of the fan helper, measured, never asserted:
//   1. per boosted control tick, in process: SMC round trips per tick and
//      per status read on the simulated Mac, applesmc and hwmon (RoundTrips);
//      on the simulated Mac heap allocations and CPU time;
//   2. with real processes (private dbus-daemon, shared simulated Mac,
//      quillon-helper --daemon): CPU time per hour while boosted and polled
//      once a second as the app does, and while idle; the time from the
//      app's last request to verified firmware control after it falls silent;
//   3. a flood of calls from another uid, and a lasting sensor fault with a
//      boost requested (LoadFigures);
//   4. the table of fault scenarios (SafetyScenarios).
//
// Usage: quillon-bench-daemon [--quick | --safety | --cpu]

#include "BenchProbes.h"
#include "BenchRig.h"
#include "DaemonHarness.h"
#include "LoadFigures.h"
#include "RoundTrips.h"
#include "SafetyScenarios.h"

#include "daemon/FanHelperService.h"
#include "daemon/SystemDaemonLog.h"

#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <unistd.h>
#include <vector>

// Counting every heap allocation of this process (operator new ends here
// too). Sanitizer builds bring their own allocator and are not counted.
#if !defined(__SANITIZE_ADDRESS__)
#define QUILLON_COUNT_ALLOCATIONS 1
namespace {
std::atomic<long> g_allocations{0};
}
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* malloc(size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
void* realloc(void* pointer, size_t size)
{
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(pointer, size);
}
}
#endif

namespace {

using namespace std::chrono_literals;
using quillon::bench::BenchClock;
using quillon::bench::CountingLog;
using quillon::bench::CountingTransport;
using quillon::bench::IdleTimer;
using quillon::bench::NoLidLock;
using quillon::bench::processCpuSeconds;
using quillon::daemon::FanHelperService;

double threadCpuSeconds()
{
    timespec ts{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

void measureTicks(int ticks)
{
    BenchClock clock;
    auto mac = std::make_shared<quillon::smc::SimulatedMac>(
        quillon::smc::SimulatedMac::Config::appleSiliconLaptop(), [&clock] { return clock.seconds; });
    auto transport = std::make_unique<CountingTransport>(mac);
    CountingTransport& counter = *transport;
    quillon::smc::SmcConnection smc(std::move(transport));
    IdleTimer loop, watchdog;
    CountingLog log;
    NoLidLock lid;
    FanHelperService service({smc, lid, loop, watchdog, clock, log});
    mac->holdDieTemperature(60);
    service.setFanFloor(40);
    for (int i = 0; i < 40; ++i) { // past start-up, into the steady state
        clock.seconds += 0.4;
        service.applyOnce();
    }

    long quietAllocations = 0, loggingAllocations = 0;
    int quietTicks = 0, loggingTicks = 0;
    const double cpuStart = threadCpuSeconds();
    for (int i = 0; i < ticks; ++i) {
        clock.seconds += 0.4;
        const int linesBefore = log.lines;
#ifdef QUILLON_COUNT_ALLOCATIONS
        const long allocationsBefore = g_allocations.load();
#endif
        service.applyOnce();
#ifdef QUILLON_COUNT_ALLOCATIONS
        const long allocations = g_allocations.load() - allocationsBefore;
#else
        const long allocations = 0;
#endif
        const bool logged = log.lines != linesBefore;
        (logged ? loggingAllocations : quietAllocations) += allocations;
        ++(logged ? loggingTicks : quietTicks);
    }
    const double cpuPerTick = (threadCpuSeconds() - cpuStart) / ticks;

    std::printf("Boosted control tick, in process on the simulated Mac (2 fans, 8 safety sensors, %d ticks):\n", ticks);
#ifdef QUILLON_COUNT_ALLOCATIONS
    std::printf("  heap allocations per tick: %.2f (steady ticks), %.2f (ticks that log a line, before the sink)\n",
        static_cast<double>(quietAllocations) / std::max(quietTicks, 1),
        static_cast<double>(loggingAllocations) / std::max(loggingTicks, 1));
    {
        // What the daemon's sink adds to a logging tick (every 20th): the C
        // library's syslog(). Writes one line to standard error and the system log.
        quillon::daemon::SystemDaemonLog sink;
        const long before = g_allocations.load();
        sink.write(quillon::daemon::DaemonLog::Severity::notice, "Quillon daemon: benchmark line, please ignore");
        std::printf("  heap allocations of the system log sink per line: %ld\n", g_allocations.load() - before);
    }
#else
    std::printf("  heap allocations per tick: not counted in a sanitizer build\n");
#endif
    std::printf("  CPU per tick (logic and simulated SMC): %.1f µs\n", cpuPerTick * 1e6);

    // For scale, and as a check that the counters count: one status read.
    const long callsBefore = counter.calls;
#ifdef QUILLON_COUNT_ALLOCATIONS
    const long allocationsBefore = g_allocations.load();
#endif
    const auto status = service.status();
    std::printf("One status read (GetStatus before D-Bus): %ld SMC round trips", counter.calls - callsBefore);
#ifdef QUILLON_COUNT_ALLOCATIONS
    std::printf(", %ld heap allocations", g_allocations.load() - allocationsBefore);
#endif
    std::printf(", %zu fans\n", status.fans.size());
}

void measureCpuPerHour(std::chrono::seconds span)
{
    quillon::test::HelperRig rig;
    if (!rig.startHelper()) {
        std::printf("CPU per hour: the helper did not start\n");
        return;
    }
    const auto spanSeconds = static_cast<double>(span.count());

    const double idleStart = processCpuSeconds(rig.helper.pid());
    QThread::sleep(static_cast<unsigned long>(span.count()));
    const double idle = processCpuSeconds(rig.helper.pid()) - idleStart;

    quillon::test::answerOf(rig.client->SetFanFloor(40));
    const double boostedStart = processCpuSeconds(rig.helper.pid());
    for (int second = 0; second < span.count(); ++second) {
        QThread::msleep(1000);
        rig.client->GetStatus().waitForFinished();
    }
    const double boosted = processCpuSeconds(rig.helper.pid()) - boostedStart;
    std::printf(
        "Helper process CPU time per hour (measured over %.0f s each, real shared-simulator SMC):\n", spanSeconds);
    std::printf("  boosted, polled once a second: %.1f s/h (%.3f %% of one core)\n", boosted * 3600 / spanSeconds,
        boosted * 100 / spanSeconds);
    std::printf("  idle, nobody asking:           %.1f s/h (%.3f %% of one core)\n", idle * 3600 / spanSeconds,
        idle * 100 / spanSeconds);
}

void measureReleaseAfterSilence(int runs)
{
    std::vector<double> seconds;
    for (int run = 0; run < runs; ++run) {
        quillon::test::HelperRig rig;
        if (!rig.startHelper())
            continue;
        quillon::test::answerOf(rig.client->SetFanFloor(40));
        // Fall silent at a different phase of the watchdog's 2 s beat each run.
        QThread::msleep(static_cast<unsigned long>(300 + 700 * run));
        rig.client->GetStatus().waitForFinished();
        QElapsedTimer silent;
        silent.start();
        if (quillon::test::waitUntil([&] { return rig.allFansInFirmwareMode(); }, 15s))
            seconds.push_back(static_cast<double>(silent.elapsed()) / 1000.0);
    }
    std::sort(seconds.begin(), seconds.end());
    if (seconds.empty()) {
        std::printf("Release after silence: no run completed\n");
        return;
    }
    std::printf("Release after the app falls silent (%zu runs): min %.2f s, median %.2f s, max %.2f s\n",
        seconds.size(), seconds.front(), seconds[seconds.size() / 2], seconds.back());
}

} // namespace

int main(int argc, char** argv)
{
    const std::string_view option = argc > 1 ? argv[1] : "";
    const bool quick = option == "--quick";
    quillon::test::ensureCoreApplication();
    if (option == "--safety") {
        quillon::bench::printSafetyTable();
        return 0;
    }
    if (option == "--cpu") {
        measureCpuPerHour(120s);
        return 0;
    }
    quillon::bench::measureRoundTrips(quick ? 200 : 2000);
    std::fflush(stdout);
    measureTicks(quick ? 2000 : 20000);
    std::fflush(stdout);
    measureCpuPerHour(quick ? 10s : 60s);
    std::fflush(stdout);
    measureReleaseAfterSilence(quick ? 2 : 5);
    std::fflush(stdout);
    quillon::bench::measureFlood();
    std::fflush(stdout);
    quillon::bench::measureSensorFaultCpu(quick ? 10s : 60s);
    std::fflush(stdout);
    quillon::bench::printSafetyTable();
    return 0;
}
