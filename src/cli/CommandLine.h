#pragma once

#include <functional>

namespace quillon::cli {

// The program entry shared by `quillon` and `quillon-helper`: picks the role
// from the arguments and runs it. appRole runs the tray app; the helper,
// which carries no GUI, passes none and answers with its usage instead.
class CommandLine {
public:
    using AppRole = std::function<int(int argc, char** argv)>;

    static int run(int argc, char** argv, const AppRole& appRole);

    static void printUsage(const char* program, bool toStdout);
};

} // namespace quillon::cli
