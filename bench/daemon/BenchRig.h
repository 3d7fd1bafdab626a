#pragma once

#include "daemon/DaemonLog.h"
#include "daemon/LidLock.h"
#include "daemon/MonotonicClock.h"
#include "daemon/TickTimer.h"
#include "smc/SimulatedMac.h"
#include "smc/SimulatedMacTransport.h"

#include <memory>
#include <string>
#include <string_view>

// What the in-process measurements put around a FanHelperService: a clock
// that moves only when told, timers that never fire, a log that counts.
namespace quillon::bench {

class BenchClock : public daemon::MonotonicClock {
public:
    std::chrono::nanoseconds now() const override
    {
        return std::chrono::nanoseconds(static_cast<long long>(seconds * 1e9));
    }
    void sleepFor(std::chrono::milliseconds duration) override
    {
        seconds += std::chrono::duration<double>(duration).count();
    }
    double seconds = 1000.0;
};

class IdleTimer : public daemon::TickTimer {
public:
    void start(std::chrono::milliseconds, std::chrono::milliseconds) override { on = true; }
    void stop() override { on = false; }
    bool running() const override { return on; }
    bool on = false;
};

class CountingLog : public daemon::DaemonLog {
public:
    void write(Severity, std::string_view) override { ++lines; }
    int lines = 0;
};

class NoLidLock : public daemon::LidLock {
public:
    bool hold(std::string&) override { return true; }
    void release() override { }
    bool held() const override { return false; }
};

// The simulated Mac, counting the records that reach it: each is one round trip.
class CountingTransport : public smc::SmcTransport {
public:
    explicit CountingTransport(std::shared_ptr<smc::SimulatedMac> mac)
        : m_inner(std::move(mac))
    {
    }
    std::uint32_t open() override { return m_inner.open(); }
    std::uint32_t call(const smc::SmcParamRecord& in, smc::SmcParamRecord& out) override
    {
        ++calls;
        return m_inner.call(in, out);
    }
    long calls = 0;

private:
    smc::SimulatedMacTransport m_inner;
};

} // namespace quillon::bench
