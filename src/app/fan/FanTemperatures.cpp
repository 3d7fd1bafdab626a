#include "FanTemperatures.h"

#include "StatusValue.h"

namespace quillon::app {

bool FanTemperatures::apply(const QVariantMap& status)
{
    bool changed = false;
    if (const auto cpu = StatusValue::finiteNumber(status.value("cpuTemp"))) {
        m_cpu = cpu;
        m_cpuHistory.append(*cpu);
        m_cpuSmoothed = m_cpuHistory.median();
        if (m_cpuSmoothed)
            m_trend.append(*m_cpuSmoothed);
        changed = true;
    }
    if (const auto gpu = StatusValue::finiteNumber(status.value("gpuTemp"))) {
        m_gpu = gpu;
        m_gpuHistory.append(*gpu);
        m_gpuSmoothed = m_gpuHistory.median();
        changed = true;
    } else if (m_gpu) {
        m_gpu.reset();
        changed = true;
    }
    return changed;
}

} // namespace quillon::app
