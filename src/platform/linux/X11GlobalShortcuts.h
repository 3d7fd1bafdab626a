#pragma once

#include "platform/GlobalShortcuts.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QList>
#include <cstdint>

struct xcb_connection_t;

namespace quillon::platform::linux_ {

// Passive key grabs on the X11 root windows, through the xcb connection of
// the app's Qt platform (xcb only): Super+Alt+letter (Mod4|Mod1), also with
// CapsLock (Lock) and NumLock (whichever modifier bit the server's modifier
// mapping gives Num_Lock) held, so that those states do not swallow a press.
// Presses arrive through a native event filter, on the root window even
// while a window of ours has the focus; auto-repeat presses are
// dropped. A key another client grabbed already is answered with BadAccess:
// the checked grab receives the error itself (no X error handler runs, no
// message is printed) and that shortcut is reported as taken.
class X11GlobalShortcuts : public GlobalShortcuts, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    explicit X11GlobalShortcuts(QObject* parent = nullptr);
    ~X11GlobalShortcuts() override;

    // Whether the app runs on the xcb platform, where grabs can be made.
    static bool available();

    void registerShortcuts(const QList<Shortcut>& shortcuts) override;
    void unregisterShortcuts() override;
    State state() const override { return m_state; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    struct Grab {
        std::uint32_t root;
        std::uint8_t keycode;
        std::uint16_t modifiers;
    };
    struct Key {
        QString id;
        bool down = false;
        std::uint32_t releasedAt = 0; // server time of the last release
    };

    void setState(State state);

    xcb_connection_t* m_connection = nullptr;
    QList<Grab> m_grabs;
    QHash<std::uint8_t, Key> m_keys; // by keycode, of the grabbed keys
    QList<std::uint32_t> m_roots;
    std::uint16_t m_ignoredModifiers = 0; // Lock | NumLock
    State m_state;
};

} // namespace quillon::platform::linux_
