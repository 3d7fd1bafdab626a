#pragma once

#include <QString>

namespace quillon::app {
class SleepManager;
}

namespace quillon::ui {

// The scripting interface's fan commands, each one user action of the fan
// model (one command to the helper however many steps it takes). Each
// returns whether it holds and sets text to the answer a script reads;
// without the fan helper they are refused. Callers are admitted already.
// Main thread only; manager must outlive this.
class FanCommands {
public:
    explicit FanCommands(app::SleepManager& manager);

    // Hands the fans back to the firmware.
    bool off(QString& text);
    // Cooling follows profile ("silent", "balanced", "max"; "": the one chosen).
    bool automatic(const QString& profile, QString& text);
    // A floor of percent (0..100; below the floor's resolution: off) for
    // seconds (0: the boost duration chosen).
    bool manual(double percent, double seconds, QString& text);

private:
    bool available(QString& text) const;

    app::SleepManager& m_manager;
};

} // namespace quillon::ui
