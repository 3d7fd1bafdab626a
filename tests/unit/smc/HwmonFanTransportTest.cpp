#include "smc/HwmonFanTransport.h"

#include "daemon/TempKeyDiscovery.h"
#include "smc/SmcCodes.h"
#include "smc/SmcConnection.h"
#include "support/CapturedTree.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace quillon::smc;
using quillon::test::CapturedTree;
using quillon::test::readFile;

namespace {

// A captured machine (tests/fixtures/hwmon/NAME) with its hand-back record
// beside the tree, and as many helpers over it as a test starts.
struct HwmonMachine {
    explicit HwmonMachine(const QString& name, const QString& fanDevice = {})
        : tree("hwmon/" + name)
        , device(fanDevice)
    {
    }
    HwmonFanTransport::Paths paths() const
    {
        return {tree.path("sys").toStdString(), tree.path("proc").toStdString(), record().toStdString()};
    }
    QString record() const { return tree.path("hwmon-fans"); }
    // A fresh helper's view of the machine, opened.
    std::unique_ptr<SmcConnection> open() const
    {
        std::optional<HwmonFanTransport> found = HwmonFanTransport::find(paths());
        if (!found)
            return nullptr;
        auto smc = std::make_unique<SmcConnection>(std::make_unique<HwmonFanTransport>(std::move(*found)));
        return smc->open() == 0 ? std::move(smc) : nullptr;
    }
    QByteArray read(const QString& file) const { return readFile(tree.path(device + '/' + file)).trimmed(); }
    void set(const QString& file, const QByteArray& value) const { tree.set(device + '/' + file, value); }

