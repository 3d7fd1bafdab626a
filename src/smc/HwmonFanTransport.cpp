#include "HwmonFanTransport.h"

#include "FourCC.h"
#include "HwmonLabelKeys.h"
#include "HwmonSensorFamily.h"
#include "SmcCodes.h"
#include "SmcNumber.h"
#include "SysfsFile.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace quillon::smc {

namespace {

constexpr double kMilli = 1000.0;

bool parameterIsOff(const std::string& path)
{
    const std::optional<std::string> value = SysfsFile::readLine(path);
    return value && (*value == "N" || *value == "0");
}

bool lockdownIsOn(const std::string& sysfsRoot)
{
    const std::string modes = SysfsFile::readLine(sysfsRoot + "/kernel/security/lockdown").value_or("");
    return modes.find("[integrity]") != std::string::npos || modes.find("[confidentiality]") != std::string::npos;
}

} // namespace

HwmonFanTransport::HwmonFanTransport(Paths paths, std::vector<HwmonScan::Device> devices)
    : m_paths(std::move(paths))
    , m_devices(std::move(devices))
    , m_record(m_paths.recordPath)
{
}

HwmonFanTransport::Paths HwmonFanTransport::pathsFor(const std::string& sysfsRoot)
{
    const char* proc = std::getenv("QUILLON_PROC_ROOT");
    return {sysfsRoot, proc && *proc ? proc : "/proc", FanHandbackRecord::defaultPath()};
}

std::optional<HwmonFanTransport> HwmonFanTransport::find(Paths paths)
{
    std::vector<HwmonScan::Device> devices = HwmonScan::devices(paths.sysfsRoot);
    const bool any = std::any_of(devices.begin(), devices.end(), [](const HwmonScan::Device& d) {
        return SysfsFile::exists(d.dir + "/fan1_input") || SysfsFile::exists(d.dir + "/temp1_input");
    });
    if (!any)
        return std::nullopt;
    return HwmonFanTransport(std::move(paths), std::move(devices));
}

std::string HwmonFanTransport::fanFile(const Channel& c, const char* attribute) const
{
    return c.dir + "/fan" + std::to_string(c.number) + '_' + attribute;
}

std::string HwmonFanTransport::dutyFile(const Channel& c) const
{
    return c.dir + "/pwm" + std::to_string(c.number);
}

std::string HwmonFanTransport::enableFile(const Channel& c) const
{
    return c.dir + "/pwm" + std::to_string(c.number) + "_enable";
}

bool HwmonFanTransport::enableReadable(const Channel& c) const
{
    return !c.rule->enableIsWriteOnlyForAll;
}

std::optional<long long> HwmonFanTransport::readEnable(const Channel& c) const
{
    return enableReadable(c) ? SysfsFile::readInteger(enableFile(c)) : std::nullopt;
}

