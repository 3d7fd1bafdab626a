#include "MacSmcHwmonTransport.h"

#include "FourCC.h"
#include "HwmonLabelKeys.h"
#include "SmcCodes.h"
#include "SmcNumber.h"
#include "SysfsFile.h"

#include <algorithm>
#include <cmath>
#include <dirent.h>

namespace quillon::smc {

namespace {

constexpr std::uint8_t kReadable = 0x80;
constexpr std::uint8_t kWritable = 0x40;
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
    const std::string hwmon = sysfsRoot + "/class/hwmon";
    DIR* dir = ::opendir(hwmon.c_str());
    if (!dir)
        return std::nullopt;
    std::vector<std::string> candidates;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string candidate = hwmon + '/' + entry->d_name;
        if (entry->d_name[0] != '.' && SysfsFile::readLine(candidate + "/name") == "macsmc_hwmon")
            candidates.push_back(candidate);
    }
    ::closedir(dir);
    if (candidates.empty())
        return std::nullopt;
    std::sort(candidates.begin(), candidates.end());
    return MacSmcHwmonTransport(candidates.front(), sysfsRoot + "/module/macsmc_hwmon/parameters/fan_control");
}

std::string MacSmcHwmonTransport::file(const char* kind, int channel, const char* attribute) const
{
    return m_dir + '/' + kind + std::to_string(channel) + '_' + attribute;
}

std::uint32_t MacSmcHwmonTransport::open()
{
    m_keys.clear();
    m_keys.push_back({FourCC::pack("#KEY"), SmcType::ui32, Role::keyCount});
    m_keys.push_back({FourCC::pack("FNum"), SmcType::ui8, Role::fanCount});
    int fans = 0;
    while (fans < kMaxFans && SysfsFile::exists(file("fan", fans + 1, "input"))) {
        const std::string f = "F" + std::to_string(fans);
        const int channel = fans + 1;
        m_keys.push_back({FourCC::pack(f + "Ac"), SmcType::flt, Role::fanActual, channel});
        m_keys.push_back({FourCC::pack(f + "Mn"), SmcType::flt, Role::fanMin, channel});
        m_keys.push_back({FourCC::pack(f + "Mx"), SmcType::flt, Role::fanMax, channel});
        m_keys.push_back({FourCC::pack(f + "Tg"), SmcType::flt, Role::fanTarget, channel});
        m_keys.push_back({FourCC::pack(f + "Md"), SmcType::ui8, Role::fanMode, fans});
        ++fans;
    }
    m_modes.assign(static_cast<std::size_t>(fans), FanMode::unknown);

    HwmonLabelKeys labels;
    for (int channel = 1; channel <= kMaxChannels; ++channel) {
        if (!SysfsFile::exists(file("temp", channel, "input")))
            continue;
        const std::string key = labels.keyFor(SysfsFile::readLine(file("temp", channel, "label")).value_or(""));
        if (!key.empty() && !find(FourCC::pack(key)))
            m_keys.push_back({FourCC::pack(key), SmcType::flt, Role::temperature, channel});
    }
    m_generation = labels.sawRawKeys() ? SmcGeneration::intel : SmcGeneration::appleSilicon;
    std::sort(m_keys.begin(), m_keys.end(), [](const Key& a, const Key& b) { return a.name < b.name; });

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

const MacSmcHwmonTransport::Key* MacSmcHwmonTransport::find(std::uint32_t name) const
{
    const auto it = std::find_if(m_keys.begin(), m_keys.end(), [name](const Key& k) { return k.name == name; });
    return it == m_keys.end() ? nullptr : &*it;
}

std::uint32_t MacSmcHwmonTransport::call(const SmcParamRecord& in, SmcParamRecord& out)
{
    out.key = in.key;
    const auto command = static_cast<SmcCommand>(in.data8);
    if (command == SmcCommand::keyAtIndex) {
        if (in.data32 < m_keys.size())
            out.key = m_keys[in.data32].name;
        else
            out.result = SmcResult::kKeyIndexRange;
        return SmcStatus::kSuccess;
    }
    const Key* key = find(in.key);
    if (!key) {
        out.result = command == SmcCommand::keyInfo || command == SmcCommand::readKey || command == SmcCommand::writeKey
            ? SmcResult::kKeyNotFound
            : SmcResult::kBadCommand;
        return SmcStatus::kSuccess;
    }
    switch (command) {
    case SmcCommand::keyInfo: {
        const bool writable = m_unavailable.empty() && (key->role == Role::fanTarget || key->role == Role::fanMode);
        out.keyInfo = {key->type == SmcType::ui8 ? 1u : 4u, key->type,
            static_cast<std::uint8_t>(kReadable | (writable ? kWritable : 0))};
        return SmcStatus::kSuccess;
    }
    case SmcCommand::readKey:
        return read(*key, out);
    case SmcCommand::writeKey:
        return write(*key, in, out);
    case SmcCommand::keyAtIndex:
        break;
    }
    out.result = SmcResult::kBadCommand;
    return SmcStatus::kSuccess;
}

std::uint32_t MacSmcHwmonTransport::read(const Key& key, SmcParamRecord& out) const
{
    static constexpr const char* kFanAttribute[] = {"input", "min", "max", "target"};
    std::optional<long long> value;
    switch (key.role) {
    case Role::keyCount:
        SmcNumber::encode(SmcType::ui32, static_cast<double>(m_keys.size()), out.bytes);
        return SmcStatus::kSuccess;
    case Role::fanCount:
        out.bytes[0] = static_cast<std::uint8_t>(m_modes.size());
        return SmcStatus::kSuccess;
    case Role::fanMode:
        out.bytes[0] = m_modes[static_cast<std::size_t>(key.channel)] == FanMode::manual ? 1 : 0;
        return SmcStatus::kSuccess;
    case Role::fanActual:
    case Role::fanMin:
    case Role::fanMax:
    case Role::fanTarget:
        value = SysfsFile::readInteger(
            file("fan", key.channel, kFanAttribute[static_cast<int>(key.role) - static_cast<int>(Role::fanActual)]));
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

std::uint32_t MacSmcHwmonTransport::write(const Key& key, const SmcParamRecord& in, SmcParamRecord& out)
{
    if (!m_unavailable.empty() || (key.role != Role::fanTarget && key.role != Role::fanMode)) {
        out.result = SmcResult::kKeyNotWritable;
        return SmcStatus::kSuccess;
    }
    if (key.role == Role::fanTarget) {
        const std::optional<double> rpm = SmcNumber::decode(SmcType::flt, in.bytes, 4);
        if (!rpm || !std::isfinite(*rpm) || *rpm < 0)
            return SmcStatus::kIOReturnBadArgument;
        return writeTarget(key.channel - 1, std::lround(*rpm));
    }
    const int fan = key.channel;
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
