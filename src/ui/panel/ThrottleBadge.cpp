#include "ThrottleBadge.h"

namespace quillon::ui {

std::optional<ThrottleBadge::Info> ThrottleBadge::info(platform::ThermalPressure::Level level)
{
    using Level = platform::ThermalPressure::Level;
    switch (level) {
    case Level::nominal:
        return std::nullopt;
    case Level::fair:
        return Info{tr("Elevated"), QColor::fromRgbF(0.8f, 0.66f, 0.1f)};
    case Level::serious:
        return Info{tr("Throttling"), QColor::fromRgbF(1.0f, 0.58f, 0.0f)};
    case Level::critical:
        break;
    }
    return Info{tr("Critical"), QColor::fromRgbF(1.0f, 0.23f, 0.19f)};
}

} // namespace quillon::ui
