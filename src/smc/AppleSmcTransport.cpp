#include "AppleSmcTransport.h"

#include "FourCC.h"
#include "SmcCodes.h"
#include "SmcNumber.h"
#include "SysfsFile.h"

#include <cmath>
#include <dirent.h>
#include <string_view>

namespace quillon::smc {

namespace {

constexpr std::uint8_t kReadable = 0x80;
constexpr std::uint8_t kWritable = 0x40;
constexpr std::uint32_t kKeyCountKey = FourCC::pack("#KEY");
// The driver takes rpm below 0x4000 (14 integer bits of fpe2).
constexpr double kMaxWritableRpm = 16383;

bool isKeyDirectory(const std::string& dir)
{
    return SysfsFile::exists(dir + "/key_count");
}

} // namespace

AppleSmcTransport::AppleSmcTransport(std::string deviceDir)
    : m_dir(std::move(deviceDir))
    , m_keys(m_dir)
{
}

std::optional<std::string> AppleSmcTransport::find(const std::string& sysfsRoot)
{
    if (const std::string platform = sysfsRoot + "/devices/platform/applesmc.768"; isKeyDirectory(platform))
        return platform;
    const std::string acpi = sysfsRoot + "/bus/acpi/drivers/applesmc";
    DIR* dir = ::opendir(acpi.c_str());
    if (!dir)
        return std::nullopt;
    std::optional<std::string> found;
    while (const dirent* entry = ::readdir(dir)) {
        const std::string candidate = acpi + '/' + entry->d_name;
        if (std::string_view(entry->d_name).starts_with("APP") && isKeyDirectory(candidate)) {
            found = candidate;
            break;
        }
    }
    ::closedir(dir);
    return found;
}

std::uint32_t AppleSmcTransport::open()
{
    if (!m_keys.load(m_unavailable))
        return SmcStatus::kIOReturnNotResponding;
    m_fanCount = 0;
    while (m_fanCount < kMaxFans && SysfsFile::exists(fanPath(m_fanCount, FanFile::output)))
        ++m_fanCount;
    if (m_fanCount == 0)
        m_unavailable = "applesmc shows no fans on this Mac";
    else if (!SysfsFile::writable(fanPath(0, FanFile::output)) || !SysfsFile::writable(fanPath(0, FanFile::manual)))
        m_unavailable = "the applesmc fan files are read-only for this user; only root may drive the fans";
    else
        m_unavailable.clear();
    return SmcStatus::kSuccess;
}

std::uint32_t AppleSmcTransport::call(const SmcParamRecord& in, SmcParamRecord& out)
{
    out.key = in.key;
    switch (static_cast<SmcCommand>(in.data8)) {
    case SmcCommand::keyAtIndex:
        if (in.data32 >= m_keys.count()) {
            out.result = SmcResult::kKeyIndexRange;
            return SmcStatus::kSuccess;
        }
        return m_keys.nameAt(in.data32, out.key);
    case SmcCommand::keyInfo:
        return keyInfo(in.key, out);
    case SmcCommand::readKey:
        return read(in.key, out);
    case SmcCommand::writeKey:
        return write(in, out);
    }
    out.result = SmcResult::kBadCommand;
    return SmcStatus::kSuccess;
}

std::optional<AppleSmcTransport::FanKey> AppleSmcTransport::fanKeyOf(std::uint32_t key)
{
    const std::string name = FourCC::unpack(key);
    if (name[0] != 'F' || name[1] < '0' || name[1] > '9')
        return std::nullopt;
    const int fan = name[1] - '0';
    const std::string_view kind = std::string_view(name).substr(2);
    if (kind == "Tg")
        return FanKey{fan, FanFile::output};
    if (kind == "Mn")
        return FanKey{fan, FanFile::minimum};
    if (kind == "Md")
        return FanKey{fan, FanFile::manual};
    return std::nullopt;
}

std::string AppleSmcTransport::fanPath(int fan, FanFile file) const
{
    static constexpr const char* kSuffix[] = {"_output", "_min", "_manual"};
    return m_dir + "/fan" + std::to_string(fan + 1) + kSuffix[static_cast<int>(file)];
}

bool AppleSmcTransport::isStandInModeKey(std::uint32_t key, std::uint32_t& status)
{
    const std::optional<FanKey> fan = fanKeyOf(key);
    status = SmcStatus::kSuccess;
    if (!fan || fan->file != FanFile::manual || fan->fan >= m_fanCount)
        return false;
    const bool present = m_keys.find(key, status).has_value();
    return status == SmcStatus::kSuccess && !present;
}

std::uint32_t AppleSmcTransport::lookUp(
    std::uint32_t key, AppleSmcKeyTable::Info& info, std::uint32_t& index, SmcParamRecord& out)
{
    std::uint32_t status = SmcStatus::kSuccess;
    const std::optional<std::uint32_t> found = m_keys.find(key, status);
    if (status != SmcStatus::kSuccess)
        return status;
    if (!found) {
        out.result = SmcResult::kKeyNotFound;
        return SmcStatus::kSuccess;
    }
    index = *found;
    return m_keys.info(index, info);
}

std::uint32_t AppleSmcTransport::keyInfo(std::uint32_t key, SmcParamRecord& out)
{
    std::uint32_t status = SmcStatus::kSuccess;
    if (key == kKeyCountKey) {
        out.keyInfo = {4, SmcType::ui32, kReadable};
        return SmcStatus::kSuccess;
    }
    if (isStandInModeKey(key, status)) {
        out.keyInfo = {1, SmcType::ui8, kReadable | kWritable};
        return SmcStatus::kSuccess;
    }
    if (status != SmcStatus::kSuccess)
        return status;
    AppleSmcKeyTable::Info info;
    std::uint32_t index = 0;
    if (const std::uint32_t rc = lookUp(key, info, index, out); rc != SmcStatus::kSuccess || out.result != 0)
        return rc;
    out.keyInfo.dataSize = info.size;
    out.keyInfo.dataType = info.type;
    out.keyInfo.dataAttributes = fanKeyOf(key) ? kReadable | kWritable : kReadable;
    return SmcStatus::kSuccess;
}

std::uint32_t AppleSmcTransport::read(std::uint32_t key, SmcParamRecord& out)
{
    std::uint32_t status = SmcStatus::kSuccess;
    if (key == kKeyCountKey) {
        SmcNumber::encode(SmcType::ui32, m_keys.count(), out.bytes);
        return SmcStatus::kSuccess;
    }
    if (isStandInModeKey(key, status)) {
        const std::optional<long long> manual = SysfsFile::readInteger(fanPath(fanKeyOf(key)->fan, FanFile::manual));
        if (!manual || *manual < 0)
            return SmcStatus::kIOReturnNotResponding;
        out.bytes[0] = *manual ? 1 : 0;
        return SmcStatus::kSuccess;
    }
    if (status != SmcStatus::kSuccess)
        return status;
    AppleSmcKeyTable::Info info;
    std::uint32_t index = 0;
    if (const std::uint32_t rc = lookUp(key, info, index, out); rc != SmcStatus::kSuccess || out.result != 0)
        return rc;
    return m_keys.data(index, info, out.bytes);
}

std::uint32_t AppleSmcTransport::write(const SmcParamRecord& in, SmcParamRecord& out)
{
    std::uint32_t status = SmcStatus::kSuccess;
    const std::optional<FanKey> fan = fanKeyOf(in.key);
    const bool standIn = isStandInModeKey(in.key, status);
    if (status != SmcStatus::kSuccess)
        return status;
    AppleSmcKeyTable::Info info;
    if (!standIn) {
        std::uint32_t index = 0;
        if (const std::uint32_t rc = lookUp(in.key, info, index, out); rc != SmcStatus::kSuccess || out.result != 0)
            return rc;
    }
    if (!fan || fan->fan >= m_fanCount) {
        out.result = SmcResult::kKeyNotWritable;
        return SmcStatus::kSuccess;
    }
    std::string text;
    if (fan->file == FanFile::manual) {
        text = in.bytes[0] ? "1" : "0";
    } else {
        const std::optional<double> rpm = SmcNumber::decode(info.type, in.bytes, info.size);
        if (!rpm || !std::isfinite(*rpm) || *rpm < 0 || *rpm > kMaxWritableRpm)
            return SmcStatus::kIOReturnBadArgument;
        text = std::to_string(static_cast<long long>(*rpm)); // whole rpm, as the driver takes them
    }
    const int error = SysfsFile::write(fanPath(fan->fan, fan->file), text);
    return error == 0 ? SmcStatus::kSuccess : SysfsFile::statusOf(error);
}

} // namespace quillon::smc
