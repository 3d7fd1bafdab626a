#include "IOKitSmcTransport.h"

#include "SmcCodes.h"

#include <IOKit/IOKitLib.h>
#include <mach/mach.h>

namespace quillon::smc {

static_assert(sizeof(io_connect_t) == sizeof(unsigned int));

std::uint32_t IOKitSmcTransport::open()
{
    const io_service_t service = IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("AppleSMC"));
    if (!service)
        return SmcStatus::kServiceMissing;
    io_connect_t connection = 0;
    const kern_return_t rc = IOServiceOpen(service, mach_task_self(), 0, &connection);
    IOObjectRelease(service);
    if (rc == KERN_SUCCESS)
        m_connection = connection;
    return static_cast<std::uint32_t>(rc);
}

std::uint32_t IOKitSmcTransport::call(const SmcParamRecord& in, SmcParamRecord& out)
{
    size_t outSize = sizeof out;
    const kern_return_t rc
        = IOConnectCallStructMethod(m_connection, kSmcUserClientSelector, &in, sizeof in, &out, &outSize);
    return static_cast<std::uint32_t>(rc);
}

} // namespace quillon::smc
