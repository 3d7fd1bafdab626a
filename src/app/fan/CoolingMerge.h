#pragma once

#include "core/CoolingProfile.h"

#include <QMap>
#include <QString>
#include <optional>

namespace quillon::app {

// Where automatic cooling's floor comes from and when it is worth sending.
// Other managers' cooling requests merge into one: the strongest kind wins
// (silent < balanced < max), and one source withdrawing leaves the others'.
// The floor is the cooling profile's at the temperature, raised to a manual
// floor where one stands; it is sent when cooling engages, when forced, or
// when it moved by kResendDeltaPercent or more, so the helper is not messaged
// every second. Cooling lets go only after more than kReleaseAfterZeroTicks
// zero floors in a row (about six seconds of polling); engaging has no delay.
class CoolingMerge {
public:
    using Kind = core::CoolingProfile::Kind;

    static constexpr double kResendDeltaPercent = 2.0;
    static constexpr int kReleaseAfterZeroTicks = 5;

    // source's request ("lid", "render", "apps"); no kind withdraws it.
    // The strongest request left, if any.
    std::optional<Kind> request(std::optional<Kind> kind, const QString& source);

    enum class Action {
        none,
        send,    // send the floor (cooling engages, or the floor moved)
        release, // hand the fans back: cooling has had nothing to do for long enough
    };
    struct Decision {
        double floor; // 0 below the floor's resolution
        Action action;
    };
    // One evaluation at tempC for kind. base: the manual floor in force (0
    // when none); sentPercent: the floor the helper has; engaged: automatic
    // cooling holds a floor there.
    Decision evaluate(Kind kind, double tempC, double base, double sentPercent, bool engaged, bool force);

private:
    QMap<QString, Kind> m_requests;
    int m_zeroTicks = 0;
};

} // namespace quillon::app
