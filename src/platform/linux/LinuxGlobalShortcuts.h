#pragma once

#include "platform/GlobalShortcuts.h"

#include <QDBusConnection>
#include <memory>

namespace quillon::platform::linux_ {

class PortalGlobalShortcuts;
class X11GlobalShortcuts;

// The Linux choice of mechanism: the GlobalShortcuts portal where the
// session has one that binds them (also when it binds only some: the user
// decides there); otherwise (no portal, a refusal, no answer) X11 key grabs
// when the app runs on X11; otherwise nothing, with the reason in
// state().problem.
//
// The portal gets portalAnswerMs to answer where X11 could take over, and
// confirmMs where nothing could: there its desktop may first ask the user
// (GNOME shows a dialog), and giving up early would leave no shortcuts.
class LinuxGlobalShortcuts : public GlobalShortcuts {
    Q_OBJECT
public:
    static constexpr int defaultPortalAnswerMs = 2000;
    static constexpr int defaultConfirmMs = 120000;

    explicit LinuxGlobalShortcuts(QDBusConnection sessionBus, int portalAnswerMs = defaultPortalAnswerMs,
        int confirmMs = defaultConfirmMs, QObject* parent = nullptr);
    ~LinuxGlobalShortcuts() override;

    void registerShortcuts(const QList<Shortcut>& shortcuts) override;
    void unregisterShortcuts() override;
    State state() const override { return m_state; }

private:
    void portalChanged();
    void tryX11(const QString& portalProblem);
    void setState(State state);

    std::unique_ptr<PortalGlobalShortcuts> m_portal;
    std::unique_ptr<X11GlobalShortcuts> m_x11; // made at the first fallback
    QList<Shortcut> m_shortcuts;
    bool m_wanted = false;
    bool m_onX11 = false;
    int m_portalAnswerMs;
    int m_confirmMs;
    State m_state;
};

} // namespace quillon::platform::linux_
