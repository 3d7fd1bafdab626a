#pragma once

#include "DaemonHarness.h"

#include <QImage>
#include <QRect>
#include <QString>
#include <optional>

namespace quillon::test {

// A virtual X display (Xvfb) with a system tray (trayer) at its top right,
// and the X tools a test drives it with: xdotool for windows and clicks,
// quillon-screengrab for pictures.
class XDisplay {
public:
    XDisplay();
    ~XDisplay();
    bool ready() const { return !m_name.isEmpty() && m_trayReady; }
    // ":N", for DISPLAY.
    const QString& name() const { return m_name; }

    // The visible windows of a WM_CLASS instance name, with their frames.
    struct Window {
        qulonglong id;
        QRect frame;
    };
    QList<Window> visibleWindows(const QString& instance) const;
    // A left click at the centre of a window.
    void click(const Window& window) const;
    // A left click at a point of a window, relative to its top left corner.
    void click(const Window& window, const QPoint& at) const;
    // Focuses a window and types keys into it (xdotool key names: "Right", "Return").
    void key(const Window& window, const QString& keys) const;
    // A picture of a window (0: the whole screen), also saved to path.
    QImage grab(const QString& path, qulonglong window = 0) const;

private:
    void start();
    QString run(const QString& program, const QStringList& args) const;

    LineProcess m_xvfb;
    LineProcess m_tray;
    QString m_name;
    bool m_trayReady = false;
};

} // namespace quillon::test
