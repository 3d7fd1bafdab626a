#pragma once

#include <QString>
#include <optional>

namespace quillon::app {

// The power line of the render screens. Each case carries only its own
// values; the others stay 0 / absent, so equality compares like with like.
struct RenderPowerStatus {
    enum class Case {
        charging,       // on mains, charging at `watts`
        notEnoughPower, // on mains but the battery drains
        batteryLow,     // on battery at 20 % or less
        onBattery,      // on battery above 20 %
        fullOnAC,       // on mains, nothing flowing (or no battery)
    };

    Case kind = Case::fullOnAC;
    double watts = 0.0;
    int percent = 0;
    std::optional<int> minutesLeft;

    static RenderPowerStatus charging(double w) { return {Case::charging, w, 0, std::nullopt}; }
    static RenderPowerStatus notEnoughPower(std::optional<int> minutes)
    {
        return {Case::notEnoughPower, 0.0, 0, minutes};
    }
    static RenderPowerStatus batteryLow(int pct, std::optional<int> minutes)
    {
        return {Case::batteryLow, 0.0, pct, minutes};
    }
    static RenderPowerStatus onBattery(int pct, std::optional<int> minutes)
    {
        return {Case::onBattery, 0.0, pct, minutes};
    }
    static RenderPowerStatus fullOnAC() { return {Case::fullOnAC, 0.0, 0, std::nullopt}; }

    bool operator==(const RenderPowerStatus&) const = default;

    // "On battery · 57% · ~2:01 h left" and so on, in the language of the
    // installed translator.
    QString text() const;
};

} // namespace quillon::app
