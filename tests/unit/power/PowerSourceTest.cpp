// PowerSource over captured /sys/class/power_supply trees: what each kind of
// machine reads as, and how the conversions and thresholds behave at their
// edges.
#include "app/power/PowerSource.h"

#include "platform/linux/SysfsPowerSupply.h"

#include "support/CapturedTree.h"
#include "support/QStringPrinter.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using quillon::app::BatteryFlow;
using quillon::app::BatteryMetrics;
using quillon::app::PowerInfo;
using quillon::app::PowerSource;
using quillon::app::RenderPowerStatus;
using quillon::platform::linux_::SysfsPowerSupply;
using quillon::test::CapturedTree;

namespace {

PowerSource sourceAt(const QString& root)
{
    return PowerSource(std::make_shared<SysfsPowerSupply>(root));
}

QString captured(const char* name)
{
    return QStringLiteral(QUILLON_FIXTURES "/power_supply/") + name;
}

struct Machine {
    const char* fixture;
    PowerInfo info;
    BatteryMetrics metrics;
    BatteryFlow::Case flow;
    double watts;
    RenderPowerStatus status;
};

TEST(PowerSource, EachCapturedMachineReadsAsItsUserWouldDescribeIt)
{
    const PowerInfo desktop{false, true, std::nullopt, false};
    const Machine machines[] = {
        // ACPI reports the current unsigned; the status makes it a drain.
        {"laptop-discharging", {true, false, 57, false}, {11874, -1432, 2881}, BatteryFlow::Case::onBattery, 17.004,
            RenderPowerStatus::onBattery(57, 121)},
        {"laptop-charging", {true, true, 62, true}, {12610, 2105, 3104}, BatteryFlow::Case::charging, 26.544,
            RenderPowerStatus::charging(12.610 * 2.105)},
        {"laptop-full-on-ac", {true, true, 100, false}, {12876, 0, 5020}, BatteryFlow::Case::idleOnAC, 0.0,
            RenderPowerStatus::fullOnAC()},
        // Energy and power at 11.942 V: 35.48 Wh = 2971 mAh, 8.214 W = 688 mA.
        {"laptop-energy", {true, false, 71, false}, {11942, -688, 2971}, BatteryFlow::Case::onBattery, 8.216,
            RenderPowerStatus::onBattery(71, 259)},
        // A second, idle pack of 23.48 Wh at 90 %: 71 % of 4204 mAh and 90 % of
        // 1909 mAh make 77 %, and its 1718 mAh count towards the time left.
        {"laptop-two-batteries", {true, false, 77, false}, {11942, -688, 4689}, BatteryFlow::Case::onBattery, 8.216,
            RenderPowerStatus::onBattery(77, 409)},
        {"desktop", desktop, {}, BatteryFlow::Case::noBattery, 0.0, RenderPowerStatus::fullOnAC()},
        {"desktop-with-mouse", desktop, {}, BatteryFlow::Case::noBattery, 0.0, RenderPowerStatus::fullOnAC()},
        // Unparsable everything: a battery, on AC (no adapter answers and the
        // status is not "Discharging"), no charge known, no flow.
        {"garbage", {true, true, std::nullopt, false}, {}, BatteryFlow::Case::idleOnAC, 0.0,
            RenderPowerStatus::fullOnAC()},
        {"no-such-capture", desktop, {}, BatteryFlow::Case::noBattery, 0.0, RenderPowerStatus::fullOnAC()},
    };
    for (const Machine& m : machines) {
        SCOPED_TRACE(m.fixture);
        const PowerSource power = sourceAt(captured(m.fixture));
        EXPECT_EQ(power.current(), m.info);
        EXPECT_EQ(power.batteryMetrics(), m.metrics);
        EXPECT_EQ(power.batteryFlow().kind, m.flow);
        EXPECT_NEAR(power.batteryFlow().watts, m.watts, 0.001);
        const RenderPowerStatus status = power.renderPowerStatus();
        EXPECT_EQ(status.kind, m.status.kind);
        EXPECT_EQ(status.percent, m.status.percent);
        EXPECT_EQ(status.minutesLeft, m.status.minutesLeft);
        EXPECT_NEAR(status.watts, m.status.watts, 0.001);
    }
}

TEST(PowerSource, ChargeRoundsToTheNearestPercentAndTwentyIsLow)
{
    CapturedTree tree("power_supply/laptop-discharging");
    const PowerSource power = sourceAt(tree.root());
    struct Row {
        const char* chargeNow;
        const char* chargeFull;
        std::optional<int> percent;
    };
    const Row rows[] = {
        {"1028596", "5020000", 20}, // 20.49 %
        {"1029100", "5020000", 21}, // 20.50 %
        {"5100000", "5020000", 100}, {"-5", "5020000", 0},
        {"2881000", "0", std::nullopt}, // a full charge of 0 says nothing
        {"2881000", "nonsense", 57},    // no usable pair: the kernel's own figure
    };
    for (const Row& row : rows) {
        tree.set("BAT0/charge_now", row.chargeNow);
        tree.set("BAT0/charge_full", row.chargeFull);
        EXPECT_EQ(power.current().percentage, row.percent) << row.chargeNow << " / " << row.chargeFull;
    }

    // The battery counts as low at 20 % and below.
    tree.set("BAT0/charge_full", "5020000");
    tree.set("BAT0/charge_now", "1004000"); // 20 %
    EXPECT_EQ(power.renderPowerStatus().kind, RenderPowerStatus::Case::batteryLow);
    EXPECT_EQ(power.renderPowerStatus().percent, 20);
    tree.set("BAT0/charge_now", "1054200"); // 21 %
    EXPECT_EQ(power.renderPowerStatus().kind, RenderPowerStatus::Case::onBattery);
    // An unknown charge on battery counts as empty.
    tree.set("BAT0/charge_full", "0");
    EXPECT_EQ(power.renderPowerStatus(), RenderPowerStatus::batteryLow(0, 44));
}

TEST(PowerSource, StatusGivesTheDirectionAndTwentyMilliampsIsNoFlow)
{
    CapturedTree tree("power_supply/laptop-full-on-ac");
    const PowerSource power = sourceAt(tree.root());
    struct Row {
        const char* status;
        const char* microamperes;
        qint64 milliamperes;
        BatteryFlow::Case flow;
        RenderPowerStatus::Case render;
    };
    using F = BatteryFlow::Case;
    using R = RenderPowerStatus::Case;
    const Row rows[] = {
        {"Not charging", "20000", 20, F::idleOnAC, R::fullOnAC},
        {"Not charging", "-20000", -20, F::idleOnAC, R::fullOnAC},
        {"Not charging", "-21000", -21, F::draining, R::notEnoughPower}, // a signed gauge keeps its sign
        {"Charging", "21000", 21, F::charging, R::charging},
        {"Charging", "-21000", 21, F::charging, R::charging},
        {"Charging", "20499", 20, F::idleOnAC, R::fullOnAC},
        {"Charging", "20500", 21, F::charging, R::charging},
        // On mains and discharging anyway: the adapter is too weak. ACPI
        // reports the drain unsigned.
        {"Discharging", "21000", -21, F::draining, R::notEnoughPower},
        {"Discharging", "20000", -20, F::idleOnAC, R::fullOnAC},
        {"Full", "0", 0, F::idleOnAC, R::fullOnAC},
    };
    for (const Row& row : rows) {
        tree.set("BAT0/status", row.status);
        tree.set("BAT0/current_now", row.microamperes);
        SCOPED_TRACE(std::string(row.status) + " " + row.microamperes);
        EXPECT_EQ(power.batteryMetrics().milliamperes, row.milliamperes);
        EXPECT_EQ(power.batteryFlow().kind, row.flow);
        EXPECT_EQ(power.renderPowerStatus().kind, row.render);
    }
}

TEST(PowerSource, MinutesLeftOnlyWhileDischargingWithChargeLeft)
{
    CapturedTree tree("power_supply/laptop-discharging");
    const PowerSource power = sourceAt(tree.root());
    tree.set("BAT0/charge_now", "3000000");
    tree.set("BAT0/current_now", "1500000");
    EXPECT_EQ(power.renderPowerStatus().minutesLeft, 120);
    tree.set("BAT0/current_now", "7000000"); // 25.7 min
    EXPECT_EQ(power.renderPowerStatus().minutesLeft, 26);
    tree.set("BAT0/current_now", "0");
    EXPECT_EQ(power.renderPowerStatus().minutesLeft, std::nullopt);
    tree.set("BAT0/current_now", "1500000");
    tree.set("BAT0/charge_now", "0");
    EXPECT_EQ(power.renderPowerStatus().minutesLeft, std::nullopt);

    // On mains with the battery draining, the estimate comes along.
    tree.set("ADP1/online", "1");
    tree.set("BAT0/charge_now", "600000");
    EXPECT_EQ(power.renderPowerStatus(), RenderPowerStatus::notEnoughPower(24));
}

TEST(PowerSource, MainsComesFromTheAdaptersAndOtherwiseFromTheStatus)
{
    CapturedTree tree("power_supply/laptop-energy");
    const PowerSource power = sourceAt(tree.root());
    EXPECT_FALSE(power.current().onAC);
    tree.set("ucsi-source-psy-USBC000:001/online", "1"); // a USB-C charger
    EXPECT_TRUE(power.current().onAC);

    tree.remove("AC");
    tree.remove("ucsi-source-psy-USBC000:001");
    EXPECT_FALSE(power.current().onAC);
    tree.set("BAT0/status", "Not charging");
    EXPECT_TRUE(power.current().onAC);
}

TEST(PowerSource, OnlyTheComputersOwnPresentBatteryCounts)
{
    // A mouse whose name sorts before the laptop's battery.
    CapturedTree tree("power_supply/laptop-charging");
    QDir().mkpath(tree.path("AAA-mouse"));
    for (const char* attribute : {"type", "scope", "status", "capacity", "present", "voltage_now"}) {
        QFile::copy(captured("desktop-with-mouse/hidpp_battery_0/") + attribute,
            tree.path(QStringLiteral("AAA-mouse/") + attribute));
    }
    const PowerSource power = sourceAt(tree.root());
    EXPECT_EQ(power.current(), (PowerInfo{true, true, 62, true}));
    EXPECT_EQ(power.batteryMetrics().millivolts, 12610);

    // An empty battery slot is skipped for the next battery.
    tree.set("BAT0/present", "0");
    EXPECT_FALSE(power.current().hasBattery);
    tree.set("BAT1/type", "Battery");
    tree.set("BAT1/charge_now", "1000000");
    tree.set("BAT1/charge_full", "4000000");
    EXPECT_EQ(power.current().percentage, 25);
}

TEST(PowerSource, HostileFilesReadAsAbsentWithoutHangingOrCrashing)
{
    CapturedTree tree("power_supply/laptop-discharging");
    const PowerSource power = sourceAt(tree.root());
    // A FIFO nobody writes to would block a plain read for ever.
    tree.remove("BAT0/status");
    ASSERT_EQ(::mkfifo(QFile::encodeName(tree.path("BAT0/status")).constData(), 0644), 0);
    // Far longer than any attribute.
    tree.set("BAT0/voltage_now", QByteArray(1 << 20, '7'));
    // A supply that links to itself.
    QFile::link(tree.path("loop"), tree.path("loop"));
    tree.set("BAT0/current_now", QByteArray("12\0 34", 6));

    const PowerInfo info = power.current();
    EXPECT_TRUE(info.hasBattery);
    EXPECT_FALSE(info.onAC); // ADP1 still says offline
    EXPECT_FALSE(info.isCharging);
    EXPECT_EQ(info.percentage, 57);
    EXPECT_EQ(power.batteryMetrics(), (BatteryMetrics{0, 0, 2881}));
}

} // namespace
