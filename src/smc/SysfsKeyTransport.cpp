#include "SysfsKeyTransport.h"

#include "FourCC.h"
#include "SmcCodes.h"
#include "SmcNumber.h"

#include <algorithm>

namespace quillon::smc {

namespace {

constexpr std::uint8_t kReadable = 0x80;
constexpr std::uint8_t kWritable = 0x40;
constexpr std::uint32_t kKeyCount = FourCC::pack("#KEY");

} // namespace

void SysfsKeyTransport::clearKeys()
{
    m_keys.clear();
    m_keys.push_back({kKeyCount, SmcType::ui32, Role::keyCount});
    addKey("FNum", SmcType::ui8, Role::fanCount);
}

void SysfsKeyTransport::addKey(const std::string& name, std::uint32_t type, Role role, int channel)
{
    if (!find(FourCC::pack(name)))
        m_keys.push_back({FourCC::pack(name), type, role, channel});
}

void SysfsKeyTransport::addFanKeys(int fan, int channel)
{
    const std::string f = "F" + std::to_string(fan);
    addKey(f + "Ac", SmcType::flt, Role::fanActual, channel);
    addKey(f + "Mn", SmcType::flt, Role::fanMin, channel);
    addKey(f + "Mx", SmcType::flt, Role::fanMax, channel);
    addKey(f + "Tg", SmcType::flt, Role::fanTarget, channel);
    addKey(f + "Md", SmcType::ui8, Role::fanMode, channel);
}

void SysfsKeyTransport::sortKeys()
{
    std::sort(m_keys.begin(), m_keys.end(), [](const Key& a, const Key& b) { return a.name < b.name; });
}

const SysfsKeyTransport::Key* SysfsKeyTransport::find(std::uint32_t name) const
{
    const auto it = std::find_if(m_keys.begin(), m_keys.end(), [name](const Key& k) { return k.name == name; });
    return it == m_keys.end() ? nullptr : &*it;
}

std::uint32_t SysfsKeyTransport::call(const SmcParamRecord& in, SmcParamRecord& out)
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
    const bool isCount = key->role == Role::keyCount;
    switch (command) {
    case SmcCommand::keyInfo:
        out.keyInfo = {key->type == SmcType::ui8 ? 1u : 4u, key->type,
            static_cast<std::uint8_t>(kReadable | (!isCount && writable(*key) ? kWritable : 0))};
        return SmcStatus::kSuccess;
    case SmcCommand::readKey:
        if (isCount) {
            SmcNumber::encode(SmcType::ui32, static_cast<double>(m_keys.size()), out.bytes);
            return SmcStatus::kSuccess;
        }
        return read(*key, out);
    case SmcCommand::writeKey:
        if (isCount || !writable(*key)) {
            out.result = SmcResult::kKeyNotWritable;
            return SmcStatus::kSuccess;
        }
        return write(*key, in, out);
    case SmcCommand::keyAtIndex:
        break;
    }
    out.result = SmcResult::kBadCommand;
    return SmcStatus::kSuccess;
}

} // namespace quillon::smc
