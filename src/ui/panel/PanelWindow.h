#pragma once

#include "ui/QmlView.h"

#include <QElapsedTimer>
#include <QObject>
#include <QRect>
#include <QVariantMap>
#include <memory>

namespace quillon::ui {

// The menu panel's window: a frameless, always-on-top tool window holding
// qml/Panel.qml, sized by the panel's content, placed by PanelPlacement,
// and closed when it loses the keyboard focus (the user clicked elsewhere)
// or on Escape. The QML is loaded when the panel is shown and released
// releaseAfterMs after it closed, so an app whose panel is not in use
// carries no QML scene; what it shows lives in the models it binds to.
class PanelWindow : public QObject {
    Q_OBJECT
public:
    // A click on the tray icon takes the focus from the panel before the
    // click arrives; a close by focus loss this recent makes that click close
    // the panel rather than open it again.
    static constexpr int kRefocusGraceMs = 300;
    static constexpr int releaseAfterMs = 60000;

    // objects: the root's required properties (models and views), by name.
    explicit PanelWindow(QVariantMap objects, QObject* parent = nullptr);
    ~PanelWindow() override;

    // Shows the panel next to the icon (empty: at the edge nearest the pointer).
    void show(const QRect& icon);
    void hide();
    bool isVisible() const;
    // Closed by a focus loss within the last kRefocusGraceMs.
    bool justLostFocus() const;
    // Reloads every qsTr text (after a change of language).
    void retranslate();
    // The window while it is loaded; null before the first show and once released.
    QQuickView* view() const { return m_view ? m_view->get() : nullptr; }
    // How long the closed panel's window is kept (shorter in tests).
    void setReleaseDelay(int ms) { m_releaseAfterMs = ms; }

signals:
    void shownChanged(bool shown);

private:
    void create();
    void place();

    QVariantMap m_objects;
    std::unique_ptr<QmlView> m_view;
    int m_releaseAfterMs = releaseAfterMs;
    QRect m_icon;
    QElapsedTimer m_lostFocus;
};

} // namespace quillon::ui
