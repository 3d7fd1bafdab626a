#include "LinuxVolumeSource.h"

namespace quillon::platform::linux_ {

LinuxVolumeSource::LinuxVolumeSource(UDisks2VolumeSource udisks, MountInfoVolumeSource mountTable)
    : m_udisks(std::move(udisks))
    , m_mountTable(std::move(mountTable))
{
}

void LinuxVolumeSource::askExternalVolumes(Answer answer)
{
    // The mount table as it is once UDisks2 has failed, not as it was when asked.
    m_udisks.askExternalVolumes(
        [mountTable = m_mountTable, answer = std::move(answer)](const std::optional<QList<MountedVolume>>& volumes) {
            answer(volumes ? *volumes : mountTable.externalVolumes());
        });
}

} // namespace quillon::platform::linux_
