#pragma once

#include "SmcTransport.h"

#include <string>

namespace quillon::smc {

// The client side of the shared simulated Mac (QUILLON_SMC=sim:/path.sock),
// served by `quillon-helper --smc-sim /path.sock`. A lost server makes the
// failing call return kIOReturnNotResponding; the next call reconnects.
class SharedSimClient : public SmcTransport {
public:
    explicit SharedSimClient(std::string socketPath);
    ~SharedSimClient() override;
    SharedSimClient(const SharedSimClient&) = delete;
    SharedSimClient& operator=(const SharedSimClient&) = delete;

    // kServiceMissing when nothing serves the socket.
    std::uint32_t open() override;
    std::uint32_t call(const SmcParamRecord& in, SmcParamRecord& out) override;

private:
    bool connectSocket();
    void disconnect();

    std::string m_path;
    int m_fd = -1;
};

} // namespace quillon::smc
