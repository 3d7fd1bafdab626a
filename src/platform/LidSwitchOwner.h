#pragma once

#include <QString>

namespace quillon::platform {

// Who acts when the lid closes. Where the system's login manager does, a lid
// lock keeps the machine awake; where a desktop power manager has taken the
// lid for itself (it then ignores everyone's locks), only that manager's own
// setting can, so keep-awake must either have it hand the lid back or tell
// the user what to change.
//
// Main thread only; each call is at most one bounded D-Bus round trip.
class LidSwitchOwner {
public:
    // The desktops whose power managers are known to take the lid.
    enum class Desktop {
        none,
        kde,
        xfce,
        mate,
        lxqt,
        other
    };
    struct Owner {
        Desktop desktop = Desktop::none; // none: the login manager acts on the lid itself
        QString who;                     // as the power manager names itself
        bool canHandOver = false;        // handOver() can make it leave the lid to the login manager
        // Its own lid action, as its setting says, is to do nothing: a closed
        // lid then keeps the machine awake with no change at all.
        bool doesNothing = false;
    };

    virtual ~LidSwitchOwner() = default;

    // Asks who holds the lid now.
    virtual Owner owner() = 0;
    // Asks the power manager to leave the lid to the login manager. True when
    // the request was accepted (it lets go shortly after: poll owner()); false
    // with problem set when not. Undone by restore().
    virtual bool handOver(QString& problem) = 0;
    // Puts the power manager's setting back as handOver() found it; nothing
    // when nothing was changed.
    virtual void restore() = 0;
};

} // namespace quillon::platform
