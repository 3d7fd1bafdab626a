#pragma once

#include "ui/tray/IconState.h"

#include <QJsonObject>

namespace quillon::app {
class SleepManager;
}

namespace quillon::ui {

// The app's state as `quillon ctl status` prints it (the layout is
// documented with the Status method in data/dbus/org.quillon.Quillon.xml).
class StatusReport {
public:
    StatusReport() = delete;

    static QJsonObject build(const app::SleepManager& manager, bool helperConnected, const IconState& icon);
};

} // namespace quillon::ui
