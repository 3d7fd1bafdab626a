#pragma once

#include <QString>

namespace quillon::app {
class Settings;
}

namespace quillon::ui {

// Which build ran last ("lastLaunchedBuild"), so that a new or updated build
// presents itself once: its panel opens by itself shortly after launch.
class LaunchRecord {
public:
    LaunchRecord() = delete;

    // How long after launch a new build opens its panel.
    static constexpr int kFirstOpenDelayMs = 700;

    // Stores build as the last launched one; true when it differs from the
    // one stored before (also on the very first launch).
    static bool recordLaunch(app::Settings& settings, const QString& build);
};

} // namespace quillon::ui
