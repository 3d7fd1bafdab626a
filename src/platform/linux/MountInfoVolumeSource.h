#pragma once

#include "platform/VolumeSource.h"

namespace quillon::platform::linux_ {

// External volumes from the kernel's mount table, for systems without
// UDisks2. A mount counts when it is a whole file system (not a bind mount
// of a subdirectory), not "/", backed by a block device, and that device
// sits on a USB bus or on a disk the kernel marks removable. (The removable
// flag alone misses most USB hard disks, which report 0.) The volumes come
// without names: the mount table carries no labels.
class MountInfoVolumeSource {
public:
    explicit MountInfoVolumeSource(
        QString mountInfoPath = QStringLiteral("/proc/self/mountinfo"), QString sysRoot = QStringLiteral("/sys"));

    // Reads the mount table and sysfs, which answer at once.
    QList<MountedVolume> externalVolumes() const;

    // Whether the block device major:minor is external, judged from sysfs.
    bool isExternalDevice(unsigned major, unsigned minor) const;

private:
    QString m_mountInfoPath;
    QString m_sysRoot;
};

} // namespace quillon::platform::linux_
