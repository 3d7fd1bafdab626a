#pragma once

#include "ui/QmlView.h"

#include <QColor>
#include <QWindow>

class QScreen;

namespace quillon::ui {

class RenderView;

// One screen's Render Mode overlay on X11: a plain full-screen window whose
// dim the X server paints, so the app keeps no buffer the size of the screen,
// with two Qt Quick child windows only as large as what they show: the
// figures (qml/RenderOverlayContent.qml) centred, and the Exit button
// (qml/RenderOverlayExit.qml) centred 64 px above the bottom edge, as
// qml/RenderOverlay.qml lays them out where it draws the whole screen. Esc
// leaves Render Mode whichever of the windows has the keyboard.
class OverlayBackdrop : public QWindow {
    Q_OBJECT
public:
    OverlayBackdrop(QScreen* screen, RenderView& render);
    ~OverlayBackdrop() override;

    // The overlay's dim, translucent where a compositor blends it.
    static QColor dim() { return QColor(0x10, 0x12, 0x14, 0xe6); }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void place();

    RenderView& m_render;
    // Declared after the base: deleted before the window they sit in.
    QmlView m_content;
    QmlView m_exit;
};

} // namespace quillon::ui
