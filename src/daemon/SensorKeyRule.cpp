#include "SensorKeyRule.h"

#include "core/ThermalCurve.h"
#include "smc/FourCC.h"
#include "smc/SmcNumber.h"

#include <algorithm>

namespace quillon::daemon {

namespace {

using smc::SmcGeneration;

bool isDigit(char c)
{
    return c >= '1' && c <= '9';
}

bool isIntelCpuKey(std::string_view key)
{
    static constexpr std::string_view kFixed[] = {"TC0C", "TC0D", "TC0E", "TC0F", "TC0P", "TCXC"};
    if (std::find(std::begin(kFixed), std::end(kFixed), key) != std::end(kFixed))
        return true;
    return key.size() == 4 && key.starts_with("TC") && isDigit(key[2]) && key[3] == 'C';
}

bool isIntelGpuKey(std::string_view key)
{
    static constexpr std::string_view kFixed[] = {"TG0P", "TG0T", "TCGC"};
    if (std::find(std::begin(kFixed), std::end(kFixed), key) != std::end(kFixed))
        return true;
    return key.size() == 4 && key.starts_with("TG") && (key[2] == '0' || isDigit(key[2])) && key[3] == 'D';
}

} // namespace

bool SensorKeyRule::isCpuKey(SmcGeneration generation, std::string_view key)
{
    if (generation == SmcGeneration::intel)
        return isIntelCpuKey(key);
    return key.starts_with("Tp") || key.starts_with("Tc");
}

bool SensorKeyRule::isSafetyKey(SmcGeneration generation, std::string_view key)
{
    if (generation == SmcGeneration::intel)
        return isIntelCpuKey(key) || isIntelGpuKey(key);
    return core::ThermalCurve::isSafetyTempKey(key);
}

bool SensorKeyRule::isGpuKey(SmcGeneration generation, std::string_view key)
{
    if (generation == SmcGeneration::intel)
        return isIntelGpuKey(key);
    return core::ThermalCurve::isSafetyTempKey(key) && key.starts_with("Tg");
}

bool SensorKeyRule::acceptsType(SmcGeneration generation, std::uint32_t type, std::uint32_t size)
{
    if (generation == SmcGeneration::intel)
        return smc::SmcNumber::isTemperatureType(type, size);
    return type == smc::SmcType::flt && size == 4;
}

} // namespace quillon::daemon
