#pragma once

#include "smc/SmcConnection.h"

#include <string>
#include <vector>

namespace quillon::daemon {

// Finds the temperature keys the helper watches, by walking every SMC key by
// index. A candidate counts only if its type is one SensorKeyRule accepts for
// the SMC's generation (on Apple silicon a 4-byte "flt ") and its value reads
// successfully and lies strictly between 5 and 120 °C; keys come back in
// index order. Indices that fail are skipped.
class TempKeyDiscovery {
public:
    TempKeyDiscovery() = delete;

    enum class Rule {
        cpuOnly, // SensorKeyRule::isCpuKey: the CPU temperature the app shows
        safety,  // SensorKeyRule::isSafetyKey: the sensors whose maximum drives the curve
    };

    struct Reading {
        std::string key;
        double celsius;
    };

    static std::vector<Reading> discover(smc::SmcConnection& smc, Rule rule);

    // Just the keys of discover().
    static std::vector<std::string> keys(smc::SmcConnection& smc, Rule rule);
};

} // namespace quillon::daemon
