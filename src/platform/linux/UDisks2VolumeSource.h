#pragma once

#include "platform/VolumeSource.h"

#include <QDBusConnection>
#include <optional>

namespace quillon::platform::linux_ {

// Mounted volumes as UDisks2 (the service behind the desktop's file
// managers) sees them: file systems that are mounted, not marked as system
// devices (UDisks marks every disk that is neither removable nor on a
// hot-pluggable bus as one) and not to be hidden; never "/". Named by their
// label.
class UDisks2VolumeSource {
public:
    explicit UDisks2VolumeSource(QDBusConnection systemBus);

    // nullopt when UDisks2 cannot be reached or answers in a form it never
    // uses; the caller then falls back to the mount table.
    std::optional<QList<MountedVolume>> externalVolumes() const;

private:
    QDBusConnection m_bus;
};

} // namespace quillon::platform::linux_