std::uint32_t HwmonFanTransport::open()
{
    clearKeys();
    m_fans.clear();
    m_temperatures.clear();
    std::vector<std::string> reasons;
    HwmonLabelKeys labels;
    for (const HwmonScan::Device& device : m_devices) {
        addDevice(device, reasons);
        for (int n = 1; n <= kMaxChannels; ++n) {
            const std::string file = device.dir + "/temp" + std::to_string(n);
            if (!SysfsFile::exists(file + "_input"))
                continue;
            const std::string label = SysfsFile::readLine(file + "_label").value_or("");
            const std::string key = labels.keyIn(HwmonSensorFamily::of(device.name, label));
            if (key.empty())
                continue;
            addKey(key, SmcType::flt, Role::temperature, static_cast<int>(m_temperatures.size()));
            m_temperatures.push_back({file + "_input"});
        }
    }
    for (const FanHandbackRecord::Entry& entry : m_record.load()) {
        for (Channel& c : m_fans) {
            if (c.id != entry.channel)
                continue;
            c.originalKnown = true;
            c.originalEnable = entry.enable;
            c.originalDuty = entry.duty;
            c.owedHandback = true;
        }
    }
    for (int n = 0; n < static_cast<int>(m_fans.size()); ++n)
        addFanKeys(n, n);
    sortKeys();

    const auto drivable = std::find_if(m_fans.begin(), m_fans.end(), [](const Channel& c) { return c.drivable; });
    if (m_fans.empty() && reasons.empty())
        m_unavailable = "no hwmon driver on this computer shows a fan";
    else if (drivable == m_fans.end())
        m_unavailable
            = reasons.empty() ? "no fan driver on this computer lets programs drive its fans" : reasons.front();
    else if (!SysfsFile::writable(enableFile(m_fans[static_cast<std::size_t>(drivable->enableOwner)])))
        m_unavailable = "the hwmon fan files are read-only for this user; only root may drive the fans";
    else
        m_unavailable.clear();
    if (!m_unavailable.empty() && lockdownIsOn(m_paths.sysfsRoot))
        m_unavailable += " (the kernel is locked down, which keeps out fan tools that write to the EC)";
    return SmcStatus::kSuccess;
}

void HwmonFanTransport::addDevice(const HwmonScan::Device& device, std::vector<std::string>& reasons)
{
    const FanDriverRule& rule = FanDriverRule::of(device.name);
    const bool parameterOff
        = rule.controlParameter && parameterIsOff(m_paths.sysfsRoot + "/module/" + rule.controlParameter);
    const int first = static_cast<int>(m_fans.size());
    for (int n = 1; n <= kMaxChannels && m_fans.size() < kMaxFans; ++n) {
        Channel c{
            &rule, device.dir, device.devicePath + "/pwm" + std::to_string(n), n, static_cast<int>(m_fans.size())};
        if (!SysfsFile::exists(fanFile(c, "input")))
            continue;
        if (rule.enableIsWriteOnlyForAll)
            c.enableOwner = first; // pwm1_enable acts for every fan
        c.hasDuty = SysfsFile::exists(dutyFile(c));
        c.manualEnable = c.hasDuty ? rule.manualEnable : 0;
        const Channel& owner
            = c.enableOwner == static_cast<int>(m_fans.size()) ? c : m_fans[static_cast<std::size_t>(first)];
        const bool hasEnable = SysfsFile::exists(enableFile(owner));
        c.drivable = hasEnable && !parameterOff && !(c.manualEnable == 0 && rule.zeroEnableStopsFan);
        if (parameterOff)
            reasons.push_back(rule.parameterOffReason);
        else if (!hasEnable)
            reasons.push_back(rule.noEnableReason ? std::string(rule.noEnableReason)
                                                  : device.name + ": this driver has no manual mode");
        const std::optional<long long> minimum = SysfsFile::readInteger(fanFile(c, "min"));
        const std::optional<long long> maximum = SysfsFile::readInteger(fanFile(c, "max"));
        c.minRpm = minimum && *minimum > 0 && *minimum < kMaxDuty * kNominalMaxRpm ? static_cast<int>(*minimum) : 0;
        c.maxRpm = maximum && *maximum > c.minRpm && *maximum < kMaxDuty * kNominalMaxRpm ? static_cast<int>(*maximum)
                                                                                          : c.minRpm + kNominalMaxRpm;
        m_fans.push_back(std::move(c));
    }
}

bool HwmonFanTransport::writable(const Key& key) const
{
    const auto role = key.role;
    return (role == Role::fanTarget || role == Role::fanMode) && m_unavailable.empty()
        && m_fans[static_cast<std::size_t>(key.channel)].drivable;
}

