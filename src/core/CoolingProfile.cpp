#include "CoolingProfile.h"

#include <cmath>

namespace quillon::core {

namespace {

using Point = CoolingProfile::Point;

// Silent never reaches 100 %: above its last point the helper's thermal curve takes over.
constexpr std::array<Point, 4> silentPoints{{{62, 0}, {72, 15}, {82, 35}, {92, 65}}};
constexpr std::array<Point, 4> balancedPoints{{{52, 0}, {62, 25}, {75, 65}, {86, 100}}};
constexpr std::array<Point, 4> maxPoints{{{40, 35}, {55, 60}, {68, 90}, {74, 100}}};

// Upper limit first, then lower, with fmin/fmax so that a NaN becomes 100.
double limitPercent(double percent)
{
    return std::fmax(0.0, std::fmin(100.0, percent));
}

} // namespace

std::string_view CoolingProfile::rawValue(Kind kind)
{
    switch (kind) {
    case Kind::silent:
        return "silent";
    case Kind::balanced:
        return "balanced";
    case Kind::max:
        return "max";
    }
    return "balanced";
}

std::optional<CoolingProfile::Kind> CoolingProfile::fromRawValue(std::string_view raw)
{
    for (const Kind kind : allCases) {
        if (rawValue(kind) == raw)
            return kind;
    }
    return std::nullopt;
}

std::span<const Point> CoolingProfile::points(Kind kind)
{
    switch (kind) {
    case Kind::silent:
        return silentPoints;
    case Kind::balanced:
        return balancedPoints;
    case Kind::max:
        return maxPoints;
    }
    return balancedPoints;
}

double CoolingProfile::floorPercent(Kind kind, double tempC)
{
    return floorPercent(points(kind), tempC);
}

double CoolingProfile::floorPercent(std::span<const Point> p, double t)
{
    if (p.empty())
        return 0.0;
    if (t <= p.front().temp)
        return limitPercent(p.front().percent);
    if (p.back().temp <= t || p.size() == 1)
        return limitPercent(p.back().percent);
    // The scan continues only while t is strictly greater, so a NaN stops at the
    // first segment and interpolates to NaN, which limitPercent turns into 100.
    std::size_t i = 1;
    while (i + 1 < p.size() && t > p[i].temp)
        ++i;
    const Point& lo = p[i - 1];
    const Point& hi = p[i];
    const double span = hi.temp - lo.temp;
    const double f = span > 0 ? (t - lo.temp) / span : 0.0;
    return limitPercent(lo.percent + (hi.percent - lo.percent) * f);
}

double CoolingProfile::engageTempC(Kind kind)
{
    return engageTempC(points(kind));
}

double CoolingProfile::engageTempC(std::span<const Point> p)
{
    if (p.empty())
        return 100.0;
    if (p.front().percent > 0)
        return 0.0;
    for (const Point& point : p) {
        if (point.percent > 0)
            return point.temp;
    }
    return p.back().temp;
}

bool CoolingProfile::isAlwaysOn(Kind kind)
{
    const auto p = points(kind);
    return !p.empty() && p.front().percent > 0;
}

} // namespace quillon::core
