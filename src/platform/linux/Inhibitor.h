#pragma once

#include "Inhibition.h"

#include <QDBusMessage>
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
    // The session-bus name of the service that holds our inhibitions and
    // forgets them when it restarts; empty where they outlive a restart
    // (logind keeps its locks).
    virtual QString serviceName() const { return {}; }

    // A new inhibition with this reason, or nullptr when the service is
    // missing or refused; problem then says why (empty when the service is
    // simply not there). Blocks for at most one D-Bus round trip.
    virtual std::unique_ptr<Held> inhibit(const QString& reason, QString& problem) = 0;

    // The problem text for a failed call: empty when the service does not
    // run on this bus (nothing to report), else the service's own error.
    static QString callProblem(const QDBusMessage& reply);
};

} // namespace quillon::platform::linux_