std::uint32_t HwmonFanTransport::read(const Key& key, SmcParamRecord& out)
{
    std::optional<long long> value;
    double number = 0;
    switch (key.role) {
    case Role::keyCount: // answered by the table
    case Role::fanCount:
        out.bytes[0] = static_cast<std::uint8_t>(m_fans.size());
        return SmcStatus::kSuccess;
    case Role::fanMode:
        out.bytes[0] = modeOf(m_fans[static_cast<std::size_t>(key.channel)]);
        return SmcStatus::kSuccess;
    case Role::fanActual:
        value = SysfsFile::readInteger(fanFile(m_fans[static_cast<std::size_t>(key.channel)], "input"));
        if (!value || *value < 0)
            return SmcStatus::kIOReturnNotResponding;
        number = static_cast<double>(*value);
        break;
    case Role::fanMin:
        number = m_fans[static_cast<std::size_t>(key.channel)].minRpm;
        break;
    case Role::fanMax:
        number = m_fans[static_cast<std::size_t>(key.channel)].maxRpm;
        break;
    case Role::fanTarget: {
        const Channel& c = m_fans[static_cast<std::size_t>(key.channel)];
        number = c.taken ? c.targetRpm : 0;
        break;
    }
    case Role::temperature:
        value = SysfsFile::readInteger(m_temperatures[static_cast<std::size_t>(key.channel)].file);
        if (!value)
            return SmcStatus::kIOReturnNotResponding;
        number = static_cast<double>(*value) / kMilli;
        break;
    }
    SmcNumber::encode(SmcType::flt, number, out.bytes);
    return SmcStatus::kSuccess;
}

std::uint32_t HwmonFanTransport::write(const Key& key, const SmcParamRecord& in, SmcParamRecord&)
{
    Channel& c = m_fans[static_cast<std::size_t>(key.channel)];
    if (key.role == Role::fanMode)
        return in.bytes[0] != 0 ? take(c) : handBack(c);
    const std::optional<double> rpm = SmcNumber::decode(SmcType::flt, in.bytes, 4);
    if (!rpm || !std::isfinite(*rpm) || *rpm < 0)
        return SmcStatus::kIOReturnBadArgument;
    return writeTarget(c, *rpm);
}

long long HwmonFanTransport::handbackEnable(const Channel& owner) const
{
    if (owner.originalEnable && !(owner.rule->zeroEnableStopsFan && *owner.originalEnable == 0))
        return *owner.originalEnable;
    return owner.rule->automaticEnable;
}

std::uint8_t HwmonFanTransport::modeOf(const Channel& c) const
{
    const Channel& owner = m_fans[static_cast<std::size_t>(c.enableOwner)];
    const std::optional<long long> enable = readEnable(owner);
    if (!enable)
        return owner.taken || owner.owedHandback ? 1 : 0;
    if (owner.taken)
        return *enable == owner.manualEnable ? 1 : 0;
    if (owner.owedHandback)
        return 1;
    return owner.originalKnown && *enable != handbackEnable(owner) ? 1 : 0;
}

bool HwmonFanTransport::saveRecord() const
{
    std::vector<FanHandbackRecord::Entry> entries;
    for (const Channel& c : m_fans) {
        if (c.originalKnown)
            entries.push_back({c.id, c.originalEnable, c.originalDuty});
    }
    return m_record.save(entries);
}

void HwmonFanTransport::armWatchdog(const Channel& owner) const
{
    if (owner.rule->watchdogFile)
        SysfsFile::write(m_paths.procRoot + '/' + owner.rule->watchdogFile, owner.rule->watchdogArm);
}

