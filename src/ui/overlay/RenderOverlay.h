#pragma once

#include <QObject>
#include <memory>
#include <vector>

class QScreen;

namespace quillon::ui {

class RenderView;

// Shows Render Mode's dim overlay full-screen on every screen while Render
// Mode is on, and on screens plugged in meanwhile; hides it when Render Mode
// goes off, whoever switched it off. On X11 the server paints the dim
// (OverlayBackdrop); elsewhere the whole screen is drawn (qml/RenderOverlay.qml).
class RenderOverlay : public QObject {
    Q_OBJECT
public:
    explicit RenderOverlay(RenderView& view, QObject* parent = nullptr);
    ~RenderOverlay() override;

    // Rebuilds the windows after a language change.
    void retranslate();

private:
    void sync();
    void dropWindows();
    std::unique_ptr<QObject> drawnOverlay(QScreen* screen);

    RenderView& m_view;
    // One per screen: an OverlayBackdrop, or a QmlView of the drawn overlay.
    std::vector<std::unique_ptr<QObject>> m_windows;
};

} // namespace quillon::ui
