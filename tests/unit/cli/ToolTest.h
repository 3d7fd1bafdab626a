#pragma once

#include "cli/ToolContext.h"
#include "support/FakePacer.h"
#include "support/SimRig.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace quillon::test {

// A tool run against an in-process simulated Mac, with its output captured.
class ToolTest : public ::testing::Test {
protected:
    cli::ToolContext context(bool asRoot = false) { return {rig.smc, out, pacer, asRoot, kProgram}; }
    // A context whose SMC service does not exist.
    cli::ToolContext contextWithoutSmc() { return {noSmc, out, pacer, false, kProgram}; }
    std::string output() const { return out.str(); }
    bool printed(const std::string& text) const { return out.str().find(text) != std::string::npos; }

    static constexpr const char* kProgram = "/opt/quillon/quillon-helper";
    SimRig rig;
    smc::SmcConnection noSmc{nullptr};
    FakePacer pacer{rig};
    std::ostringstream out;
};

} // namespace quillon::test
