#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QRect>
#include <QVariantMap>
#include <memory>

class QQuickView;

namespace quillon::ui {

// The menu panel's window: a frameless, always-on-top tool window holding
// qml/Panel.qml, sized by the panel's content, placed by PanelPlacement,
// and closed when it loses the keyboard focus (the user clicked elsewhere)
// or on Escape. The QML is loaded on the first show, so an app whose panel
// is never opened carries no QML scene.
class PanelWindow : public QObject {
    Q_OBJECT
public:
    // A click on the tray icon takes the focus from the panel before the
    // click arrives; a close by focus loss this recent makes that click close
    // the panel rather than open it again.
    static constexpr int kRefocusGraceMs = 300;

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
    // The window, once made; null before the first show.
    QQuickView* view() const { return m_view.get(); }

signals:
    void shownChanged(bool shown);

private:
    void create();
    void place();

    QVariantMap m_objects;
    std::unique_ptr<QQuickView> m_view;
    QRect m_icon;
    QElapsedTimer m_lostFocus;
};

} // namespace quillon::ui
