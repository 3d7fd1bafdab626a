// External volumes from a UDisks2 stand-in on a private system bus, and the
// fall back to the mount table when no UDisks2 answers.
#include "platform/linux/LinuxVolumeSource.h"

#include "support/BusService.h"
#include "support/EventLoop.h"
#include "support/Files.h"
#include "support/QStringPrinter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>
#include <gtest/gtest.h>

using quillon::platform::MountedVolume;
using quillon::platform::linux_::LinuxVolumeSource;
using quillon::platform::linux_::MountInfoVolumeSource;
using quillon::platform::linux_::UDisks2VolumeSource;
using quillon::test::BusService;
using quillon::test::PrivateBus;
using quillon::test::waitUntil;
using quillon::test::writeFile;

namespace quillon::platform {
void PrintTo(const MountedVolume& volume, std::ostream* out)
{
    *out << "{" << volume.mountPath.toStdString() << ", " << volume.name.toStdString() << "}";
}
} // namespace quillon::platform

namespace {

// What source answers, once it has.
template <typename Listing, typename Source>
Listing answerOf(Source& source)
{
    std::optional<Listing> told;
    source.askExternalVolumes([&](const Listing& volumes) { told = volumes; });
    EXPECT_TRUE(waitUntil([&] { return told.has_value(); }, std::chrono::seconds(10)));
    return told.value_or(Listing{});
}

class UDisks2VolumesTest : public ::testing::Test {
protected:
    void startUDisks(const QJsonArray& devices)
    {
        const QString description = m_dir.filePath("devices.json");
        ASSERT_TRUE(writeFile(description, QJsonDocument(devices).toJson()));
        startStandIn(description);
    }
    // One that takes the name and never answers.
    void startHungUDisks() { startStandIn("hung"); }
    // A mount table with one USB stick, and the sysfs links that tell it is one.
    MountInfoVolumeSource mountTable()
    {
        const QString device = m_dir.filePath("sys/devices/pci0000:00/usb1/1-2/block/sdb/sdb1");
        writeFile(device + "/partition", "1\n");
        QDir().mkpath(m_dir.filePath("sys/dev/block"));
        QFile::link(device, m_dir.filePath("sys/dev/block/8:17"));
        writeFile(m_dir.filePath("mountinfo"),
            "29 1 8:2 / / rw - ext4 /dev/sda2 rw\n"
            "97 29 8:17 / /media/ada/STICK rw - vfat /dev/sdb1 rw\n");
        return MountInfoVolumeSource(m_dir.filePath("mountinfo"), m_dir.filePath("sys"));
    }

    PrivateBus systemBus;

private:
    void startStandIn(const QString& argument)
    {
        m_udisks.reset();
        m_udisks = std::make_unique<BusService>(
            QUILLON_PYTHON, QStringList{QUILLON_UDISKS_STANDIN, argument}, systemBus, "org.freedesktop.UDisks2");
        ASSERT_TRUE(m_udisks->started());
    }

    QTemporaryDir m_dir;
    std::unique_ptr<BusService> m_udisks;
};

QJsonObject device(const char* name, const char* label, QStringList mounts, bool system = false, bool ignore = false)
{
    return {{"name", name}, {"label", label}, {"mounts", QJsonArray::fromStringList(mounts)}, {"system", system},
        {"ignore", ignore}};
}

TEST_F(UDisks2VolumesTest, OffersMountedUserVisibleFileSystemsByTheirLabels)
{
    QJsonObject noFilesystem = device("loop3", "", {});
    noFilesystem["filesystem"] = false;
    QJsonObject hinted = device("sdh1", "", {"/media/ada/3A4B-1C2D"});
    hinted["hintName"] = "Camera card";
    startUDisks({
        device("sda2", "", {"/"}, true),
        device("sda3", "home", {"/home"}, true),
        device("sdb1", "Footage", {"/media/ada/Footage"}),
        device("sdc1", "", {"/media/ada/7E21-09AF"}),
        device("sdd1", "recovery", {"/media/ada/recovery"}, false, true),
        device("sde1", "Unmounted", {}),
        device("sdf1", "live", {"/"}),
        device("sdg1", "Mein Laufwerk ü", {"/media/ada/Mein Laufwerk ü", "/srv/also-here"}),
        hinted,
        noFilesystem,
    });
    UDisks2VolumeSource udisks(systemBus.connection());
    const auto volumes = answerOf<std::optional<QList<MountedVolume>>>(udisks);
    ASSERT_TRUE(volumes.has_value());
    QList<MountedVolume> sorted = *volumes;
    std::sort(sorted.begin(), sorted.end(),
        [](const MountedVolume& a, const MountedVolume& b) { return a.mountPath < b.mountPath; });
    EXPECT_EQ(sorted,
        (QList<MountedVolume>{
            {"/media/ada/3A4B-1C2D", "Camera card"},
            {"/media/ada/7E21-09AF", ""},
            {"/media/ada/Footage", "Footage"},
            {"/media/ada/Mein Laufwerk ü", "Mein Laufwerk ü"},
        }));
}

TEST_F(UDisks2VolumesTest, TheMountTableStandsInOnlyWhileUDisksIsMissingOrHung)
{
    const QList<MountedVolume> stick{{"/media/ada/STICK", ""}};
    LinuxVolumeSource withoutUDisks(UDisks2VolumeSource(systemBus.connection()), mountTable());
    EXPECT_EQ(answerOf<QList<MountedVolume>>(withoutUDisks), stick);

    // Asking a UDisks2 that never answers returns at once, the GUI thread's
    // timer goes on ticking, and the mount table answers after the bound.
    startHungUDisks();
    LinuxVolumeSource hung(UDisks2VolumeSource(systemBus.connection(), 500), mountTable());
    int ticks = 0;
    QTimer gui;
    QObject::connect(&gui, &QTimer::timeout, [&] { ++ticks; });
    gui.start(20);
    std::optional<QList<MountedVolume>> told;
    hung.askExternalVolumes([&](const QList<MountedVolume>& volumes) { told = volumes; });
    EXPECT_FALSE(told.has_value()) << "answered before asking returned: it waited";
    ASSERT_TRUE(waitUntil([&] { return told.has_value(); }));
    EXPECT_GT(ticks, 5) << "the timer stood still";
    EXPECT_EQ(*told, stick);

    // A UDisks2 that sees no external volume is believed.
    startUDisks({device("sda2", "", {"/"}, true)});
    LinuxVolumeSource withUDisks(UDisks2VolumeSource(systemBus.connection()), mountTable());
    EXPECT_TRUE(answerOf<QList<MountedVolume>>(withUDisks).isEmpty());
}

} // namespace
