#pragma once

#include "ui/QmlView.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariantList>
#include <functional>
#include <memory>


namespace quillon::app {
class Settings;
}

namespace quillon::ui {

// The six-page welcome window (qml/Onboarding.qml): shown at launch when this
// version's intro has not been completed, and again on request ("Show intro
// again" in the settings). Completing it records the version under
// "onboardingSeenVersion" and, once the window has gone, calls onFinished
// (the app delegate opens the panel there). Closed early, nothing is
// recorded and onFinished is not called, so the intro comes back at the next
// launch. One window at a time; the QML is loaded when the window is made.
//
// The window's root gets this object as its "onboarding" property.
// Main thread only.
class OnboardingController : public QObject {
    Q_OBJECT
    // The pages in the current language; re-read after retranslate().
    Q_PROPERTY(QVariantList pages READ pages NOTIFY pagesChanged)
public:
    static constexpr int kWidth = 560;
    static constexpr int kHeight = 640;
    // From the window's closing after completion to onFinished.
    static constexpr int kFinishedDelayMs = 350;
    // In every language: the title bar is hidden, this names the window for
    // window lists and tools.
    static constexpr const char* kWindowTitle = "Willkommen bei Quillon";

    // version: this app's version, as "onboardingSeenVersion" records it.
    OnboardingController(app::Settings& settings, QString version, QObject* parent = nullptr);
    ~OnboardingController() override;

    // Called once the completed intro's window has gone.
    void setOnFinished(std::function<void()> onFinished) { m_onFinished = std::move(onFinished); }

    // show() unless this version's intro was completed; whether it showed.
    bool showIfFirstLaunch();
    // Brings an open window to the front (its page stays); otherwise makes one.
    void show();
    bool isOpen() const { return m_view != nullptr; }
    bool completedThisRun() const { return m_completedThisRun; }
    // The window while it is open; null otherwise.
    QQuickView* view() const { return m_view ? m_view->get() : nullptr; }

    QVariantList pages() const;
    // After a change of language: the pages and every qsTr text anew.
    void retranslate();

    // The last page's "Let's go!": records the version and closes the window.
    Q_INVOKABLE void finish();
    // Escape: closes the window without recording anything.
    Q_INVOKABLE void close();

signals:
    void pagesChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void create();
    void windowWillClose();

    app::Settings& m_settings;
    QString m_version;
    std::function<void()> m_onFinished;
    std::unique_ptr<QmlView> m_view;
    // A closed window, until its deferred deletion.
    QPointer<QmlView> m_closing;
    bool m_completedThisRun = false;
};

} // namespace quillon::ui
