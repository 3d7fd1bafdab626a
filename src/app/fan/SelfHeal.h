#pragma once

namespace quillon::app {

// Notices the helper holding what the app does not want (the fans forced,
// the lid lock) and says what to let go, on the fifth status in a row that
// shows it: before that the helper may simply not have caught up yet.
class SelfHeal {
public:
    // Mismatching polls tolerated before the next one acts.
    static constexpr int kPatience = 4;

    struct Release {
        bool fans = false;
        bool lid = false;
    };

    // One status' comparison of what the helper holds with what the app
    // wants; what to release now (nothing, mostly). Logs when it acts.
    Release check(bool helperForcesFans, bool helperHoldsLid, bool wantsFans, bool wantsLid);

private:
    int m_mismatches = 0;
};

} // namespace quillon::app
