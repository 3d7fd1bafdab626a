#pragma once

#include <string>

namespace quillon::daemon {

// Keeps the machine awake with its lid closed while held. The lock belongs
// to the helper process, so a helper that dies cannot leave it behind.
class LidLock {
public:
    virtual ~LidLock() = default;

    // Takes the lock; holding it already is success. On failure returns false
    // and says why in error (for the log); the lock is then not held.
    virtual bool hold(std::string& error) = 0;

    // Drops the lock if held; never fails.
    virtual void release() = 0;

    virtual bool held() const = 0;
};

} // namespace quillon::daemon
