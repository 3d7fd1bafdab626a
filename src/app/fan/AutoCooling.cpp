#include "AutoCooling.h"

#include "FanTemperatures.h"

#include <algorithm>

namespace quillon::app {

void AutoCooling::setActive(bool on)
{
    m_active = on;
    if (on)
        emit changed();
    else
        disengage();
}

void AutoCooling::disengage()
{
    m_engaged = false;
    m_floor = 0;
    emit changed();
}

bool AutoCooling::request(std::optional<Kind> kind, const QString& source)
{
    const std::optional<Kind> strongest = m_merge.request(kind, source);
    if (strongest == m_trigger)
        return false;
    m_trigger = strongest;
    emit changed();
    return true;
}

AutoCooling::Step AutoCooling::evaluate(
    const Choice& choice, const FanTemperatures& temperatures, double sentPercent, bool force)
{
    const bool profileOn = choice.mode == CoolingMode::automatic && m_active;
    if (!profileOn && !m_trigger)
        return Step::none;
    // A trigger's profile replaces the user's; the two are not combined.
    const Kind kind = m_trigger.value_or(choice.profile);
    const double cpu = temperatures.cpuSmoothed().value_or(temperatures.cpu().value_or(0.0));
    const double t = std::max(cpu, temperatures.gpuSmoothed().value_or(0.0));
    if (t <= 0)
        return Step::none; // no reading yet
    const double base = choice.fansEnabled && choice.mode == CoolingMode::manual ? choice.manualPercent : 0.0;
    const CoolingMerge::Decision decision = m_merge.evaluate(kind, t, base, sentPercent, m_engaged, force);
    if (decision.floor != m_floor) {
        m_floor = decision.floor;
        emit changed();
    }
    switch (decision.action) {
    case CoolingMerge::Action::none:
        return Step::none;
    case CoolingMerge::Action::release:
        m_engaged = false;
        emit changed();
        return Step::release;
    case CoolingMerge::Action::send:
        if (!m_engaged) {
            m_engaged = true;
            emit changed();
        }
        return Step::send;
    }
    return Step::none;
}

std::optional<AutoCooling::Kind> AutoCooling::powerProfile(const Choice& choice) const
{
    if (m_trigger)
        return m_trigger;
    if (choice.fansEnabled)
        return choice.profile;
    return std::nullopt;
}

} // namespace quillon::app
