#pragma once

#include <QString>

namespace quillon::platform {

// How one touch of a volume went.
enum class DriveTouchOutcome {
    missing,      // the path does not exist (the drive is not mounted): nothing was done
    listed,       // the listing of the top directory reached the device
    uncachedRead, // the listing came from the cache; a direct read of a small file reached the device
    unverified,   // listed (and a direct read tried), but the volume has no read counter to check
    notReached,   // neither the listing nor a direct read reached the device
};

// Touches a volume with read-only accesses so that its drive stays spun up.
// Nothing is ever written, not even access times. Blocking (the drive may
// have to spin up first): call it off the main thread. Safe to call from
// several threads at once for different volumes.
class DriveToucher {
public:
    virtual ~DriveToucher() = default;
    virtual DriveTouchOutcome touch(const QString& mountPath) = 0;
};

} // namespace quillon::platform
