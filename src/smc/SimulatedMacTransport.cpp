#include "SimulatedMacTransport.h"

#include "SmcCodes.h"

namespace quillon::smc {

SimulatedMacTransport::SimulatedMacTransport(std::shared_ptr<SimulatedMac> mac)
    : m_mac(std::move(mac))
{
}

std::uint32_t SimulatedMacTransport::open()
{
    return m_mac ? SmcStatus::kSuccess : SmcStatus::kServiceMissing;
}

std::uint32_t SimulatedMacTransport::call(const SmcParamRecord& in, SmcParamRecord& out)
{
    m_mac->handle(in, out);
    return SmcStatus::kSuccess;
}

} // namespace quillon::smc
