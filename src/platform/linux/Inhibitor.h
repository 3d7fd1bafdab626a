#pragma once

#include <QString>
#include <memory>

namespace quillon::platform::linux_ {

// One way of asking the desktop or the system not to suspend or blank: the
// portal, the screen saver, the GNOME session, logind.
class Inhibitor {
public:
    // One inhibition in force; destroying it ends exactly this one.
    class Held {
    public:
        virtual ~Held() = default;
    };

    virtual ~Inhibitor() = default;

    // A new inhibition with this reason, or nullptr when the service is
    // missing or refused. Blocks for at most one D-Bus round trip.
    virtual std::unique_ptr<Held> inhibit(const QString& reason) = 0;
};

} // namespace quillon::platform::linux_
