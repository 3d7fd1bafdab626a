#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

namespace quillon::ui {

// Where the menu panel opens. Next to the tray icon when the tray tells
// where the icon is (on the side away from the screen edge the icon sits
// at: below an icon in a top panel, above one in a bottom panel, beside one
// in a side panel); otherwise against the screen edge nearest the pointer,
// which is where the tray the user just clicked must be. Always within the
// screen's available area (the part no desktop panel covers).
class PanelPlacement {
public:
    PanelPlacement() = delete;

    // Space between the panel and the icon or the screen edge, in pixels.
    static constexpr int kGap = 6;

    struct Screen {
        QRect geometry;  // the whole screen
        QRect available; // without the desktop's panels
    };

    // The panel's top-left corner. icon may be empty (unknown).
    static QPoint place(const QSize& panel, const QRect& icon, const QPoint& pointer, const Screen& screen);
};

} // namespace quillon::ui
