#include "MountInfoVolumeSource.h"

#include "MountInfoTable.h"
#include "SysfsAttributes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>

namespace quillon::platform::linux_ {

namespace {

// The mount table of a busy machine is a few hundred lines.
constexpr qint64 kMaxMountInfoBytes = 4 * 1024 * 1024;

} // namespace

MountInfoVolumeSource::MountInfoVolumeSource(QString mountInfoPath, QString sysRoot)
    : m_mountInfoPath(std::move(mountInfoPath))
    , m_sysRoot(std::move(sysRoot))
{
}

bool MountInfoVolumeSource::isExternalDevice(unsigned major, unsigned minor) const
{
    // /sys/dev/block/M:m links to the device's directory under /sys/devices;
    // for a partition, the disk is the directory above.
    const QString link = QStringLiteral("%1/dev/block/%2:%3").arg(m_sysRoot).arg(major).arg(minor);
    const QString device = QFileInfo(link).canonicalFilePath();
    if (device.isEmpty())
        return false;
    if (device.contains(QLatin1String("/usb")))
        return true;
    const bool isPartition = QFileInfo::exists(device + QLatin1String("/partition"));
    const QString disk = isPartition ? QFileInfo(device).path() : device;
    return SysfsAttributes(disk).number(QStringLiteral("removable")).value_or(0) == 1;
}

QList<MountedVolume> MountInfoVolumeSource::externalVolumes() const
{
    QFile file(m_mountInfoPath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<MountedVolume> volumes;
    for (const auto& entry : MountInfoTable::parse(file.read(kMaxMountInfoBytes))) {
        // Major 0 is the kernel's anonymous devices: proc, tmpfs, overlay, fuse...
        if (entry.major == 0 || entry.root != QLatin1String("/") || entry.mountPoint == QLatin1String("/"))
            continue;
        if (!isExternalDevice(entry.major, entry.minor))
            continue;
        const bool seen = std::any_of(volumes.cbegin(), volumes.cend(),
            [&](const MountedVolume& volume) { return volume.mountPath == entry.mountPoint; });
        if (!seen)
            volumes.append({entry.mountPoint, QString()});
    }
    return volumes;
}

} // namespace quillon::platform::linux_
