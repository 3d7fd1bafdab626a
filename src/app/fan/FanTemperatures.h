#pragma once

#include "TemperatureHistory.h"

#include <QList>
#include <QVariantMap>
#include <optional>

namespace quillon::app {

// The CPU and GPU temperatures the helper reports, each with the median of
// its last kHistoryLimit readings (one spike is ignored), and the trend of
// the CPU's medians over the last kTrendLimit polls. Unlike the CPU reading,
// a missing GPU reading clears the current value; the smoothed one stays.
class FanTemperatures {
public:
    static constexpr qsizetype kHistoryLimit = 15;
    static constexpr qsizetype kTrendLimit = 90;

    // One status' readings; whether anything changed.
    bool apply(const QVariantMap& status);

    std::optional<double> cpu() const { return m_cpu; }
    std::optional<double> cpuSmoothed() const { return m_cpuSmoothed; }
    std::optional<double> gpu() const { return m_gpu; }
    std::optional<double> gpuSmoothed() const { return m_gpuSmoothed; }
    const QList<double>& cpuHistory() const { return m_cpuHistory.values(); }
    const QList<double>& gpuHistory() const { return m_gpuHistory.values(); }
    const QList<double>& trend() const { return m_trend.values(); }

private:
    std::optional<double> m_cpu;
    std::optional<double> m_cpuSmoothed;
    TemperatureHistory m_cpuHistory{kHistoryLimit};
    std::optional<double> m_gpu;
    std::optional<double> m_gpuSmoothed;
    TemperatureHistory m_gpuHistory{kHistoryLimit};
    TemperatureHistory m_trend{kTrendLimit};
};

} // namespace quillon::app
