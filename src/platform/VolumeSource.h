#pragma once

#include <QList>
#include <QString>
#include <functional>

namespace quillon::platform {

// A mounted file system the user may want to keep awake.
struct MountedVolume {
    QString mountPath; // absolute
    QString name;      // the volume's label, or empty when it has none

    bool operator==(const MountedVolume&) const = default;
};

// The mounted external volumes: user-visible (not a system or hidden
// device), never the root file system. Asking never waits for the system:
// answer is called once, on the asking thread, when the list is known (it may
// be before askExternalVolumes returns); an unreachable or hung service gives
// what the fallback finds after a bounded time, never an error. Answers still
// due when the source is destroyed are dropped.
class VolumeSource {
public:
    using Answer = std::function<void(const QList<MountedVolume>&)>;

    virtual ~VolumeSource() = default;
    virtual void askExternalVolumes(Answer answer) = 0;
};

} // namespace quillon::platform
