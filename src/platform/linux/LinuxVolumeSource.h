#pragma once

#include "MountInfoVolumeSource.h"
#include "UDisks2VolumeSource.h"

namespace quillon::platform::linux_ {

// UDisks2 where it runs, the kernel's mount table where it does not (or
// does not answer in time).
class LinuxVolumeSource : public VolumeSource {
public:
    LinuxVolumeSource(UDisks2VolumeSource udisks, MountInfoVolumeSource mountTable);

    void askExternalVolumes(Answer answer) override;

private:
    UDisks2VolumeSource m_udisks;
    MountInfoVolumeSource m_mountTable;
};

} // namespace quillon::platform::linux_
