#include "TempsTool.h"

#include "TextFormat.h"

#include "core/ThermalCurve.h"
#include "daemon/SensorKeyRule.h"
#include "daemon/TempKeyDiscovery.h"
#include "smc/SmcCodes.h"

namespace quillon::cli {

namespace {

const char* groupOf(smc::SmcGeneration generation, const std::string& key)
{
    if (daemon::SensorKeyRule::isGpuKey(generation, key))
        return "GPU";
    if (key.starts_with("Te"))
        return "E-Core";
    return "CPU";
}

} // namespace

int TempsTool::run(ToolContext& context)
{
    using core::ThermalCurve;
    if (const std::uint32_t rc = context.smc.open(); rc != smc::SmcStatus::kSuccess) {
        context.out << "csmc_open failed: " << TextFormat::status(rc) << '\n';
        context.out << TextFormat::fanControlLine(context.smc.fanControlUnavailable());
        return ExitStatus::failed;
    }
    context.out << "=== Safety-Sensoren (CPU-Kerne + GPU) ===\n";
    context.out << TextFormat::fanControlLine(context.smc.fanControlUnavailable());
    const auto readings = daemon::TempKeyDiscovery::discover(context.smc, daemon::TempKeyDiscovery::Rule::safety);
    const daemon::TempKeyDiscovery::Reading* hottest = nullptr;
    for (const auto& reading : readings) {
        context.out << TextFormat::format("  %s  %5.1f°C   [%s]\n", reading.key.c_str(), reading.celsius,
            groupOf(context.smc.generation(), reading.key));
        // Strictly greater: the first of equally hot sensors stays the hottest.
        if (!hottest || reading.celsius > hottest->celsius)
            hottest = &reading;
    }
    if (!hottest) {
        context.out << "→ Kein Safety-Sensor lesbar\n";
        return ExitStatus::failed;
    }
    context.out << TextFormat::format("→ Heißester Safety-Sensor: %s = %.1f°C → Kurve fordert %.0f%%, kritisch=%s\n",
        hottest->key.c_str(), hottest->celsius, ThermalCurve::requiredPercent(hottest->celsius),
        ThermalCurve::isCritical(hottest->celsius) ? "JA" : "nein");
    return ExitStatus::ok;
}

} // namespace quillon::cli
