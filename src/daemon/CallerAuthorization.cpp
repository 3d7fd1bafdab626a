#include "CallerAuthorization.h"

namespace quillon::daemon {

namespace {
constexpr std::uint32_t kRootUid = 0;
} // namespace

CallerAuthorization::CallerAuthorization(Mode mode, std::uint32_t helperUid, PolkitAuthority* polkit)
    : m_mode(mode)
    , m_helperUid(helperUid)
    , m_polkit(polkit)
{
}

const char* CallerAuthorization::actionId(Action action)
{
    switch (action) {
    case Action::controlFans:
        return "org.quillon.Quillon.smchelper.control-fans";
    case Action::lidStayAwake:
        return "org.quillon.Quillon.smchelper.lid-stay-awake";
    }
    return "";
}

CallerAuthorization::Verdict CallerAuthorization::refused(Action action)
{
    return {false,
        action == Action::controlFans ? "not authorized to control the fans"
                                      : "not authorized to keep the machine awake with the lid closed"};
}

std::optional<CallerAuthorization::Verdict> CallerAuthorization::authorize(
    const Caller& caller, Action action, Callback later)
{
    if (caller.uid == kRootUid)
        return Verdict{true, {}};
    if (m_mode == Mode::sameUser || !m_polkit) {
        if (caller.uid == m_helperUid)
            return Verdict{true, {}};
        return refused(action);
    }
    int& callerPending = m_pendingByCaller[caller.busName];
    if (m_pending >= kMaxPendingChecks || callerPending >= kMaxPendingPerCaller) {
        if (callerPending == 0)
            m_pendingByCaller.erase(caller.busName);
        return Verdict{false, "busy: too many requests waiting for authorization"};
    }

    ++m_pending;
    ++callerPending;
    m_polkit->check(caller.busName, actionId(action),
        [this, busName = caller.busName, uid = caller.uid, action, later = std::move(later)](
            const PolkitAuthority::Answer& answer) {
            --m_pending;
            if (--m_pendingByCaller[busName] <= 0)
                m_pendingByCaller.erase(busName);
            if (answer.authorized) {
                m_grantedUid = uid;
                later({true, {}});
            } else if (!answer.error.empty()) {
                later({false, "authorization check failed: " + answer.error});
            } else {
                later(refused(action));
            }
        });
    return std::nullopt;
}

bool CallerAuthorization::countsAsContact(std::uint32_t uid) const
{
    if (uid == kRootUid)
        return true;
    if (m_mode == Mode::sameUser || !m_polkit)
        return uid == m_helperUid;
    return m_grantedUid == uid;
}

} // namespace quillon::daemon
