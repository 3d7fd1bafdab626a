#pragma once

#include "ToolContext.h"

#include <optional>
#include <string>

namespace quillon::cli {

// `--diag [--dumpkeys | probe | loop]`: the support printout. Shows the fan
// keys with their raw bytes, then either lists every key, runs one of the
// write tests, or reads the fans and runs the forced-write test. Every write
// test restores F0Md/F0Tg (and F1Md) before it returns, also when the user
// interrupts it.
class DiagTool {
public:
    enum class Mode {
        standard,
        dumpKeys,
        probe,
        loop
    };

    // The mode for the argument after "--diag" (none: standard); no value for
    // anything unknown.
    static std::optional<Mode> parseMode(const std::optional<std::string>& argument);

    // Returns an ExitStatus: failed only when the SMC cannot be opened.
    static int run(ToolContext& context, Mode mode);

private:
    static void printFanKeys(ToolContext& context, int fanCount);
    static void printKeyInfo(ToolContext& context, const std::string& key);
    static void dumpKeys(ToolContext& context);
    static void printFanReads(ToolContext& context, int fanCount);
};

} // namespace quillon::cli
