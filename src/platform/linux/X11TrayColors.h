#pragma once

#include "platform/TrayColors.h"

#include <QAbstractNativeEventFilter>
#include <cstdint>

struct xcb_connection_t;

namespace quillon::platform::linux_ {

// The tray's colours from the X11 system tray's manager window: the owner of
// the _NET_SYSTEM_TRAY_S<screen> selection announces them in
// _NET_SYSTEM_TRAY_COLORS (foreground, error, warning, success; 16 bits per
// channel), as xfce4-panel, mate-panel and gnome-panel do, for the icons
// they embed and those of StatusNotifierItems alike. Followed through a
// native event filter: the property changing on the manager (a theme
// switch), and a new manager announcing itself on the root window (a panel
// restart). Only on the xcb platform; elsewhere foreground() stays nullopt.
class X11TrayColors : public TrayColors, public QAbstractNativeEventFilter {
    Q_OBJECT
public:
    explicit X11TrayColors(QObject* parent = nullptr);
    ~X11TrayColors() override;

    std::optional<QColor> foreground() const override { return m_foreground; }

    // The foreground of a _NET_SYSTEM_TRAY_COLORS value: its first three
    // cardinals, each 0-65535; nullopt for fewer, or for values out of range.
    static std::optional<QColor> foregroundOf(const std::uint32_t* values, int count);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    void findManager();
    void readColors();

    xcb_connection_t* m_connection = nullptr;
    std::uint32_t m_root = 0;
    std::uint32_t m_selection = 0;
    std::uint32_t m_colorsAtom = 0;
    std::uint32_t m_managerAtom = 0;
    std::uint32_t m_manager = 0;
    std::optional<QColor> m_foreground;
};

} // namespace quillon::platform::linux_
