#pragma once

#include <QString>
#include <optional>

namespace quillon::app {

// How the user's fan floor is chosen: fixed (manual) or from a cooling profile (auto).
// (`auto` is a C++ keyword, hence `automatic`; its stored value is "auto".)
enum class CoolingMode {
    manual,
    automatic
};

inline QString rawValue(CoolingMode mode)
{
    return mode == CoolingMode::manual ? QStringLiteral("manual") : QStringLiteral("auto");
}

inline std::optional<CoolingMode> coolingModeFromRaw(const QString& raw)
{
    if (raw == QLatin1String("manual"))
        return CoolingMode::manual;
    if (raw == QLatin1String("auto"))
        return CoolingMode::automatic;
    return std::nullopt;
}

} // namespace quillon::app
