#pragma once

#include <QString>
#include <functional>

namespace quillon::platform {

// Who acts when the lid closes. Where the system's login manager does, a lid
// lock keeps the machine awake; where a desktop power manager has taken the
// lid for itself (it then ignores everyone's locks), only that manager's own
// setting can, so keep-awake must either have it hand the lid back or tell
// the user what to change.
//
// Main thread only. Nothing here waits: each question is answered later,
// after at most a bounded D-Bus round trip or two, and never after the owner
// object is gone.
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

    using OwnerAnswer = std::function<void(const Owner& owner)>;
    // Whether a hand-over was accepted, or why not.
    using HandOverAnswer = std::function<void(bool accepted, const QString& problem)>;

    virtual ~LidSwitchOwner() = default;

    // Asks who holds the lid now; done hears it once. Where that cannot be
    // told (the login manager does not answer), the login manager is taken
    // to act on the lid itself, whose own lock then says whether it can.
    virtual void askOwner(OwnerAnswer done) = 0;
    // Asks the power manager to leave the lid to the login manager; done
    // hears whether it accepted (it lets go shortly after: ask again), or why
    // not. Undone by restore().
    virtual void handOver(HandOverAnswer done) = 0;
    // Puts the power manager's setting back as handOver() found it, without
    // waiting; nothing when nothing was changed.
    virtual void restore() = 0;
};

} // namespace quillon::platform
