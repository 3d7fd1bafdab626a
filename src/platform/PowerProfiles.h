#pragma once

#include <QString>
#include <functional>

namespace quillon::platform {

// The firmware's power profile, as a profile daemon (power-profiles-daemon,
// tuned-ppd) lets an application hold one: "power-saver", "balanced" or
// "performance". On machines whose fans no program may drive it is the only
// cooling control there is. The daemon drops a hold by itself when the
// holder exits, so a crashed app cannot leave one behind.
class PowerProfiles {
public:
    using Done = std::function<void(bool held, const QString& error)>;

    virtual ~PowerProfiles() = default;

    // Holds profile until release() or the next hold(), which replaces it;
    // done hears whether the daemon took it, and why not.
    virtual void hold(const QString& profile, const QString& reason, Done done) = 0;
    // Lets go of the hold, if any.
    virtual void release() = 0;
};

} // namespace quillon::platform
