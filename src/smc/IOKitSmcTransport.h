#pragma once

#include "SmcTransport.h"

namespace quillon::smc {

// The AppleSMC kernel user client. Built on Apple systems only.
class IOKitSmcTransport : public SmcTransport {
public:
    IOKitSmcTransport() = default;
    IOKitSmcTransport(const IOKitSmcTransport&) = delete;
    IOKitSmcTransport& operator=(const IOKitSmcTransport&) = delete;

    // kServiceMissing when no "AppleSMC" service matches, else IOServiceOpen's
    // result. The connection stays open for the life of the process.
    std::uint32_t open() override;
    // IOConnectCallStructMethod with selector 2 and 80-byte records.
    std::uint32_t call(const SmcParamRecord& in, SmcParamRecord& out) override;
    SmcGeneration generation() const override
    {
#if defined(__x86_64__)
        return SmcGeneration::intel;
#else
        return SmcGeneration::appleSilicon;
#endif
    }

private:
    unsigned int m_connection = 0; // io_connect_t
};

} // namespace quillon::smc
