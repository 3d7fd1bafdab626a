#pragma once

#include "ui/QmlView.h"

#include <QObject>
#include <memory>

namespace quillon::ui {

class SettingsView;

// The one settings window ("Quillon Settings"), holding qml/Settings.qml
// over a SettingsView. Made when opened and released releaseAfterMs after
// it closed: opening it meanwhile raises the same window. Main thread only.
class SettingsController : public QObject {
    Q_OBJECT
public:
    static constexpr int releaseAfterMs = 60000;

    explicit SettingsController(SettingsView& view, QObject* parent = nullptr);
    ~SettingsController() override;

    // Shows the window, or brings it to the front when it is open.
    void show();
    bool isVisible() const;
    // Reloads the title and every qsTr text (after a change of language).
    void retranslate();
    // The window while it is loaded; null before the first show and once released.
    QQuickView* window() const { return m_window ? m_window->get() : nullptr; }
    // How long the closed window is kept (shorter in tests).
    void setReleaseDelay(int ms) { m_releaseAfterMs = ms; }

private:
    void create();

    SettingsView& m_view;
    std::unique_ptr<QmlView> m_window;
    int m_releaseAfterMs = releaseAfterMs;
};

} // namespace quillon::ui
