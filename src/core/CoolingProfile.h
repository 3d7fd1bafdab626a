#pragma once

#include <array>
#include <optional>
#include <span>
#include <string_view>

namespace quillon::core {

// The three named cooling profiles and their floor curves: temperature (°C) to
// the minimum fan percentage (0..100) the app asks the helper for. Pure and
// stateless; safe to call from any thread.
class CoolingProfile {
public:
    CoolingProfile() = delete;

    // In order of increasing cooling; when several requests meet, the strongest wins.
    enum class Kind {
        silent,
        balanced,
        max
    };

    struct Point {
        double temp;    // °C
        double percent; // 0..100
    };

    static constexpr std::array<Kind, 3> allCases{Kind::silent, Kind::balanced, Kind::max};

    // The persisted raw value ("silent", "balanced", "max"); also the kind's id.
    static std::string_view rawValue(Kind kind);
    // The kind for an exact raw value; anything else (including "Max") is no kind.
    static std::optional<Kind> fromRawValue(std::string_view raw);

    // The kind's curve, sorted by increasing temperature.
    static std::span<const Point> points(Kind kind);

    // The kind's floor at tempC: flat below the first and above the last point,
    // linear in between, limited to 0..100. NaN yields 100, as in ThermalCurve.
    static double floorPercent(Kind kind, double tempC);
    // The same rule over any sorted point list; an empty list yields 0.
    static double floorPercent(std::span<const Point> points, double tempC);

    // The temperature from which the kind demands anything: 0 when it demands
    // fan speed even when cold.
    static double engageTempC(Kind kind);
    static double engageTempC(std::span<const Point> points);

    // Whether the kind demands fan speed even when cold.
    static bool isAlwaysOn(Kind kind);
};

} // namespace quillon::core
