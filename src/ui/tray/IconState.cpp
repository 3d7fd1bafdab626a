#include "IconState.h"

namespace quillon::ui {

IconState IconState::of(bool active, bool showTemperature, std::optional<double> smoothedCpu,
    std::optional<double> rawCpu, const QString& paused)
{
    IconState state{active, {}, paused};
    const std::optional<double> celsius = smoothedCpu ? smoothedCpu : rawCpu;
    if (showTemperature && celsius)
        state.title = QString::asprintf(" %.0f°", *celsius);
    return state;
}

} // namespace quillon::ui
