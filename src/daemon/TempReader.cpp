#include "TempReader.h"

#include <algorithm>

namespace quillon::daemon {

namespace {
void add(TempReader::Summary& summary, std::optional<double> value, double lowC, double highC)
{
    if (!value || !(*value > lowC && *value < highC))
        return;
    summary.hottest = summary.count == 0 ? *value : std::max(summary.hottest, *value);
    summary.sum += *value;
    ++summary.count;
}
} // namespace

TempReader::TempReader(smc::SmcConnection& smc, std::vector<std::string> safetyKeys,
    const std::vector<std::string>& cpuKeys, const std::vector<std::string>& gpuKeys,
    std::chrono::nanoseconds maxReuseAge)
    : m_smc(smc)
    , m_safetyKeys(std::move(safetyKeys))
    , m_cpuKeys(indexed(cpuKeys))
    , m_gpuKeys(indexed(gpuKeys))
    , m_maxReuseAge(maxReuseAge)
    , m_safetyValues(m_safetyKeys.size())
{
}

std::vector<TempReader::Key> TempReader::indexed(const std::vector<std::string>& keys) const
{
    std::vector<Key> result;
    for (const std::string& key : keys) {
        const auto found = std::find(m_safetyKeys.begin(), m_safetyKeys.end(), key);
        result.push_back({key, found == m_safetyKeys.end() ? -1 : static_cast<int>(found - m_safetyKeys.begin())});
    }
    return result;
}

TempReader::Summary TempReader::safety(std::chrono::nanoseconds now, double lowC, double highC)
{
    Summary summary;
    for (std::size_t i = 0; i < m_safetyKeys.size(); ++i) {
        m_safetyValues[i] = m_smc.readNumber(m_safetyKeys[i]);
        add(summary, m_safetyValues[i], lowC, highC);
    }
    m_safetyAt = now;
    return summary;
}

TempReader::Summary TempReader::cpu(std::chrono::nanoseconds now, double lowC, double highC)
{
    return read(m_cpuKeys, now, lowC, highC);
}

TempReader::Summary TempReader::gpu(std::chrono::nanoseconds now, double lowC, double highC)
{
    return read(m_gpuKeys, now, lowC, highC);
}

TempReader::Summary TempReader::read(
    const std::vector<Key>& keys, std::chrono::nanoseconds now, double lowC, double highC)
{
    const bool reuse = m_safetyAt && now - *m_safetyAt < m_maxReuseAge;
    Summary summary;
    for (const Key& key : keys) {
        const bool known = reuse && key.safetyIndex >= 0;
        add(summary, known ? m_safetyValues[static_cast<std::size_t>(key.safetyIndex)] : m_smc.readNumber(key.name),
            lowC, highC);
    }
    return summary;
}

} // namespace quillon::daemon
