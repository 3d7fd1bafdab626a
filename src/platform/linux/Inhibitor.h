#pragma once

#include "Inhibition.h"

#include <QString>
#include <memory>

namespace quillon::platform::linux_ {

// One way of asking the desktop or the system not to suspend or blank: a
// desktop power manager, the GNOME session, the screen saver, logind, the
// portal. A service that accepts an inhibition has not always put it in
// force (the portal answers before its backend acts, PowerDevil applies it
// seconds later), so each inhibition confirms itself through the service's
// own query before it counts.
class Inhibitor {
public:
    using Phase = Inhibition::Phase;
    using Held = Inhibition;

    virtual ~Inhibitor() = default;

    // The mechanism as the user sees it, e.g. "logind" or "GNOME session".
    virtual QString through() const = 0;
    // The bus name of the service that holds our inhibitions (on the
    // session bus, logind's on the system bus); empty where none is watched.
    // A request it had not yet answered or confirmed is lost when it
    // restarts, and so is what it held unless keepsHeldOverRestart().
    virtual QString serviceName() const { return {}; }
    virtual bool keepsHeldOverRestart() const { return false; }

    // Asks for a new inhibition with this reason and returns at once, never
    // waiting on the service: the inhibition settles later, in force once
    // the service confirms it, or failed (with an empty problem when the
    // service is not there at all).
    virtual std::unique_ptr<Held> inhibit(const QString& reason) = 0;
};

} // namespace quillon::platform::linux_
