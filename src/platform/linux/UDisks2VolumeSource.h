#pragma once

#include "DBusTimeouts.h"
#include "platform/VolumeSource.h"

#include <QDBusConnection>
#include <QObject>
#include <memory>
#include <optional>

namespace quillon::platform::linux_ {

// Mounted volumes as UDisks2 (the service behind the desktop's file
// managers) sees them: file systems that are mounted, not marked as system
// devices (UDisks marks every disk that is neither removable nor on a
// hot-pluggable bus as one) and not to be hidden; never "/". Named by their
// label.
class UDisks2VolumeSource {
public:
    using Answer = std::function<void(const std::optional<QList<MountedVolume>>&)>;

    // timeoutMs bounds the wait for a UDisks2 that hangs (it may be started
    // by the call, hence the long default).
    explicit UDisks2VolumeSource(QDBusConnection systemBus, int timeoutMs = DBusTimeouts::activatingCallMs);

    // Asks without waiting; answer gets nullopt when UDisks2 cannot be
    // reached, does not answer in time or answers in a form it never uses
    // (the caller then falls back to the mount table). Called on the event
    // loop's next turns, never once this source is gone.
    void askExternalVolumes(Answer answer);

private:
    QDBusConnection m_bus;
    int m_timeoutMs;
    std::unique_ptr<QObject> m_calls = std::make_unique<QObject>(); // watchers of calls under way
};

} // namespace quillon::platform::linux_
