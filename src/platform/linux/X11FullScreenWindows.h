#pragma once

#include "platform/FullScreenWindows.h"

#include <QSocketNotifier>
#include <memory>

struct xcb_connection_t;

namespace quillon::platform::linux_ {

// Full-screen windows on X11, through the window manager's EWMH hints: the
// root window's _NET_ACTIVE_WINDOW, and that window's _NET_WM_STATE holding
// _NET_WM_STATE_FULLSCREEN; its _NET_WM_PID and WM_CLASS say whose it is.
// Its own connection to the display, read when the server has something to
// say (property changes of the root and of the active window), so a window
// going full screen is known at once and nothing is polled.
//
// Under a Wayland compositor the X server (Xwayland) sees only X11 windows,
// and the compositors offer other applications no protocol that tells of
// full-screen windows, so there the watch is unsupported. Main thread only.
class X11FullScreenWindows : public FullScreenWindows {
    Q_OBJECT
public:
    // display: an X display name; empty: $DISPLAY. wayland: the session is
    // a Wayland one (see fromEnvironment).
    X11FullScreenWindows(const QString& display, bool wayland, QObject* parent = nullptr);
    ~X11FullScreenWindows() override;

    // $DISPLAY, and whether $XDG_SESSION_TYPE or $WAYLAND_DISPLAY say Wayland.
    static std::unique_ptr<X11FullScreenWindows> fromEnvironment(QObject* parent = nullptr);

    Support support() const override { return m_support; }
    void setWatching(bool on) override;
    std::optional<Window> current() override { return m_current; }

private:
    struct Atoms;

    bool connectDisplay();
    void disconnectDisplay();
    void onEvents();
    // Reads the active window afresh; changed() when what counts differs.
    void refresh();
    void follow(quint32 window);

    QString m_display;
    Support m_support = Support::available;
    bool m_watching = false;
    xcb_connection_t* m_connection = nullptr;
    quint32 m_root = 0;
    quint32 m_followed = 0; // the active window, whose property changes are asked for
    std::unique_ptr<Atoms> m_atoms;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::optional<Window> m_current;
};

} // namespace quillon::platform::linux_
