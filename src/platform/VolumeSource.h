#pragma once

#include <QList>
#include <QString>

namespace quillon::platform {

// A mounted file system the user may want to keep awake.
struct MountedVolume {
    QString mountPath; // absolute
    QString name;      // the volume's label, or empty when it has none

    bool operator==(const MountedVolume&) const = default;
};

// The mounted external volumes: user-visible (not a system or hidden
// device), never the root file system. Blocks for a short, bounded time (a
// D-Bus round trip or a read of the mount table); an unreachable service
// gives what the fallback finds, never an error.
class VolumeSource {
public:
    virtual ~VolumeSource() = default;
    virtual QList<MountedVolume> externalVolumes() = 0;
};

} // namespace quillon::platform
