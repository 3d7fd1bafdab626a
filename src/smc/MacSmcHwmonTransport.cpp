#include "MacSmcHwmonTransport.h"

#include "FourCC.h"
#include "HwmonLabelKeys.h"
#include "HwmonScan.h"
#include "SmcCodes.h"
#include "SmcNumber.h"
#include "SysfsFile.h"

#include <algorithm>
#include <cmath>

namespace quillon::smc {

namespace {

constexpr double kMilli = 1000.0;

bool parameterIsOn(const std::string& path)
{
    const std::optional<std::string> value = SysfsFile::readLine(path);
    return value && (*value == "Y" || *value == "1");
}

} // namespace

MacSmcHwmonTransport::MacSmcHwmonTransport(std::string hwmonDir, std::string fanControlParameter)
    : m_dir(std::move(hwmonDir))
    , m_fanControlParameter(std::move(fanControlParameter))
{
}

std::optional<MacSmcHwmonTransport> MacSmcHwmonTransport::find(const std::string& sysfsRoot)
{
    for (const HwmonScan::Device& device : HwmonScan::devices(sysfsRoot)) {
        if (device.name == "macsmc_hwmon")
            return MacSmcHwmonTransport(device.dir, sysfsRoot + "/module/macsmc_hwmon/parameters/fan_control");
    }
    return std::nullopt;
}

std::string MacSmcHwmonTransport::file(const char* kind, int channel, const char* attribute) const
{
    return m_dir + '/' + kind + std::to_string(channel) + '_' + attribute;
}

std::uint32_t MacSmcHwmonTransport::open()
{
    clearKeys();
    int fans = 0;
    while (fans < kMaxFans && SysfsFile::exists(file("fan", fans + 1, "input"))) {
        addFanKeys(fans, fans + 1);
        ++fans;
    }
    m_modes.assign(static_cast<std::size_t>(fans), FanMode::unknown);

    HwmonLabelKeys labels;
    for (int channel = 1; channel <= kMaxChannels; ++channel) {
        if (!SysfsFile::exists(file("temp", channel, "input")))
            continue;
        const std::string key = labels.keyFor(SysfsFile::readLine(file("temp", channel, "label")).value_or(""));
        if (!key.empty())
            addKey(key, SmcType::flt, Role::temperature, channel);
    }
    m_generation = labels.sawRawKeys() ? SmcGeneration::intel : SmcGeneration::appleSilicon;
    sortKeys();

    if (fans == 0)
        m_unavailable = "macsmc_hwmon shows no fans on this Mac";
    else if (!parameterIsOn(m_fanControlParameter))
        m_unavailable = "the macsmc_hwmon driver runs with fan_control off (start Linux with "
                        "macsmc_hwmon.fan_control=1 to allow it)";
    else if (!SysfsFile::exists(file("fan", 1, "target")))
        m_unavailable = "macsmc_hwmon offers no fan target on this Mac";
    else
        m_unavailable.clear();
    return SmcStatus::kSuccess;
}

bool MacSmcHwmonTransport::writable(const Key& key) const
{
    const Role role = key.role;
    return m_unavailable.empty() && (role == Role::fanTarget || role == Role::fanMode);
}

std::uint32_t MacSmcHwmonTransport::read(const Key& key, SmcParamRecord& out)
{
    static constexpr const char* kFanAttribute[] = {"input", "min", "max", "target"};
    std::optional<long long> value;
    const Role role = key.role;
    switch (role) {
    case Role::fanCount:
        out.bytes[0] = static_cast<std::uint8_t>(m_modes.size());
        return SmcStatus::kSuccess;
    case Role::fanMode:
        out.bytes[0] = m_modes[static_cast<std::size_t>(key.channel - 1)] == FanMode::manual ? 1 : 0;
        return SmcStatus::kSuccess;
    case Role::fanActual:
    case Role::fanMin:
    case Role::fanMax:
    case Role::fanTarget:
        value = SysfsFile::readInteger(
            file("fan", key.channel, kFanAttribute[static_cast<int>(role) - static_cast<int>(Role::fanActual)]));
        if (!value)
            return SmcStatus::kIOReturnNotResponding;
        SmcNumber::encode(SmcType::flt, static_cast<double>(*value), out.bytes);
        return SmcStatus::kSuccess;
    case Role::temperature:
        value = SysfsFile::readInteger(file("temp", key.channel, "input"));
        if (!value)
            return SmcStatus::kIOReturnNotResponding;
        SmcNumber::encode(SmcType::flt, static_cast<double>(*value) / kMilli, out.bytes);
        return SmcStatus::kSuccess;
    case Role::keyCount:
        break; // answered by the table
    }
    return SmcStatus::kIOReturnNotResponding;
}

std::uint32_t MacSmcHwmonTransport::writeTarget(int fan, long long rpm)
{
    const int error = SysfsFile::write(file("fan", fan + 1, "target"), std::to_string(rpm));
    if (error != 0)
        return SysfsFile::statusOf(error);
    m_modes[static_cast<std::size_t>(fan)] = rpm == 0 ? FanMode::firmware : FanMode::manual;
    return SmcStatus::kSuccess;
}

std::uint32_t MacSmcHwmonTransport::write(const Key& key, const SmcParamRecord& in, SmcParamRecord&)
{
    if (key.role == Role::fanTarget) {
        const std::optional<double> rpm = SmcNumber::decode(SmcType::flt, in.bytes, 4);
        if (!rpm || !std::isfinite(*rpm) || *rpm < 0)
            return SmcStatus::kIOReturnBadArgument;
        return writeTarget(key.channel - 1, std::lround(*rpm));
    }
    const int fan = key.channel - 1;
    if (in.bytes[0] != 0)
        return SmcStatus::kSuccess; // the next target takes the fan
    if (m_modes[static_cast<std::size_t>(fan)] == FanMode::unknown) {
        // Whatever the driver believes, this makes it write the mode key.
        const std::optional<long long> minimum = SysfsFile::readInteger(file("fan", fan + 1, "min"));
        if (!minimum || *minimum <= 0)
            return SmcStatus::kIOReturnNotResponding;
        if (const std::uint32_t rc = writeTarget(fan, *minimum); rc != SmcStatus::kSuccess)
            return rc;
    }
    return writeTarget(fan, 0);
}

} // namespace quillon::smc
