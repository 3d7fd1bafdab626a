#pragma once

#include "SmcParamRecord.h"

#include <cstddef>
#include <cstdint>

namespace quillon::smc {

// The shared simulator's wire format on its Unix stream socket: the client
// sends one request record, the server answers with a transport status (host
// order u32, 0 when the SMC saw the request) followed by the reply record.
// Both ends run on the same machine, so host byte order is the wire order.
namespace SharedSimWire {
constexpr std::size_t kRequestSize = sizeof(SmcParamRecord);
constexpr std::size_t kReplySize = sizeof(std::uint32_t) + sizeof(SmcParamRecord);
// How long a client waits for a reply before it calls the SMC unresponsive.
constexpr int kReplyTimeoutMs = 2000;
} // namespace SharedSimWire

} // namespace quillon::smc
