#include "RoundTrips.h"

#include "BenchRig.h"

#include "daemon/FanHelperService.h"
#include "smc/AppleSmcTransport.h"
#include "smc/HwmonFanTransport.h"
#include "smc/SysfsFile.h"
#include "support/AppleSmcTree.h"
#include "support/CapturedTree.h"

#include <cstdio>
#include <functional>

namespace quillon::bench {

namespace {

struct Counts {
    double oddTick = 0, evenTick = 0, boostedStatus = 0, idleStatus = 0;
    int fans = 0;
    std::size_t safetySensors = 0;
};

long sysfsRoundTrips()
{
    const smc::SysfsFile::Traffic traffic = smc::SysfsFile::traffic();
    return static_cast<long>(traffic.reads + traffic.writes);
}

// A 40 % floor, past start-up, with the status asked once a second as the
// app does: ticks every 400 ms, a status every 1000 ms, on one clock; then
// the floor goes and the status is asked at rest. roundTrips: the
// transport's running count.
Counts count(smc::SmcConnection& smc, BenchClock& clock, const std::function<long()>& roundTrips, int ticks)
{
    IdleTimer loop, watchdog;
    CountingLog log;
    NoLidLock lid;
    daemon::FanHelperService service({smc, lid, loop, watchdog, clock, log});
    service.setFanFloor(40);
    for (int i = 0; i < 40; ++i) {
        clock.seconds += 0.4;
        service.applyOnce();
        service.status();
    }
    long tickTrips[2] = {0, 0}; // even, odd ticks
    int tickCount[2] = {0, 0};
    long statusTrips = 0;
    int statusCount = 0;
    for (int ms = 200, tick = 42; tick < 42 + ticks; ms += 200) { // one tick at the request, 40 to warm up
        clock.seconds += 0.2;
        long before = roundTrips();
        if (ms % 1000 == 0) {
            service.status();
            statusTrips += roundTrips() - before;
            ++statusCount;
            before = roundTrips();
        }
        if (ms % 400 == 0) {
            service.applyOnce();
            tickTrips[tick % 2] += roundTrips() - before;
            ++tickCount[tick % 2];
            ++tick;
        }
    }
    service.stopBoost();
    clock.seconds += 1.0;
    service.status();
    clock.seconds += 1.0;
    const long before = roundTrips();
    service.status();
    const long idleStatus = roundTrips() - before;
    return {static_cast<double>(tickTrips[1]) / tickCount[1], static_cast<double>(tickTrips[0]) / tickCount[0],
        static_cast<double>(statusTrips) / statusCount, static_cast<double>(idleStatus), service.fanCount(),
        service.safetyTempKeys().size()};
}

void print(const char* transport, const Counts& c)
{
    std::printf("  %s, %d fans, %zu safety sensors:\n"
                "    per tick %.1f odd (sensors read), %.1f even, %.2f average; per status %.1f boosted, %.0f at rest\n",
        transport, c.fans, c.safetySensors, c.oddTick, c.evenTick, (c.oddTick + c.evenTick) / 2, c.boostedStatus,
        c.idleStatus);
}

} // namespace

void measureRoundTrips(int ticks)
{
    std::printf("SMC round trips (boosted, %d ticks each, the status asked once a second; a round trip is one "
                "record, or one sysfs read or write, applesmc's key selection counted with its read):\n",
        ticks);
    {
        BenchClock clock;
        auto mac = std::make_shared<smc::SimulatedMac>(
            smc::SimulatedMac::Config::appleSiliconLaptop(), [&clock] { return clock.seconds; });
        auto transport = std::make_unique<CountingTransport>(mac);
        CountingTransport& counter = *transport;
        smc::SmcConnection smc(std::move(transport));
        mac->holdDieTemperature(60);
        print("simulated Mac (Apple silicon laptop)", count(smc, clock, [&counter] { return counter.calls; }, ticks));
    }
    {
        test::AppleSmcTree mac("macbookpro-two-fans");
        mac.start();
        BenchClock clock;
        smc::SmcConnection smc(std::make_unique<smc::AppleSmcTransport>(mac.device()));
        print("applesmc (MacBook Pro, Intel)", count(smc, clock, sysfsRoundTrips, ticks / 10));
    }
    {
        test::CapturedTree tree("hwmon/thinkpad-t480");
        const std::string root = tree.root().toStdString();
        auto transport = smc::HwmonFanTransport::find({root + "/sys", root + "/proc", root + "/handback"});
        if (!transport) {
            std::printf("  hwmon: the captured tree shows no fan\n");
            return;
        }
        BenchClock clock;
        smc::SmcConnection smc(std::make_unique<smc::HwmonFanTransport>(std::move(*transport)));
        print("hwmon (ThinkPad T480, thinkpad_acpi)", count(smc, clock, sysfsRoundTrips, ticks / 10));
    }
}

} // namespace quillon::bench
