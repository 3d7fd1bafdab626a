#pragma once

#include "platform/ExternalDisplays.h"

#include <QString>

namespace quillon::platform::linux_ {

// External displays from the kernel's DRM connectors in /sys/class/drm:
// one that reports itself "connected" and is no built-in panel (eDP, LVDS,
// DSI, DPI, SPI) or writeback connector. Connector folders are
// "card<N>-<TYPE>-<index>"; anything else there is skipped.
//
// The kernel announces plugging through udev, which this does not follow:
// whoever has the display server's screen signals connects them to
// changed().
class DrmDisplays : public ExternalDisplays {
    Q_OBJECT
public:
    // sysfsRoot: where sysfs is; fromEnvironment() gives QUILLON_SYSFS_ROOT or "/sys".
    explicit DrmDisplays(QString sysfsRoot = fromEnvironment(), QObject* parent = nullptr);

    static QString fromEnvironment();
    // "HDMI-A" of "card0-HDMI-A-1"; empty for anything that is no connector.
    static QString connectorType(const QString& folder);

    bool connected() override;

private:
    QString m_drm;
};

} // namespace quillon::platform::linux_
