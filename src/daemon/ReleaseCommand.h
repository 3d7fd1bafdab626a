#pragma once

namespace quillon::daemon {

// `quillon-helper --release`: hands every fan back to the firmware, verified
// as the running helper does it, and exits: 0 when verified or when there is
// no SMC (nothing can have been taken), 1 when the read-back never showed
// firmware mode. The systemd
// unit runs it after the daemon stops, so that even a killed daemon leaves
// no fan in manual mode.
class ReleaseCommand {
public:
    ReleaseCommand() = delete;

    static int run();
};

} // namespace quillon::daemon
