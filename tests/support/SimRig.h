#pragma once

#include "smc/SimulatedMac.h"
#include "smc/SimulatedMacTransport.h"
#include "smc/SmcConnection.h"

#include <memory>

namespace quillon::test {

// A simulated Mac on a clock the test moves, reached through a real
// SmcConnection, so every test exercises the same record path the tools use.
struct SimRig {
    explicit SimRig(smc::SimulatedMac::Config config = smc::SimulatedMac::Config::appleSiliconLaptop())
        : mac(std::make_shared<smc::SimulatedMac>(std::move(config), [this] { return now; }))
        , smc(std::make_unique<smc::SimulatedMacTransport>(mac))
    {
    }

    void advance(double seconds) { now += seconds; }

    double now = 1000.0;
    std::shared_ptr<smc::SimulatedMac> mac;
    smc::SmcConnection smc;
};

} // namespace quillon::test