    CapturedTree tree;
    QString device;
};

constexpr const char* kThinkpad = "sys/devices/platform/thinkpad_hwmon/hwmon/hwmon4";
constexpr const char* kNct = "sys/devices/platform/nct6775.656/hwmon/hwmon3";
constexpr const char* kDell = "sys/devices/platform/dell_smm_hwmon/hwmon/hwmon3";
constexpr const char* kAsus = "sys/devices/platform/asus-nb-wmi/hwmon/hwmon4";

std::vector<std::string> safetyKeys(SmcConnection& smc)
{
    return quillon::daemon::TempKeyDiscovery::keys(smc, quillon::daemon::TempKeyDiscovery::Rule::safety);
}

TEST(HwmonFans, EachMachineShowsItsFansAndOnlyTheCpuAndGpuAsSafetySensors)
{
    struct Case {
        const char* machine;
        int fans;
        std::vector<std::string> safety;
        const char* unavailable;
    };
    const Case cases[] = {
        // The EC's board sensors, the ACPI zone and the drive are no CPU core.
        {"thinkpad-t480", 1, {"Tc00", "Tp00", "Tp01", "Tp02", "Tp03"}, ""},
        // Tctl and the CCDs; amdgpu's edge and junction, not its memory.
        {"desktop-nct6798", 2, {"Tc00", "Tg00", "Tg01", "Tp00", "Tp01"}, ""},
        {"dell-latitude-dell_smm", 2, {"Tc00", "Tp00", "Tp01"}, ""},
        {"asus-zenbook-asus", 1, {"Tc00", "Tp00", "Tp01", "Tp02", "Tp03"}, ""},
        {"ideapad-no-writable-fan", 0, {"Tc00", "Tp00", "Tp01", "Tp02", "Tp03"},
            "no hwmon driver on this computer shows a fan"},
    };
    for (const Case& c : cases) {
        HwmonMachine machine(c.machine);
        const auto smc = machine.open();
        ASSERT_TRUE(smc) << c.machine;
        EXPECT_EQ(smc->readU8("FNum"), c.fans) << c.machine;
        EXPECT_EQ(safetyKeys(*smc), c.safety) << c.machine;
        EXPECT_EQ(smc->fanControlUnavailable(), c.unavailable) << c.machine;
    }
    HwmonMachine desktop("desktop-nct6798");
    const auto smc = desktop.open();
    EXPECT_EQ(smc->readFlt("F1Ac"), 1046.0f);
    EXPECT_EQ(smc->readFlt("Tc00"), 48.875f) << "Tctl";
    EXPECT_EQ(smc->readFlt("F0Mn"), 0.0f);
    EXPECT_EQ(smc->readFlt("F0Mx"), float(HwmonFanTransport::kNominalMaxRpm)) << "the chip states no top speed";
    HwmonMachine dell("dell-latitude-dell_smm");
    EXPECT_EQ(dell.open()->readFlt("F1Mx"), 5100.0f) << "the driver's own";
}

TEST(HwmonFans, DevicesAreKnownByPathNotByTheirNumberAndOnlyExpectedLinksAreFollowed)
{
    HwmonMachine machine("desktop-nct6798");
    const auto before = machine.open();
    const std::vector<std::string> keys = safetyKeys(*before);
    const float tctl = before->readFlt("Tc00");
    // The next boot numbers the devices the other way round.
    const QString hwmon = machine.tree.path("sys/class/hwmon/");
    QDir dir(hwmon);
    for (const QString& entry : dir.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        const QString target = QFile::symLinkTarget(hwmon + entry);
        QFile::remove(hwmon + entry);
        QFile::link(target, hwmon + "hwmon" + QString::number(20 - entry.mid(5).toInt()));
    }
    // And a link that leads out of the tree is never followed.
    QDir().mkpath(machine.tree.path("elsewhere"));
    machine.tree.set("elsewhere/name", "nct6798");
    machine.tree.set("elsewhere/fan1_input", "100");
    machine.tree.set("elsewhere/pwm1_enable", "2");
    QFile::link(machine.tree.path("elsewhere"), hwmon + "hwmon9");
    const auto after = machine.open();
    EXPECT_EQ(safetyKeys(*after), keys);
    EXPECT_EQ(after->readFlt("Tc00"), tctl);
    EXPECT_EQ(after->readU8("FNum"), 2);
}

TEST(HwmonFans, ADesktopChannelIsHandedBackExactlyAsFoundAlsoByTheNextHelper)
{
    HwmonMachine desktop("desktop-nct6798", kNct);
    const auto smc = desktop.open();
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    EXPECT_EQ(desktop.read("pwm1_enable"), "1");
    EXPECT_EQ(desktop.read("pwm2_enable"), "5") << "one channel at a time";
    EXPECT_EQ(smc->readU8("F0Md"), 1);
    ASSERT_EQ(smc->writeFlt("F0Tg", 2500.0f), 0u);
    EXPECT_EQ(desktop.read("pwm1"), "160") << "half the span above the least duty cycle";
    EXPECT_EQ(smc->readFlt("F0Tg"), 2500.0f);
    ASSERT_EQ(smc->writeFlt("F0Tg", 1.0f), 0u);
    EXPECT_EQ(desktop.read("pwm1"), QByteArray::number(HwmonFanTransport::kMinimumDuty)) << "never slower";
    EXPECT_EQ(smc->writeFlt("F0Tg", std::nanf("")), SmcStatus::kIOReturnBadArgument);
    EXPECT_EQ(desktop.read("pwm1"), QByteArray::number(HwmonFanTransport::kMinimumDuty));
    EXPECT_TRUE(QFile::exists(desktop.record()));

    ASSERT_EQ(smc->writeU8("F0Md", 0), 0u);
    EXPECT_EQ(desktop.read("pwm1_enable"), "5") << "the chip's Smart Fan IV, not 2";
    EXPECT_EQ(smc->readU8("F0Md"), 0);
    EXPECT_FALSE(QFile::exists(desktop.record())) << "nothing held, nothing recorded";

    // A helper killed while holding both fans: the next one hands them back.
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    ASSERT_EQ(smc->writeU8("F1Md", 1), 0u);
    const auto next = desktop.open();
    EXPECT_EQ(next->readU8("F0Md"), 1);
    EXPECT_EQ(next->readU8("F1Md"), 1);
    ASSERT_EQ(next->writeU8("F0Md", 0), 0u);
    ASSERT_EQ(next->writeU8("F1Md", 0), 0u);
    EXPECT_EQ(desktop.read("pwm1_enable") + desktop.read("pwm2_enable"), "55");
    EXPECT_EQ(next->readU8("F0Md") + next->readU8("F1Md"), 0);
}

TEST(HwmonFans, EveryDriverIsTakenAndHandedBackByItsOwnRule)
{
    // dell_smm: pwm1_enable cannot be read and acts for both fans.
    HwmonMachine dell("dell-latitude-dell_smm", kDell);
    auto smc = dell.open();
    dell.set("pwm1_enable", "garbage the driver never shows");
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    EXPECT_EQ(dell.read("pwm1_enable"), "1");
    dell.set("pwm1_enable", "untouched");
    ASSERT_EQ(smc->writeU8("F1Md", 1), 0u);
    EXPECT_EQ(dell.read("pwm1_enable"), "untouched") << "one slow SMM call, not one per fan";
    ASSERT_EQ(smc->writeFlt("F1Tg", 5100.0f), 0u);
    EXPECT_EQ(dell.read("pwm2"), "255");
    EXPECT_EQ(smc->readU8("F1Md"), 1);
    ASSERT_EQ(smc->writeU8("F0Md", 0), 0u);
    EXPECT_EQ(dell.read("pwm1_enable"), "2");
    EXPECT_EQ(smc->readU8("F0Md") + smc->readU8("F1Md"), 0);

    // asus: a channel without pwm1 knows only full speed (0) and automatic (2).
    HwmonMachine asus("asus-zenbook-asus", kAsus);
    smc = asus.open();
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    EXPECT_EQ(asus.read("pwm1_enable"), "0");
    EXPECT_EQ(smc->writeFlt("F0Tg", 1500.0f), 0u);
    EXPECT_FALSE(QFile::exists(asus.tree.path(QString(kAsus) + "/pwm1")));
    EXPECT_EQ(smc->readU8("F0Md"), 1);
    ASSERT_EQ(smc->writeU8("F0Md", 0), 0u);
    EXPECT_EQ(asus.read("pwm1_enable"), "2");

    // thinkpad: its own watchdog is armed as the fan is taken.
    HwmonMachine thinkpad("thinkpad-t480", kThinkpad);
    smc = thinkpad.open();
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    EXPECT_EQ(thinkpad.read("pwm1_enable"), "1");
    EXPECT_EQ(readFile(thinkpad.tree.path("proc/acpi/ibm/fan")), "watchdog 120");
}

TEST(HwmonFans, PwmFanIsNeverSwitchedOffByAHandBack)
{
    HwmonMachine board("ideapad-no-writable-fan", "sys/devices/platform/pwm-fan/hwmon/hwmon7");
    board.set("name", "pwmfan");
    board.set("fan1_input", "3000");
    board.set("pwm1", "0");
    board.set("pwm1_enable", "0");
    QFile::link("../../devices/platform/pwm-fan/hwmon/hwmon7", board.tree.path("sys/class/hwmon/hwmon7"));
    const auto smc = board.open();
    ASSERT_EQ(smc->fanControlUnavailable(), "");
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    ASSERT_EQ(smc->writeU8("F0Md", 0), 0u);
    EXPECT_EQ(board.read("pwm1_enable"), "2");
    EXPECT_EQ(smc->readU8("F0Md"), 0);
}

TEST(HwmonFans, WhereNoFanCanBeWrittenItSaysWhyAndWritesNothing)
{
    HwmonMachine thinkpad("thinkpad-t480", kThinkpad);
    thinkpad.tree.set("sys/module/thinkpad_acpi/parameters/fan_control", "N");
    auto smc = thinkpad.open();
    EXPECT_EQ(smc->fanControlUnavailable(),
        "thinkpad_acpi needs fan_control=1 (start Linux with thinkpad_acpi.fan_control=1)");
    EXPECT_EQ(smc->writeU8("F0Md", 1), SmcResult::kKeyNotWritable);
    EXPECT_EQ(thinkpad.read("pwm1_enable"), "2");
    EXPECT_EQ(smc->readFlt("F0Ac"), 2890.0f) << "its speed is still shown";

    HwmonMachine dell("dell-latitude-dell_smm", kDell);
    dell.tree.remove(QString(kDell) + "/pwm1_enable");
    EXPECT_EQ(dell.open()->fanControlUnavailable(), "dell_smm_hwmon does not list this model for fan control");

    HwmonMachine locked("ideapad-no-writable-fan");
    locked.tree.set("sys/kernel/security/lockdown", "none [integrity] confidentiality");
    EXPECT_EQ(locked.open()->fanControlUnavailable(),
        "no hwmon driver on this computer shows a fan (the kernel is locked down, which keeps out fan tools that "
        "write to the EC)");
}

TEST(HwmonFans, ADriverThatLetGoIsTakenAgainAndFaultsNeverPassAsHandedBack)
{
    HwmonMachine thinkpad("thinkpad-t480", kThinkpad);
    const auto smc = thinkpad.open();
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    ASSERT_EQ(smc->writeFlt("F0Tg", 5000.0f), 0u);
    // A resume: the EC has the fan again.
    thinkpad.set("pwm1_enable", "2");
    thinkpad.set("pwm1", "0");
    EXPECT_EQ(smc->readU8("F0Md"), 0);
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    EXPECT_EQ(thinkpad.read("pwm1_enable"), "1");
    ASSERT_EQ(smc->writeFlt("F0Tg", 5000.0f), 0u);
    EXPECT_EQ(thinkpad.read("pwm1"), "255") << "the duty cycle too, though it did not change";

    // The hand-back's write fails: the fan still counts as held.
    thinkpad.tree.remove(QString(kThinkpad) + "/pwm1_enable");
    QDir().mkpath(thinkpad.tree.path(QString(kThinkpad) + "/pwm1_enable"));
    EXPECT_NE(smc->writeU8("F0Md", 0), 0u);
    EXPECT_EQ(smc->readU8("F0Md"), 1);
    thinkpad.tree.remove(QString(kThinkpad) + "/pwm1_enable");
    thinkpad.set("pwm1_enable", "1");
    ASSERT_EQ(smc->writeU8("F0Md", 0), 0u);
    EXPECT_EQ(thinkpad.read("pwm1_enable"), "2");
    EXPECT_EQ(smc->readU8("F0Md"), 0);
}

TEST(HwmonFans, OddFilesGiveSafeDefaultsAndAnUnrecordableFanIsNotTaken)
{
    HwmonMachine desktop("desktop-nct6798", kNct);
    desktop.set("fan1_input", "-");
    desktop.set("pwm1_enable", "automatic");
    desktop.set("fan2_max", "99999999999999999999");
    desktop.tree.set("sys/devices/pci0000:00/0000:00:18.3/hwmon/hwmon1/temp1_input", "");
    auto smc = desktop.open();
    ASSERT_TRUE(smc);
    bool ok = true;
    smc->readFlt("F0Ac", &ok);
    EXPECT_FALSE(ok);
    EXPECT_EQ(smc->readFlt("F1Mx"), float(HwmonFanTransport::kNominalMaxRpm));
    EXPECT_EQ(safetyKeys(*smc), (std::vector<std::string>{"Tg00", "Tg01", "Tp00", "Tp01"})) << "Tctl unreadable";
    ASSERT_EQ(smc->writeU8("F0Md", 1), 0u);
    ASSERT_EQ(smc->writeU8("F0Md", 0), 0u);
    EXPECT_EQ(desktop.read("pwm1_enable"), "2") << "an unreadable original: the driver's automatic mode";

    // A record that cannot be written: the fan stays with the firmware.
    QDir().mkpath(desktop.record() + ".new");
    smc = desktop.open();
    EXPECT_EQ(smc->writeU8("F1Md", 1), SmcStatus::kIOReturnNotPrivileged);
    EXPECT_EQ(desktop.read("pwm2_enable"), "5");
    EXPECT_EQ(smc->readU8("F1Md"), 0);

    // A damaged record: its lines are skipped, the rest still count.
    QDir(desktop.record() + ".new").removeRecursively();
    quillon::test::writeFile(
        desktop.record(), "devices/platform/nct6775.656/hwmon/hwmon3/pwm2 5 153\nnonsense\n\x01\x02 x y z\n");
    desktop.set("pwm2_enable", "1");
    smc = desktop.open();
    EXPECT_EQ(smc->readU8("F1Md"), 1);
    ASSERT_EQ(smc->writeU8("F1Md", 0), 0u);
    EXPECT_EQ(desktop.read("pwm2_enable"), "5");
}

} // namespace
