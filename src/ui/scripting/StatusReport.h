#pragma once

#include "platform/GlobalShortcuts.h"
#include "platform/PowerAssertionBackend.h"
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

    // The global shortcuts' part: whether they are switched on, and whether
    // and through what the desktop holds them, or why not.
    struct HotkeyStatus {
        bool enabled = false;
        platform::GlobalShortcuts::State state;
    };

    // others: who else holds the system awake, as the manager was told.
    static QJsonObject build(const app::SleepManager& manager, bool helperConnected, const IconState& icon,
        const HotkeyStatus& hotkeys, const platform::PowerAssertionBackend::OtherInhibitors& others);
};

} // namespace quillon::ui
