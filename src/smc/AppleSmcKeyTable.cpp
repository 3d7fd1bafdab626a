#include "AppleSmcKeyTable.h"

#include "FourCC.h"
#include "SmcCodes.h"
#include "SmcParamRecord.h"
#include "SysfsFile.h"

#include <cstring>

namespace quillon::smc {

namespace {
constexpr std::uint32_t kMaxDataSize = sizeof(SmcParamRecord::bytes);
// More keys than any SMC has: a count beyond it is a broken answer.
constexpr long long kMaxKeys = 4096;
} // namespace

AppleSmcKeyTable::AppleSmcKeyTable(std::string deviceDir)
    : m_dir(std::move(deviceDir))
{
}

bool AppleSmcKeyTable::load(std::string& error)
{
    const std::optional<long long> count = SysfsFile::readInteger(path("key_count"));
    if (!count || *count <= 0 || *count > kMaxKeys) {
        error = "applesmc: cannot read the number of SMC keys from " + path("key_count");
        return false;
    }
    m_count = static_cast<std::uint32_t>(*count);
    m_names.assign(m_count, 0);
    m_infos.assign(m_count, std::nullopt);
    m_found.clear();

    std::uint32_t previous = 0;
    for (const std::uint32_t index : {0u, m_count / 2, m_count - 1}) {
        std::uint32_t name = 0;
        if (nameAt(index, name) != SmcStatus::kSuccess) {
            error = "applesmc: cannot read SMC key " + std::to_string(index) + " through " + path("key_at_index");
            return false;
        }
        if (index > 0 && name < previous) {
            error = "applesmc: the SMC key list is not sorted; keys cannot be looked up";
            return false;
        }
        previous = name;
    }
    return true;
}

std::uint32_t AppleSmcKeyTable::select(std::uint32_t index)
{
    const int error = SysfsFile::select(path("key_at_index"), std::to_string(index));
    return error == 0 ? SmcStatus::kSuccess : SysfsFile::statusOf(error);
}

std::uint32_t AppleSmcKeyTable::readFourCC(const char* file, std::uint32_t& value)
{
    int error = 0;
    const std::optional<std::string> text = SysfsFile::read(path(file), &error);
    if (!text)
        return SysfsFile::statusOf(error);
    if (text->size() < 4)
        return SmcStatus::kIOReturnNotResponding;
    value = FourCC::pack(text->substr(0, 4));
    return SmcStatus::kSuccess;
}

std::uint32_t AppleSmcKeyTable::nameAt(std::uint32_t index, std::uint32_t& name)
{
    if (index >= m_count)
        return SmcStatus::kIOReturnBadArgument;
    if (m_names[index] != 0) {
        name = m_names[index];
        return SmcStatus::kSuccess;
    }
    if (const std::uint32_t rc = select(index); rc != SmcStatus::kSuccess)
        return rc;
    if (const std::uint32_t rc = readFourCC("key_at_index_name", name); rc != SmcStatus::kSuccess)
        return rc;
    m_names[index] = name;
    return SmcStatus::kSuccess;
}

std::optional<std::uint32_t> AppleSmcKeyTable::find(std::uint32_t key, std::uint32_t& status)
{
    status = SmcStatus::kSuccess;
    if (const auto cached = m_found.find(key); cached != m_found.end())
        return cached->second;
    // The first index whose name is not below key.
    std::uint32_t lo = 0;
    std::uint32_t hi = m_count;
    while (lo < hi) {
        const std::uint32_t mid = lo + (hi - lo) / 2;
        std::uint32_t name = 0;
        if ((status = nameAt(mid, name)) != SmcStatus::kSuccess)
            return std::nullopt; // not cached: the next call tries again
        if (name < key)
            lo = mid + 1;
        else
            hi = mid;
    }
    std::optional<std::uint32_t> index;
    std::uint32_t name = 0;
    if (lo < m_count) {
        if ((status = nameAt(lo, name)) != SmcStatus::kSuccess)
            return std::nullopt;
        if (name == key)
            index = lo;
    }
    m_found.emplace(key, index);
    return index;
}

std::uint32_t AppleSmcKeyTable::info(std::uint32_t index, Info& info)
{
    if (index >= m_count)
        return SmcStatus::kIOReturnBadArgument;
    if (m_infos[index]) {
        info = *m_infos[index];
        return SmcStatus::kSuccess;
    }
    if (const std::uint32_t rc = select(index); rc != SmcStatus::kSuccess)
        return rc;
    Info read;
    if (const std::uint32_t rc = readFourCC("key_at_index_type", read.type); rc != SmcStatus::kSuccess)
        return rc;
    const std::optional<long long> size = SysfsFile::readInteger(path("key_at_index_data_length"));
    if (!size || *size <= 0 || *size > kMaxDataSize)
        return SmcStatus::kIOReturnNotResponding;
    read.size = static_cast<std::uint32_t>(*size);
    m_infos[index] = read;
    info = read;
    return SmcStatus::kSuccess;
}

std::uint32_t AppleSmcKeyTable::data(std::uint32_t index, const Info& info, std::uint8_t* out)
{
    if (const std::uint32_t rc = select(index); rc != SmcStatus::kSuccess)
        return rc;
    int error = 0;
    const std::optional<std::string> bytes = SysfsFile::read(path("key_at_index_data"), &error);
    if (!bytes)
        return SysfsFile::statusOf(error);
    if (bytes->size() < info.size)
        return SmcStatus::kIOReturnNotResponding;
    std::memcpy(out, bytes->data(), info.size);
    return SmcStatus::kSuccess;
}

} // namespace quillon::smc
