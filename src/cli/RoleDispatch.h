#pragma once

#include <string>
#include <vector>

namespace quillon::cli {

// Which role the executable plays, from its arguments, decided before any
// application object exists. argv[0] is the program; the first argument
// alone decides.
class RoleDispatch {
public:
    RoleDispatch() = delete;

    enum class Role {
        daemon,   // "--daemon": the privileged fan helper
        release,  // "--release": hand the fans back to firmware control
        smcWrite, // "--smc-write KEY VALUE ...": at least one pair given
        temps,    // "--temps"
        diag,     // "--diag [--dumpkeys|probe|loop]"
        smcSim,   // "--smc-sim PATH": serve a shared simulated Mac
        power,    // "--power [--sysfs-root DIR]": the power readings
        help,     // "--help" or "-h"
        usage,    // a tool's name without the arguments it needs
        app,      // anything else: the tray app
    };

    static Role choose(const std::vector<std::string>& argv);
};

} // namespace quillon::cli
