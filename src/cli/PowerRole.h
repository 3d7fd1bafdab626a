#pragma once

#include <string>
#include <vector>

namespace quillon::cli {

// `--power [--sysfs-root DIR]`: prints the four power readings the app works
// with (snapshot, battery metrics, flow, render status), the render status
// also as the text the render screens show, in the user's language. DIR is a
// captured copy of /sys/class/power_supply to read instead of the live one.
class PowerRole {
public:
    PowerRole() = delete;

    // args are the arguments after "--power". ExitStatus::badUsage for an
    // unknown argument, ExitStatus::failed when DIR is not a directory.
    static int run(int argc, char** argv, const std::vector<std::string>& args);
};

} // namespace quillon::cli
