#include "platform/linux/LinuxLidSensor.h"

#include <gtest/gtest.h>

using quillon::platform::linux_::LinuxLidSensor;

namespace {

TEST(LinuxLidSensor, ReadsTheAcpiButtonWithoutLogind)
{
    EXPECT_EQ(LinuxLidSensor::parseAcpiState("state:      closed\n"), true);
    EXPECT_EQ(LinuxLidSensor::parseAcpiState("state:      open\n"), false);
    EXPECT_EQ(LinuxLidSensor::parseAcpiState("state:\topen"), false);
    for (const char* bad : {"", "state:", "state: ajar", "closed", "State: closed", "state: closed open"})
        EXPECT_FALSE(LinuxLidSensor::parseAcpiState(bad).has_value()) << bad;

    // Without logind (no bus here), the ACPI button answers.
    const QDBusConnection noBus(QStringLiteral("no-bus"));
    const QString fixtures = QStringLiteral(QUILLON_FIXTURES "/lid/");
    EXPECT_EQ(LinuxLidSensor(noBus, fixtures + "closed").isClosed(), true);
    EXPECT_EQ(LinuxLidSensor(noBus, fixtures + "open").isClosed(), false);
    EXPECT_FALSE(LinuxLidSensor(noBus, fixtures + "garbage").isClosed().has_value());
    EXPECT_FALSE(LinuxLidSensor(noBus, fixtures + "no-such-machine").isClosed().has_value());
}

} // namespace
