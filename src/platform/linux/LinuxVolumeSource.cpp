#include "LinuxVolumeSource.h"

namespace quillon::platform::linux_ {

LinuxVolumeSource::LinuxVolumeSource(UDisks2VolumeSource udisks, MountInfoVolumeSource mountTable)
    : m_udisks(std::move(udisks))
    , m_mountTable(std::move(mountTable))
{
}

QList<MountedVolume> LinuxVolumeSource::externalVolumes()
{
    if (auto volumes = m_udisks.externalVolumes())
        return *volumes;
    return m_mountTable.externalVolumes();
}

} // namespace quillon::platform::linux_
