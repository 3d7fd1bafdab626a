#pragma once

#include "IconState.h"

#include <QObject>
#include <QRect>
#include <QTimer>
#include <memory>

class QDBusServiceWatcher;
class QSystemTrayIcon;

namespace quillon::platform {
class TrayColors;
}

namespace quillon::ui {

// The app's item in the system tray. Qt decides once per process whether
// it talks to a StatusNotifierItem host or embeds into an X11 tray, so the
// icon is made only once a tray is there: at once when the desktop's panel
// is up, otherwise as soon as one appears (the app may start before the
// panel at login), and after kMaxWaitS anyway.
class TrayIcon : public QObject {
    Q_OBJECT
public:
    static constexpr int kMaxWaitS = 30;

    explicit TrayIcon(const platform::TrayColors* colors = nullptr, QObject* parent = nullptr);
    ~TrayIcon() override;

    // Shows this state (re-drawn only when it differs from the last one).
    void show(const IconState& state);
    const IconState& state() const { return m_state; }
    // Where the icon is on screen; empty where the tray does not tell
    // (StatusNotifierItem hosts never do).
    QRect geometry() const;
    // The colour the gauge is drawn in now.
    QColor ink() const;

signals:
    // A click on the icon (any button that means "open").
    void clicked();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    static bool trayPresent();
    void waitForTray();
    void create();
    void redraw();

    const platform::TrayColors* m_colors;
    std::unique_ptr<QSystemTrayIcon> m_icon;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    QTimer m_poll;
    int m_waitedS = 0;
    IconState m_state;
    bool m_drawn = false;
};

} // namespace quillon::ui
