#pragma once

#include "ToolContext.h"

namespace quillon::cli {

// `--temps`: the safety sensors the helper would watch, with their values,
// and the hottest one with what the thermal curve demands for it.
class TempsTool {
public:
    // ExitStatus::failed when the SMC is unreachable or no sensor reads.
    static int run(ToolContext& context);
};

} // namespace quillon::cli
