#pragma once

#include "ToolContext.h"

#include <string>
#include <vector>

namespace quillon::cli {

// `--smc-write KEY VALUE [KEY VALUE ...]`: writes SMC keys for support work.
// "u8:KEY" writes one byte (VALUE 0..255); a plain KEY writes an rpm (a
// decimal integer) as fpe2. Every pair is checked before anything is written,
// so a typo never leaves half the writes done.
class SmcWriteTool {
public:
    // args are the arguments after "--smc-write". Returns an ExitStatus.
    static int run(ToolContext& context, const std::vector<std::string>& args);
};

} // namespace quillon::cli
