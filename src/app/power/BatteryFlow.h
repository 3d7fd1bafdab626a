#pragma once

namespace quillon::app {

// Where the power goes: into the battery, out of it although on mains (the
// adapter cannot carry the load), out of it on battery, neither, or no
// battery at all. watts is the battery's power, always >= 0, and 0 for the
// cases without a flow.
struct BatteryFlow {
    enum class Case {
        charging,
        draining,
        onBattery,
        idleOnAC,
        noBattery
    };

    Case kind = Case::noBattery;
    double watts = 0.0;

    static BatteryFlow charging(double w) { return {Case::charging, w}; }
    static BatteryFlow draining(double w) { return {Case::draining, w}; }
    static BatteryFlow onBattery(double w) { return {Case::onBattery, w}; }
    static BatteryFlow idleOnAC() { return {Case::idleOnAC, 0.0}; }
    static BatteryFlow noBattery() { return {Case::noBattery, 0.0}; }

    bool operator==(const BatteryFlow&) const = default;
};

} // namespace quillon::app
