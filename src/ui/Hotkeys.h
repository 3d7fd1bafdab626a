#pragma once

#include "platform/GlobalShortcuts.h"

#include <QObject>
#include <functional>

namespace quillon::app {
class Settings;
}

namespace quillon::ui {

// The two system-wide shortcuts: Super+Alt+K toggles keep-awake,
// Super+Alt+L the fan control (the Mac's Cmd+Option+K/L). Knows nothing of
// what they do: a press is handed to the handler the app delegate sets, on
// the main thread, after the press's own event has been handled. The
// settings switch them on and off. Main thread only.
class Hotkeys : public QObject {
    Q_OBJECT
public:
    enum class Action {
        toggleKeepAwake,
        toggleFanBoost
    };
    using Handler = std::function<void(Action)>;

    // The shortcut ids the platform reports presses by.
    static constexpr const char* keepAwakeId = "toggle-keep-awake";
    static constexpr const char* fanBoostId = "toggle-fan-boost";

    explicit Hotkeys(platform::GlobalShortcuts& shortcuts, QObject* parent = nullptr);
    ~Hotkeys() override;

    void setHandler(Handler handler) { m_handler = std::move(handler); }
    // Registers (on) or gives up (off) both shortcuts; switching to the
    // state already in place does nothing.
    void setEnabled(bool on);
    bool installed() const { return m_installed; }
    // Switches by "hotkeysEnabled" now (on when absent or not a Boolean) and
    // again whenever the key changes, as the settings window changes it.
    void followSetting(app::Settings& settings);
    // Whether the platform holds them now, through what, or why not.
    platform::GlobalShortcuts::State state() const { return m_shortcuts.state(); }

    // The shortcuts as the platform is asked for them.
    static QList<platform::GlobalShortcuts::Shortcut> shortcuts();

signals:
    // Switched on or off, or the platform's hold changed.
    void stateChanged();

private:
    void pressed(const QString& id);

    platform::GlobalShortcuts& m_shortcuts;
    Handler m_handler;
    bool m_installed = false;
};

} // namespace quillon::ui
