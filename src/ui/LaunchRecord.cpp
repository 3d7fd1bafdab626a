#include "LaunchRecord.h"

#include "app/Settings.h"

namespace quillon::ui {

bool LaunchRecord::recordLaunch(app::Settings& settings, const QString& build)
{
    const auto previous = settings.text(app::Settings::Key::lastLaunchedBuild);
    settings.setText(app::Settings::Key::lastLaunchedBuild, build);
    return previous != build;
}

} // namespace quillon::ui
