#pragma once

namespace quillon::daemon {

// `quillon-helper --daemon`: the privileged fan helper. Starts the service
// (which hands the fans back to the firmware first), serves it on the bus
// QUILLON_HELPER_BUS names, and runs until SIGTERM or SIGINT, which release
// the fans and the lid lock before the process exits with 0. Exits with 1
// when it cannot serve (bad setting, no bus, name taken) or loses the bus,
// after releasing.
class HelperDaemon {
public:
    HelperDaemon() = delete;

    static int run(int argc, char** argv);
};

} // namespace quillon::daemon
