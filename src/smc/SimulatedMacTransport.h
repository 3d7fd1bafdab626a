#pragma once

#include "SimulatedMac.h"
#include "SmcTransport.h"

#include <memory>

namespace quillon::smc {

// A simulated Mac inside this process (QUILLON_SMC=sim). The Mac may be
// shared with the caller, who can then give it a clock of its own.
class SimulatedMacTransport : public SmcTransport {
public:
    explicit SimulatedMacTransport(std::shared_ptr<SimulatedMac> mac = std::make_shared<SimulatedMac>());

    std::uint32_t open() override;
    std::uint32_t call(const SmcParamRecord& in, SmcParamRecord& out) override;
    SmcGeneration generation() const override { return m_mac->generation(); }

private:
    std::shared_ptr<SimulatedMac> m_mac;
};

} // namespace quillon::smc
