#include "TempKeyDiscovery.h"

#include "SensorKeyRule.h"

#include "smc/SmcCodes.h"

#include <string_view>

namespace quillon::daemon {

namespace {

constexpr double kPlausibleLowC = 5.0;
constexpr double kPlausibleHighC = 120.0;

bool matches(TempKeyDiscovery::Rule rule, smc::SmcGeneration generation, std::string_view key)
{
    if (rule == TempKeyDiscovery::Rule::safety)
        return SensorKeyRule::isSafetyKey(generation, key);
    return SensorKeyRule::isCpuKey(generation, key);
}

} // namespace

std::vector<TempKeyDiscovery::Reading> TempKeyDiscovery::discover(smc::SmcConnection& smc, Rule rule)
{
    std::vector<Reading> found;
    const smc::SmcGeneration generation = smc.generation();
    const std::uint32_t count = smc.keyCount();
    for (std::uint32_t i = 0; i < count; ++i) {
        char name[5];
        if (smc.keyAtIndex(i, name) != smc::SmcStatus::kSuccess || !matches(rule, generation, name))
            continue;
        std::uint32_t size = 0;
        std::uint32_t type = 0;
        if (smc.keyInfo(name, &size, &type, nullptr) != smc::SmcStatus::kSuccess
            || !SensorKeyRule::acceptsType(generation, type, size))
            continue;
        const std::optional<double> value = smc.readNumber(name);
        if (value && *value > kPlausibleLowC && *value < kPlausibleHighC)
            found.push_back({name, *value});
    }
    return found;
}

std::vector<std::string> TempKeyDiscovery::keys(smc::SmcConnection& smc, Rule rule)
{
    std::vector<std::string> names;
    for (Reading& reading : discover(smc, rule))
        names.push_back(std::move(reading.key));
    return names;
}

} // namespace quillon::daemon
