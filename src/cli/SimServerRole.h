#pragma once

#include <string>

namespace quillon::cli {

// `--smc-sim PATH`: serves one shared simulated Mac on a Unix socket until
// SIGTERM or SIGINT, then removes the socket and exits 0. Prints one line
// once it is ready. Failing to listen prints the reason and returns 1.
class SimServerRole {
public:
    static int run(const std::string& socketPath);
};

} // namespace quillon::cli
