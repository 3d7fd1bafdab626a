#pragma once

#include "ui/QmlView.h"

#include <QObject>
#include <memory>

namespace quillon::ui {

class SettingsView;

// The one settings window ("Quillon Settings"), holding qml/Settings.qml
// over a SettingsView. Made at its first opening and kept: opening it again
// raises the same window. Main thread only.
class SettingsController : public QObject {
    Q_OBJECT
public:
    explicit SettingsController(SettingsView& view, QObject* parent = nullptr);
    ~SettingsController() override;

    // Shows the window, or brings it to the front when it is open.
    void show();
    bool isVisible() const;
    // Reloads the title and every qsTr text (after a change of language).
    void retranslate();
    // The window, once made; null before the first show.
    QQuickView* window() const { return m_window ? m_window->get() : nullptr; }

private:
    void create();

    SettingsView& m_view;
    std::unique_ptr<QmlView> m_window;
};

} // namespace quillon::ui
