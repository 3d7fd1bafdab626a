#include "SharedSimClient.h"

#include "SharedSimWire.h"
#include "SmcCodes.h"
#include "UnixSocket.h"

#include <cstring>
#include <unistd.h>

namespace quillon::smc {

SharedSimClient::SharedSimClient(std::string socketPath)
    : m_path(std::move(socketPath))
{
}

SharedSimClient::~SharedSimClient()
{
    disconnect();
}

bool SharedSimClient::connectSocket()
{
    if (m_fd < 0)
        m_fd = UnixSocket::connectTo(m_path);
    return m_fd >= 0;
}

void SharedSimClient::disconnect()
{
    if (m_fd >= 0)
        ::close(m_fd);
    m_fd = -1;
}

std::uint32_t SharedSimClient::open()
{
    return connectSocket() ? SmcStatus::kSuccess : SmcStatus::kServiceMissing;
}

std::uint32_t SharedSimClient::call(const SmcParamRecord& in, SmcParamRecord& out)
{
    unsigned char reply[SharedSimWire::kReplySize];
    const bool ok = connectSocket() && UnixSocket::sendAll(m_fd, &in, sizeof in)
        && UnixSocket::receiveAll(m_fd, reply, sizeof reply, SharedSimWire::kReplyTimeoutMs);
    if (!ok) {
        disconnect();
        return SmcStatus::kIOReturnNotResponding;
    }
    std::uint32_t status;
    std::memcpy(&status, reply, sizeof status);
    std::memcpy(&out, reply + sizeof status, sizeof out);
    return status;
}

} // namespace quillon::smc
