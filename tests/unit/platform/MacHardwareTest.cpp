#include "platform/linux/MacHardware.h"

#include "support/Files.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using quillon::platform::linux_::MacHardware;
using quillon::test::writeFile;

// Intel and T2 Macs say so in their DMI vendor, Apple silicon in its device
// tree; other machines, garbage and a missing sysfs are not Macs.
TEST(MacHardware, TellsAMacByItsFirmware)
{
    struct Case {
        const char* file;
        QByteArray contents;
        bool mac;
    };
    const Case cases[] = {
        {"class/dmi/id/sys_vendor", "Apple Inc.\n", true},
        {"firmware/devicetree/base/compatible", QByteArray("apple,j314s\0apple,t6000\0apple,arm-platform\0", 44), true},
        {"class/dmi/id/sys_vendor", "Dell Inc.\n", false},
        {"firmware/devicetree/base/compatible", QByteArray("raspberrypi,4-model-b\0brcm,bcm2711\0", 35), false},
        {"class/dmi/id/sys_vendor", QByteArray("\xff\xfe\0garbage", 10), false},
    };
    for (const Case& c : cases) {
        QTemporaryDir root;
        ASSERT_TRUE(writeFile(root.filePath(QLatin1String(c.file)), c.contents));
        EXPECT_EQ(MacHardware::detect(root.path()), c.mac) << c.file << " " << c.contents.constData();
    }
    QTemporaryDir empty;
    EXPECT_FALSE(MacHardware::detect(empty.path()));
    EXPECT_FALSE(MacHardware::detect(empty.filePath("missing")));
}

} // namespace
