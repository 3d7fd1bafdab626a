#include "SimThermalModel.h"

#include <algorithm>
#include <cmath>

namespace quillon::smc {

namespace {
constexpr double kMaxStepS = 0.1;
constexpr double kMaxGapS = 60.0;
// Heat above ambient at no load, and per percent of load.
constexpr double kIdleHeatC = 14.0;
constexpr double kHeatPerLoadC = 0.72;
// How much of that heat the fans remove at full speed.
constexpr double kFanCoolingShare = 0.45;
} // namespace

SimThermalModel::SimThermalModel(std::vector<Fan> fans, double loadPercent)
    : m_fans(std::move(fans))
    , m_loadPercent(std::clamp(loadPercent, 0.0, 100.0))
    , m_dieC(ambientC)
{
    for (Fan& fan : m_fans)
        fan.actualRpm = fan.minRpm;
    m_dieC = equilibriumC();
}

void SimThermalModel::setLoadPercent(double percent)
{
    m_loadPercent = std::isfinite(percent) ? std::clamp(percent, 0.0, 100.0) : m_loadPercent;
}

void SimThermalModel::setManual(std::size_t fan, bool manual)
{
    if (fan < m_fans.size())
        m_fans[fan].manual = manual;
}

void SimThermalModel::setManualTarget(std::size_t fan, double rpm)
{
    if (fan < m_fans.size())
        m_fans[fan].manualTargetRpm = std::isfinite(rpm) && rpm > 0 ? rpm : 0.0;
}

double SimThermalModel::effectiveTargetRpm(std::size_t fan) const
{
    const Fan& f = m_fans.at(fan);
    const double ceiling = std::max(f.minRpm, f.maxRpm);
    if (f.manual)
        return std::clamp(f.manualTargetRpm, f.minRpm, ceiling);
    const double share = std::clamp((m_dieC - firmwareRampStartC) / firmwareRampC, 0.0, 1.0);
    return f.minRpm + share * (ceiling - f.minRpm);
}

double SimThermalModel::equilibriumC() const
{
    double cooling = 0;
    for (const Fan& fan : m_fans)
        cooling += fan.maxRpm > 0 ? fan.actualRpm / fan.maxRpm : 0.0;
    if (!m_fans.empty())
        cooling /= static_cast<double>(m_fans.size());
    const double heat = kIdleHeatC + kHeatPerLoadC * m_loadPercent;
    return ambientC + heat * (1.0 - kFanCoolingShare * std::clamp(cooling, 0.0, 1.0));
}

void SimThermalModel::advance(double seconds)
{
    if (!(seconds > 0))
        return;
    double left = std::min(seconds, kMaxGapS);
    while (left > 0) {
        const double h = std::min(left, kMaxStepS);
        step(h);
        left -= h;
    }
}

void SimThermalModel::step(double h)
{
    for (std::size_t i = 0; i < m_fans.size(); ++i) {
        Fan& fan = m_fans[i];
        const double target = effectiveTargetRpm(i);
        const double delta = target - fan.actualRpm;
        const double limit = (delta > 0 ? spinUpRpmPerS : spinDownRpmPerS) * h;
        fan.actualRpm += std::clamp(delta, -limit, limit);
    }
    if (m_heldDieC)
        m_dieC = *m_heldDieC;
    else
        m_dieC += (equilibriumC() - m_dieC) * (1.0 - std::exp(-h / dieTimeConstantS));
}

void SimThermalModel::holdDie(std::optional<double> celsius)
{
    m_heldDieC = celsius;
    if (celsius)
        m_dieC = *celsius;
}

} // namespace quillon::smc
