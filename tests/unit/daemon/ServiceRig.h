#pragma once

#include "daemon/FanHelperService.h"
#include "smc/FourCC.h"
#include "support/SimRig.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace quillon::test {

// The simulated Mac's clock as the helper's: the fans and the die move as
// far as the service's time does; a pause costs no real time.
struct SimRigClock : daemon::MonotonicClock {
    explicit SimRigClock(SimRig& r)
        : rig(r)
    {
    }
    std::chrono::nanoseconds now() const override { return std::chrono::nanoseconds(std::llround(rig.now * 1e9)); }
    void sleepFor(std::chrono::milliseconds d) override
    {
        slept += d;
        rig.advance(std::chrono::duration<double>(d).count());
    }
    SimRig& rig;
    std::chrono::milliseconds slept{0};
};

struct FakeTickTimer : daemon::TickTimer {
    void start(std::chrono::milliseconds f, std::chrono::milliseconds i) override
    {
        isRunning = true;
        first = f;
        interval = i;
    }
    void stop() override { isRunning = false; }
    bool running() const override { return isRunning; }
    bool isRunning = false;
    std::chrono::milliseconds first{0}, interval{0};
};

struct RecordingLog : daemon::DaemonLog {
    void write(Severity severity, std::string_view line) override { lines.push_back({severity, std::string(line)}); }
    bool has(std::string_view part) const { return count(part) > 0; }
    int count(std::string_view part) const
    {
        int n = 0;
        for (const Line& l : lines)
            n += l.text.find(part) != std::string::npos ? 1 : 0;
        return n;
    }
    std::string all() const
    {
        std::string text;
        for (const Line& l : lines)
            text += l.text + "\n";
        return text;
    }
    struct Line {
        Severity severity;
        std::string text;
    };
    std::vector<Line> lines;
};

struct FakeLidLock : daemon::LidLock {
    bool hold(std::string& error) override
    {
        error = failure;
        isHeld = failure.empty();
        return isHeld;
    }
    void release() override { isHeld = false; }
    bool held() const override { return isHeld; }
    bool isHeld = false;
    std::string failure; // when set, hold() fails with this text
};

// One FanHelperService on an in-process simulated Mac, everything around it
// faked, one clock for all. Construct, arrange the Mac, then start().
struct ServiceRig {
    using Config = smc::SimulatedMac::Config;

    // One fan 1200-5200 rpm and one sensor that reads the die exactly.
    static Config plainMachine()
    {
        Config config;
        config.fans = {{1200, 5200}};
        config.sensors = {{"Tp01", smc::SmcType::flt, 1.0, 0.0}};
        return config;
    }

    explicit ServiceRig(Config config = plainMachine())
        : sim(std::move(config))
    {
    }

    // smc: another SMC than the simulated Mac's (which then only keeps time).
    daemon::FanHelperService& start(smc::SmcConnection* smc = nullptr)
    {
        service = std::make_unique<daemon::FanHelperService>(
            daemon::FanHelperService::Environment{smc ? *smc : sim.smc, lid, loopTimer, watchdogTimer, clock, log});
        return *service;
    }

    // Time passes in loop intervals; the loop timer fires while it runs.
    void runTicks(int count)
    {
        for (int i = 0; i < count; ++i) {
            advance(daemon::FanHelperService::kLoopInterval);
            if (loopTimer.isRunning)
                service->applyOnce();
        }
    }

    void advance(std::chrono::milliseconds d) { sim.advance(std::chrono::duration<double>(d).count()); }
    void holdTemperature(double celsius) { sim.mac->holdDieTemperature(celsius); }
    void setFaults(std::uint8_t bits) { sim.smc.writeU8("QFLT", bits); }
    int mode(int fan, const char* key = "Md") { return sim.smc.readU8("F" + std::to_string(fan) + key); }
    int target(int fan) { return static_cast<int>(sim.smc.readFlt("F" + std::to_string(fan) + "Tg")); }
    int forceTest() { return sim.smc.readU8("Ftst"); }

    SimRig sim;
    SimRigClock clock{sim};
    FakeTickTimer loopTimer, watchdogTimer;
    RecordingLog log;
    FakeLidLock lid;
    std::unique_ptr<daemon::FanHelperService> service;
};

} // namespace quillon::test
