#include "CoolingMerge.h"

#include "core/FanFloor.h"

#include <algorithm>
#include <cmath>

namespace quillon::app {

std::optional<CoolingMerge::Kind> CoolingMerge::request(std::optional<Kind> kind, const QString& source)
{
    if (kind)
        m_requests.insert(source, *kind);
    else
        m_requests.remove(source);
    std::optional<Kind> strongest;
    for (const Kind requested : std::as_const(m_requests)) {
        if (!strongest || requested > *strongest)
            strongest = requested;
    }
    return strongest;
}

CoolingMerge::Decision CoolingMerge::evaluate(
    Kind kind, double tempC, double base, double sentPercent, bool engaged, bool force)
{
    double floor = std::max(base, core::CoolingProfile::floorPercent(kind, tempC));
    if (floor < core::FanFloor::resolutionPercent)
        floor = 0; // too fine to move a fan
    if (floor <= 0) {
        ++m_zeroTicks;
        return {0, engaged && m_zeroTicks > kReleaseAfterZeroTicks ? Action::release : Action::none};
    }
    m_zeroTicks = 0;
    if (engaged && !force && std::abs(floor - sentPercent) < kResendDeltaPercent)
        return {floor, Action::none};
    return {floor, Action::send};
}

} // namespace quillon::app
