// The Linux side of drive keep-alive that needs no mounts: reading the mount
// table, telling external disks from internal ones in sysfs, the block
// devices' counters, and what the toucher does with paths that are not
// volumes.
#include "platform/linux/BlockReadCounter.h"
#include "platform/linux/LinuxDriveToucher.h"
#include "platform/linux/MountInfoTable.h"
#include "platform/linux/MountInfoVolumeSource.h"

#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using quillon::platform::DriveTouchOutcome;
using quillon::platform::MountedVolume;
using quillon::platform::linux_::BlockReadCounter;
using quillon::platform::linux_::LinuxDriveToucher;
using quillon::platform::linux_::MountInfoTable;
using quillon::platform::linux_::MountInfoVolumeSource;
using quillon::test::writeFile;
using Entry = MountInfoTable::Entry;

namespace {

TEST(MountInfoTable, FieldsAreFoundAroundAnyNumberOfOptionalFieldsAndMalformedLinesSkipped)
{
    const QByteArray text = "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
                            "29 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw\n"
                            "97 29 8:17 / /media/ada/My\\040Disk rw,nosuid shared:52 master:3 propagate_from:2 - exfat "
                            "/dev/sdb1 rw,uid=1000\n"
                            "98 29 8:17 /photos /home/ada/photos rw - exfat /dev/sdb1 rw\n"
                            "99 29 179:1 / /media/ada/back\\134slash\\011tab rw - vfat /dev/mmcblk0p1 rw\n"
                            "\n"
                            "garbage\n"
                            "97 29 8:17 / /media/x rw shared:52\n"            // no separator
                            "97 29 8:17 / /media/x rw - exfat\n"              // nothing after the type
                            "97 29 8-17 / /media/x rw - exfat /dev/sdb1 rw\n" // bad device numbers
                            "97 29 8:17 / relative rw - exfat /dev/sdb1 rw\n"
                            "97 29 8:17 / /media/ok rw - exfat /dev/sdb1 rw"; // no final newline
    const QList<Entry> expected{
        {0, 21, "/", "/proc", "proc", "proc"},
        {8, 2, "/", "/", "ext4", "/dev/sda2"},
        {8, 17, "/", "/media/ada/My Disk", "exfat", "/dev/sdb1"},
        {8, 17, "/photos", "/home/ada/photos", "exfat", "/dev/sdb1"},
        {179, 1, "/", "/media/ada/back\\slash\ttab", "vfat", "/dev/mmcblk0p1"},
        {8, 17, "/", "/media/ok", "exfat", "/dev/sdb1"},
    };
    EXPECT_EQ(MountInfoTable::parse(text), expected);
    // Only complete escapes of a byte are decoded.
    EXPECT_EQ(MountInfoTable::unescape("end\\04 \\800 \\777"), "end\\04 \\800 \\777");
}

// A fake /sys with the device links the kernel makes.
class FakeSys {
public:
    // device: the path below /sys/devices; partition: whether it is one.
    void addBlock(const QString& numbers, const QString& device, bool partition, int diskRemovable)
    {
        const QString dir = m_root.filePath("devices/" + device);
        // The removable flag belongs to the disk, a partition's parent.
        writeFile((partition ? QFileInfo(dir).path() : dir) + "/removable", QByteArray::number(diskRemovable) + "\n");
        if (partition)
            writeFile(dir + "/partition", "1\n");
        writeFile(dir + "/stat",
            "     120        0     3456      40       17        0      136        9        0       60       49\n");
        QDir().mkpath(m_root.filePath("dev/block"));
        QFile::link(dir, m_root.filePath("dev/block/" + numbers));
    }
    QString root() const { return m_root.path(); }

private:
    QTemporaryDir m_root;
};

TEST(MountInfoVolumeSource, OffersWholeFileSystemsOnUsbOrRemovableDisksOnly)
{
    FakeSys sys;
    sys.addBlock("8:17", "pci0000:00/0000:00:14.0/usb2/2-1/2-1:1.0/host6/target6:0:0/6:0:0:0/block/sdb/sdb1", true, 0);
    sys.addBlock("179:1", "platform/fe340000.mmc/mmc_host/mmc0/mmc0:aaaa/block/mmcblk0/mmcblk0p1", true, 1);
    sys.addBlock("259:2", "pci0000:00/0000:00:1d.0/nvme/nvme0/nvme0n1/nvme0n1p2", true, 0);
    sys.addBlock("8:0", "pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0/block/sda", false, 0);
    QTemporaryDir dir;
    const QString table = dir.filePath("mountinfo");
    writeFile(table,
        "29 1 259:2 / / rw - ext4 /dev/nvme0n1p2 rw\n"
        "30 29 8:0 / /srv/data rw - xfs /dev/sda rw\n"
        "31 29 0:32 / /run/user/1000 rw - tmpfs tmpfs rw\n"
        "97 29 8:17 / /media/ada/Footage rw - exfat /dev/sdb1 rw\n"
        "98 29 8:17 /clips /home/ada/clips rw - exfat /dev/sdb1 rw\n"
        "99 29 179:1 / /media/ada/SD\\040Card rw - vfat /dev/mmcblk0p1 rw\n"
        "100 29 8:99 / /media/ada/Gone rw - vfat /dev/sdz1 rw\n");
    MountInfoVolumeSource source(table, sys.root());
    EXPECT_EQ(source.externalVolumes(), (QList<MountedVolume>{{"/media/ada/Footage", ""}, {"/media/ada/SD Card", ""}}));

    EXPECT_TRUE(MountInfoVolumeSource(dir.filePath("missing"), sys.root()).externalVolumes().isEmpty());
}

TEST(BlockReadCounter, ReadsTheCountersAndRefusesWhatIsNotThere)
{
    FakeSys sys;
    sys.addBlock("8:17", "pci0000:00/usb2/block/sdb/sdb1", true, 0);
    const BlockReadCounter counter(sys.root());
    EXPECT_EQ(counter.readsCompleted(8, 17), 120u);
    EXPECT_EQ(counter.writesCompleted(8, 17), 17u);
    EXPECT_EQ(counter.readsCompleted(0, 32), std::nullopt);
    EXPECT_EQ(counter.readsCompleted(8, 18), std::nullopt);
    writeFile(sys.root() + "/devices/pci0000:00/usb2/block/sdb/sdb1/stat", "-4 x\n");
    EXPECT_EQ(counter.readsCompleted(8, 17), std::nullopt);
    EXPECT_EQ(counter.writesCompleted(8, 17), std::nullopt);
}

TEST(LinuxDriveToucher, PathsThatAreNoVolumeAreMissingOrUnverified)
{
    QTemporaryDir dir;
    writeFile(dir.filePath("file"), "x");
    // A sys root without counters: whatever the test directory lives on.
    QTemporaryDir noSys;
    LinuxDriveToucher toucher(noSys.path());
    EXPECT_EQ(toucher.touch(dir.filePath("gone")), DriveTouchOutcome::missing);
    EXPECT_EQ(toucher.touch(dir.filePath("file")), DriveTouchOutcome::missing);
    EXPECT_EQ(toucher.touch("relative/path"), DriveTouchOutcome::missing);
    EXPECT_EQ(toucher.touch(""), DriveTouchOutcome::missing);
    EXPECT_EQ(toucher.touch(dir.path()), DriveTouchOutcome::unverified);
}

} // namespace
