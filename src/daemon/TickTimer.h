#pragma once

#include <chrono>

namespace quillon::daemon {

// A repeating timer that calls its owner's handler; in the daemon a QTimer on
// the main thread, in tests a fake the test fires by hand.
class TickTimer {
public:
    virtual ~TickTimer() = default;

    // (Re)starts: the first call after `first`, then one every `interval`.
    virtual void start(std::chrono::milliseconds first, std::chrono::milliseconds interval) = 0;

    // No further calls until the next start(). Safe from inside the handler.
    virtual void stop() = 0;

    virtual bool running() const = 0;
};

} // namespace quillon::daemon