std::uint32_t HwmonFanTransport::take(Channel& c)
{
    const auto ownerIndex = static_cast<std::size_t>(c.enableOwner);
    for (Channel* learning : {&m_fans[ownerIndex], &c}) {
        if (learning->originalKnown)
            continue;
        learning->originalEnable = readEnable(*learning);
        learning->originalDuty = learning->hasDuty ? SysfsFile::readInteger(dutyFile(*learning)) : std::nullopt;
        learning->originalKnown = true;
    }
    Channel& owner = m_fans[ownerIndex];
    if (owner.taken) {
        const std::optional<long long> enable = readEnable(owner);
        if (!enable || *enable == owner.manualEnable) {
            c.taken = true;
            return SmcStatus::kSuccess;
        }
        owner.taken = false; // the driver let go (a resume, its own watchdog): take it again
    }
    // Without a record a crash could not be undone exactly: no fan is taken.
    if (!saveRecord())
        return SmcStatus::kIOReturnNotPrivileged;
    armWatchdog(owner);
    if (const int error = SysfsFile::write(enableFile(owner), std::to_string(owner.manualEnable)); error != 0)
        return SysfsFile::statusOf(error);
    for (Channel& shared : m_fans) {
        if (shared.enableOwner == c.enableOwner)
            shared.lastDuty.reset();
    }
    owner.taken = true;
    owner.owedHandback = false;
    c.taken = true;
    return SmcStatus::kSuccess;
}

int HwmonFanTransport::dutyFor(const Channel& c, double rpm) const
{
    const double span = c.maxRpm - c.minRpm;
    const double fraction = std::clamp((rpm - c.minRpm) / span, 0.0, 1.0);
    return kMinimumDuty + static_cast<int>(std::lround(fraction * (kMaxDuty - kMinimumDuty)));
}

std::uint32_t HwmonFanTransport::writeTarget(Channel& c, double rpm)
{
    // A target of 0 asks for nothing: the hand-back follows. A fan whose
    // driver knows only full speed runs at full speed while held.
    if (c.taken && !c.hasDuty)
        c.targetRpm = c.maxRpm;
    if (!c.taken || !c.hasDuty || rpm <= 0)
        return SmcStatus::kSuccess;
    const int duty = dutyFor(c, rpm);
    c.targetRpm = static_cast<int>(rpm);
    if (c.lastDuty == duty)
        return SmcStatus::kSuccess;
    int error = SysfsFile::write(dutyFile(c), std::to_string(duty));
    if (error == EINVAL || error == EBUSY) {
        // The driver was reset under us: take the channel again, once.
        Channel& owner = m_fans[static_cast<std::size_t>(c.enableOwner)];
        error = SysfsFile::write(enableFile(owner), std::to_string(owner.manualEnable));
        if (error == 0)
            error = SysfsFile::write(dutyFile(c), std::to_string(duty));
    }
    if (error != 0)
        return SysfsFile::statusOf(error);
    c.lastDuty = duty;
    return SmcStatus::kSuccess;
}

std::uint32_t HwmonFanTransport::handBack(Channel& c)
{
    Channel& owner = m_fans[static_cast<std::size_t>(c.enableOwner)];
    const long long enable = handbackEnable(owner);
    const std::optional<long long> now = readEnable(owner);
    const bool moved = owner.originalKnown && now && *now != enable;
    if (!owner.taken && !owner.owedHandback && !moved) {
        c.taken = false;
        return SmcStatus::kSuccess;
    }
    if (enable == c.manualEnable) {
        // Found in manual mode (another tool's): its duty cycles come back first.
        for (const Channel& shared : m_fans) {
            if (shared.enableOwner == c.enableOwner && shared.originalDuty)
                SysfsFile::write(dutyFile(shared), std::to_string(*shared.originalDuty));
        }
    }
    if (const int error = SysfsFile::write(enableFile(owner), std::to_string(enable)); error != 0)
        return SysfsFile::statusOf(error);
    for (Channel& shared : m_fans) {
        if (shared.enableOwner == c.enableOwner) {
            shared.taken = false;
            shared.owedHandback = false;
        }
    }
    const bool holding
        = std::any_of(m_fans.begin(), m_fans.end(), [](const Channel& f) { return f.taken || f.owedHandback; });
    if (!holding)
        m_record.save({});
    return SmcStatus::kSuccess;
}

} // namespace quillon::smc
