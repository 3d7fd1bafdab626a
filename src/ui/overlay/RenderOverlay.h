#pragma once

#include "ui/QmlView.h"

#include <QObject>
#include <memory>
#include <vector>

namespace quillon::ui {

class RenderView;

// Shows Render Mode's dim overlay (qml/RenderOverlay.qml) full-screen on every
// screen while Render Mode is on, and on screens plugged in meanwhile; hides
// it when Render Mode goes off, whoever switched it off.
class RenderOverlay : public QObject {
    Q_OBJECT
public:
    explicit RenderOverlay(RenderView& view, QObject* parent = nullptr);
    ~RenderOverlay() override;

    // The overlay windows shown now, one per screen.
    const std::vector<std::unique_ptr<QmlView>>& windows() const { return m_windows; }
    // Rebuilds the windows after a language change.
    void retranslate();

private:
    void sync();
    void dropWindows();

    RenderView& m_view;
    std::vector<std::unique_ptr<QmlView>> m_windows;
};

} // namespace quillon::ui
