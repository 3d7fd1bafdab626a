#pragma once

#include "PolkitAuthority.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace quillon::daemon {

// Who may change what the helper does, and whose requests keep it alive.
//
// On the system bus a change needs a polkit grant for its action (granted to
// the active local session by the shipped policy); root is always allowed.
// On any other bus (session, private) only the helper's own uid and root are
// served. Reading (ping, status) is open to everyone either way; what the
// callers decide is only whether a request counts as contact from the app:
// requests from a uid that may change the fans do, others do not, so a
// stranger polling the status cannot keep someone else's boost alive.
class CallerAuthorization {
public:
    enum class Mode {
        polkit,   // system bus
        sameUser, // session or private bus
    };
    enum class Action {
        controlFans,  // SetFanFloor, StopBoost
        lidStayAwake, // SetLidStayAwake
    };
    struct Caller {
        std::string busName; // unique name, ":1.42"
        std::uint32_t uid;
    };
    struct Verdict {
        bool granted;
        std::string refusal; // the reply text when not granted
    };
    using Callback = std::function<void(const Verdict&)>;

    // At most this many polkit checks wait at once; more are refused at once
    // rather than queued without bound.
    static constexpr int kMaxPendingChecks = 32;
    // And at most this many for one caller, so one caller cannot use them all.
    static constexpr int kMaxPendingPerCaller = 4;

    // polkit may be null in sameUser mode.
    CallerAuthorization(Mode mode, std::uint32_t helperUid, PolkitAuthority* polkit);

    // The verdict when it is known at once; otherwise nullopt, and later is
    // called exactly once with it.
    std::optional<Verdict> authorize(const Caller& caller, Action action, Callback later);

    bool countsAsContact(std::uint32_t uid) const;

    static const char* actionId(Action action);

private:
    static Verdict refused(Action action);

    Mode m_mode;
    std::uint32_t m_helperUid;
    PolkitAuthority* m_polkit;
    int m_pending = 0;
    std::map<std::string, int> m_pendingByCaller; // bus name -> checks waiting
    // In polkit mode, the uid of the last caller polkit let change anything.
    std::optional<std::uint32_t> m_grantedUid;
};

} // namespace quillon::daemon
