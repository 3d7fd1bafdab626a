#pragma once

#include "SmcGeneration.h"
#include "SmcParamRecord.h"

#include <cstdint>
#include <string>

namespace quillon::smc {

// What sits under the csmc_* layer: the AppleSMC user client on a Mac, or a
// simulated Mac here. A transport moves records; all SMC semantics (the
// two-phase call, truncation, encodings) live above it in SmcConnection.
class SmcTransport {
public:
    virtual ~SmcTransport() = default;

    // Connects to the SMC service. Returns 0, SmcStatus::kServiceMissing when
    // there is no service, or the platform's error code. Called once per
    // successful connection; a failed open may be retried later.
    virtual std::uint32_t open() = 0;

    // One struct-method call with an 80-byte input and output record. Returns 0
    // when the record went through (the SMC's own verdict is out.result) or an
    // IOKit-style error code when it did not.
    virtual std::uint32_t call(const SmcParamRecord& in, SmcParamRecord& out) = 0;

    // The SMC family behind the records; it decides which temperature keys
    // are safety sensors.
    virtual SmcGeneration generation() const { return SmcGeneration::appleSilicon; }

    // Why the fans cannot be driven through this transport, in words for a
    // person ("" when they can). Also set after a failed open() whose cause
    // a status code cannot say.
    virtual std::string fanControlUnavailable() const { return {}; }
};

} // namespace quillon::smc
