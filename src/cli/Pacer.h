#pragma once

namespace quillon::cli {

// Time for the tools' timed tests: a monotonic clock in seconds and a sleep
// that a termination request cuts short, so that a test can restore what it
// changed before the process ends. Tests substitute a pacer whose time they
// control.
class Pacer {
public:
    virtual ~Pacer() = default;
    virtual double seconds() = 0;
    // Sleeps for up to the given seconds; returns early once interrupted().
    virtual void sleep(double seconds) = 0;
    // True once the user asked the tool to stop (SIGINT or SIGTERM).
    virtual bool interrupted() = 0;
};

} // namespace quillon::cli
