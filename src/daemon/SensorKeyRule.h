#pragma once

#include "smc/SmcGeneration.h"

#include <cstdint>
#include <string_view>

namespace quillon::daemon {

// Which temperature keys the helper reads, by SMC generation.
//
// Apple silicon: the CPU keys begin "Tp" or "Tc"; the safety keys are those
// core::ThermalCurve::isSafetyTempKey accepts (Tp, Te, Tc, Tg); the GPU keys
// are the safety keys beginning "Tg"; every one is a 4-byte "flt ".
//
// Intel (with or without T2): the CPU keys are TC0C, TC0D, TC0E, TC0F, TC0P,
// TC1C..TC9C (per core) and TCXC (PECI); the GPU keys are TG0D..TG9D, TG0P,
// TG0T and TCGC (integrated GPU); the safety keys are both sets. Values are
// "sp78" or "flt ". Lower-case keys mean other things here: "Tp0P" is the
// power supply, so Apple silicon's rule would pick the wrong sensors.
class SensorKeyRule {
public:
    SensorKeyRule() = delete;

    static bool isCpuKey(smc::SmcGeneration generation, std::string_view key);
    static bool isSafetyKey(smc::SmcGeneration generation, std::string_view key);
    static bool isGpuKey(smc::SmcGeneration generation, std::string_view key);
    // Whether a key of this type and size is read as a temperature.
    static bool acceptsType(smc::SmcGeneration generation, std::uint32_t type, std::uint32_t size);
};

} // namespace quillon::daemon
