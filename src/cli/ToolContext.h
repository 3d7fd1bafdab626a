#pragma once

#include "Pacer.h"

#include "smc/SmcConnection.h"

#include <ostream>
#include <string>

namespace quillon::cli {

// What every SMC tool runs against: the SMC, where its output goes, its
// clock, and who runs it (for the "run as root" hint).
struct ToolContext {
    smc::SmcConnection& smc;
    std::ostream& out;
    Pacer& pacer;
    bool runningAsRoot;
    std::string programPath;
};

// Process exit statuses of the tools.
namespace ExitStatus {
constexpr int ok = 0;
constexpr int failed = 1;   // the SMC could not be reached, or a write failed
constexpr int badUsage = 2; // a bad argument; nothing was written
} // namespace ExitStatus

} // namespace quillon::cli
