#pragma once

#include "smc/SmcConnection.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace quillon::daemon {

// Reads the helper's temperature keys: the safety sensors for the control
// loop, the CPU and GPU keys for the status. Most CPU and GPU keys are
// safety sensors too: while the last reading of the safety sensors is
// younger than maxReuseAge, the status takes their values from it instead of
// asking the SMC again. Each caller applies its own plausible range.
class TempReader {
public:
    // The readings that succeeded strictly between a low and a high bound.
    struct Summary {
        int count = 0;
        double sum = 0;
        double hottest = 0;
    };

    TempReader(smc::SmcConnection& smc, std::vector<std::string> safetyKeys, const std::vector<std::string>& cpuKeys,
        const std::vector<std::string>& gpuKeys, std::chrono::nanoseconds maxReuseAge);

    // Reads every safety sensor now.
    Summary safety(std::chrono::nanoseconds now, double lowC, double highC);
    Summary cpu(std::chrono::nanoseconds now, double lowC, double highC);
    Summary gpu(std::chrono::nanoseconds now, double lowC, double highC);
    // Drops the last safety reading (a sleep makes it worthless).
    void forget() { m_safetyAt.reset(); }

private:
    struct Key {
        std::string name;
        int safetyIndex; // its place among the safety sensors, or -1
    };
    std::vector<Key> indexed(const std::vector<std::string>& keys) const;
    Summary read(const std::vector<Key>& keys, std::chrono::nanoseconds now, double lowC, double highC);

    smc::SmcConnection& m_smc;
    std::vector<std::string> m_safetyKeys;
    std::vector<Key> m_cpuKeys;
    std::vector<Key> m_gpuKeys;
    std::chrono::nanoseconds m_maxReuseAge;
    std::vector<std::optional<double>> m_safetyValues; // the last reading, per safety key
    std::optional<std::chrono::nanoseconds> m_safetyAt;
};

} // namespace quillon::daemon
