#include "SimulatedMac.h"

#include "FourCC.h"
#include "SmcCodes.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

namespace quillon::smc {

namespace {

constexpr std::uint8_t kReadable = 0x80;
constexpr std::uint8_t kWritable = 0x40;
constexpr std::uint8_t kKeySizeMismatch = 0x87;

void putBigEndian(std::uint8_t* out, std::uint32_t size, std::uint32_t value)
{
    for (std::uint32_t i = 0; i < size; ++i)
        out[i] = static_cast<std::uint8_t>(value >> (8 * (size - 1 - i)));
}

void putFloat(std::uint8_t* out, double value)
{
    const auto f = static_cast<float>(value);
    std::memcpy(out, &f, sizeof f);
}

double getFloat(const std::uint8_t* in)
{
    float f;
    std::memcpy(&f, in, sizeof f);
    return f;
}

// sp78: signed 8.8 fixed point; fpe2: unsigned 14.2 fixed point; both big-endian.
void putSp78(std::uint8_t* out, double value)
{
    const auto fixed = static_cast<std::int16_t>(std::clamp(value, -127.0, 127.0) * 256.0);
    putBigEndian(out, 2, static_cast<std::uint16_t>(fixed));
}

void putFpe2(std::uint8_t* out, double rpm)
{
    putBigEndian(out, 2, static_cast<std::uint32_t>(std::clamp(rpm, 0.0, 16383.0) * 4.0));
}

} // namespace

double SimulatedMac::steadySeconds()
{
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

SimulatedMac::Config SimulatedMac::Config::appleSiliconLaptop()
{
    Config config;
    config.fans = {{1200, 5700}, {1300, 6200}};
    // Performance cores run hottest, the GPU and efficiency cores a little
    // cooler; palm rest and battery follow the die from afar. Tc0P is a
    // safety-prefixed key of the wrong type, which discovery must skip.
    config.sensors = {
        {"Tp01", SmcType::flt, 1.0, 1.5},
        {"Tp05", SmcType::flt, 1.0, 2.8},
        {"Tp09", SmcType::flt, 1.0, 0.4},
        {"Tp0D", SmcType::flt, 1.0, -0.6},
        {"Te05", SmcType::flt, 0.8, 0.0},
        {"Te0S", SmcType::flt, 0.78, 0.0},
        {"Tg05", SmcType::flt, 0.7, 2.0},
        {"Tg0D", SmcType::flt, 0.68, 1.0},
        {"Tc0P", SmcType::sp78, 1.0, -3.0},
        {"TC0P", SmcType::flt, 1.0, -9.0},
        {"Ts0P", SmcType::flt, 0.25, 0.0},
        {"TB0T", SmcType::flt, 0.15, 2.0},
        {"TA0P", SmcType::sp78, 0.0, 0.0},
    };
    return config;
}

SimulatedMac::SimulatedMac(Clock clock)
    : SimulatedMac(Config::appleSiliconLaptop(), std::move(clock))
{
}

namespace {
std::vector<SimThermalModel::Fan> modelFans(const std::vector<SimulatedMac::FanSpec>& configured)
{
    std::vector<SimThermalModel::Fan> fans;
    for (const auto& fan : configured)
        fans.push_back({fan.minRpm, fan.maxRpm, fan.minRpm});
    return fans;
}
} // namespace

SimulatedMac::SimulatedMac(Config config, Clock clock)
    : m_clock(std::move(clock))
    , m_lastSeconds(m_clock())
    , m_model(modelFans(config.fans), config.loadPercent)
    , m_generation(config.generation)
{
    const std::uint8_t rw = kReadable | kWritable;
    addKey("#KEY", SmcType::ui32, 4, kReadable, Role::keyCount);
    addKey("FNum", SmcType::ui8, 1, kReadable, Role::fanCount);
    if (config.hasForceTestKey)
        addKey("Ftst", SmcType::ui8, 1, rw, Role::forceTest);
    addKey("QLOD", SmcType::ui8, 1, rw, Role::load);
    addKey("QFLT", SmcType::ui8, 1, rw, Role::faults);
    for (std::size_t n = 0; n < m_model.fans().size(); ++n) {
        const std::string f = "F" + std::to_string(n);
        addKey(f + "Ac", SmcType::flt, 4, kReadable, Role::fanActual, n);
        addKey(f + "Mn", SmcType::flt, 4, kReadable, Role::fanMin, n);
        addKey(f + "Mx", SmcType::flt, 4, kReadable, Role::fanMax, n);
        addKey(f + "Tg", SmcType::flt, 4, rw, Role::fanTarget, n);
        addKey(f + (config.lowercaseModeKeys ? "md" : "Md"), SmcType::ui8, 1, rw, Role::fanMode, n);
        addKey(f + "Sf", SmcType::fpe2, 2, kReadable, Role::fanSafe, n);
    }
    m_modeBytes.assign(m_model.fans().size(), 0);

    for (const SensorSpec& s : config.sensors) {
        addKey(s.key, s.type, s.type == SmcType::flt ? 4 : 2, kReadable, Role::temperature, m_sensors.size());
        m_sensors.push_back({s.gain, s.offset});
    }

    Key platform{FourCC::pack("RPlt"), SmcType::ch8, 8, kReadable, Role::constant, 0, {'j', '3', '1', '4', 's'}};
    platform.constant.resize(platform.size, 0);
    m_keys.push_back(platform);

    // The SMC keeps its keys sorted, which is the order the by-index command walks.
    std::sort(m_keys.begin(), m_keys.end(), [](const Key& a, const Key& b) { return a.name < b.name; });
}

void SimulatedMac::holdDieTemperature(std::optional<double> celsius)
{
    advanceToNow();
    m_model.holdDie(celsius);
}

void SimulatedMac::addKey(const std::string& name, std::uint32_t type, std::uint32_t size, std::uint8_t attributes,
    Role role, std::size_t index)
{
    m_keys.push_back({FourCC::pack(name), type, size, attributes, role, index});
}

const SimulatedMac::Key* SimulatedMac::find(std::uint32_t name) const
{
    const auto it = std::find_if(m_keys.begin(), m_keys.end(), [name](const Key& k) { return k.name == name; });
    return it == m_keys.end() ? nullptr : &*it;
}

void SimulatedMac::advanceToNow()
{
    const double now = m_clock();
    m_model.advance(now - m_lastSeconds);
    m_lastSeconds = std::max(m_lastSeconds, now);
}

void SimulatedMac::handle(const SmcParamRecord& in, SmcParamRecord& out)
{
    advanceToNow();
    out = SmcParamRecord{};
    out.key = in.key;
    switch (static_cast<SmcCommand>(in.data8)) {
    case SmcCommand::keyAtIndex:
        if (in.data32 < m_keys.size())
            out.key = m_keys[in.data32].name;
        else
            out.result = SmcResult::kKeyIndexRange;
        return;
    case SmcCommand::keyInfo:
        if (const Key* key = find(in.key)) {
            out.keyInfo.dataSize = key->size;
            out.keyInfo.dataType = key->type;
            out.keyInfo.dataAttributes = key->attributes;
        } else {
            out.result = SmcResult::kKeyNotFound;
        }
        return;
    case SmcCommand::readKey:
        if (const Key* key = find(in.key))
            out.result = in.keyInfo.dataSize == key->size ? read(*key, out.bytes) : kKeySizeMismatch;
        else
            out.result = SmcResult::kKeyNotFound;
        return;
    case SmcCommand::writeKey:
        if (const Key* key = find(in.key))
            out.result = in.keyInfo.dataSize == key->size ? write(*key, in.bytes) : kKeySizeMismatch;
        else
            out.result = SmcResult::kKeyNotFound;
        return;
    }
    out.result = SmcResult::kBadCommand;
}

double SimulatedMac::temperature(std::size_t sensor) const
{
    if (m_faults & temperaturesRead105)
        return kFaultTemperatureC;
    const Sensor& s = m_sensors.at(sensor);
    return SimThermalModel::ambientC + (m_model.dieC() - SimThermalModel::ambientC) * s.gain + s.offset;
}

std::uint8_t SimulatedMac::read(const Key& key, std::uint8_t* bytes) const
{
    const auto fan = [&]() -> const SimThermalModel::Fan& {
        return m_model.fans().at(key.index);
    };
    switch (key.role) {
    case Role::keyCount:
        putBigEndian(bytes, 4, static_cast<std::uint32_t>(m_keys.size()));
        break;
    case Role::fanCount:
        bytes[0] = static_cast<std::uint8_t>(m_model.fans().size());
        break;
    case Role::forceTest:
        bytes[0] = m_forceTest;
        break;
    case Role::load:
        bytes[0] = static_cast<std::uint8_t>(m_model.loadPercent());
        break;
    case Role::faults:
        bytes[0] = m_faults;
        break;
    case Role::constant:
        std::memcpy(bytes, key.constant.data(), std::min<std::size_t>(key.constant.size(), 32));
        break;
    case Role::fanActual:
        putFloat(bytes, std::round(fan().actualRpm));
        break;
    case Role::fanMin:
        putFloat(bytes, fan().minRpm);
        break;
    case Role::fanMax:
        putFloat(bytes, fan().maxRpm);
        break;
    case Role::fanTarget:
        putFloat(bytes, fan().manual ? fan().manualTargetRpm : std::round(m_model.effectiveTargetRpm(key.index)));
        break;
    case Role::fanMode:
        bytes[0] = (m_faults & modeReadsBackManual) ? 1 : m_modeBytes.at(key.index);
        break;
    case Role::fanSafe:
        putFpe2(bytes, fan().minRpm);
        break;
    case Role::temperature:
        if (m_faults & temperatureReadsFail)
            return SmcResult::kSensorTimeout;
        if (key.type == SmcType::sp78)
            putSp78(bytes, temperature(key.index));
        else
            putFloat(bytes, temperature(key.index));
        break;
    }
    return SmcResult::kSuccess;
}

std::uint8_t SimulatedMac::write(const Key& key, const std::uint8_t* bytes)
{
    if (!(key.attributes & kWritable))
        return SmcResult::kKeyNotWritable;
    const bool controlKey = key.role == Role::load || key.role == Role::faults;
    if ((m_faults & writesFail) && !controlKey)
        return SmcResult::kBadCommand;
    switch (key.role) {
    case Role::forceTest:
        m_forceTest = bytes[0];
        break;
    case Role::load:
        m_model.setLoadPercent(std::min<double>(bytes[0], 100));
        break;
    case Role::faults:
        m_faults = bytes[0] & allFaults;
        break;
    case Role::fanTarget:
        m_model.setManualTarget(key.index, getFloat(bytes));
        break;
    case Role::fanMode:
        if (m_faults & modeWritesIgnored)
            break;
        m_modeBytes.at(key.index) = bytes[0];
        m_model.setManual(key.index, bytes[0] == 1);
        break;
    default:
        return SmcResult::kKeyNotWritable;
    }
    return SmcResult::kSuccess;
}

} // namespace quillon::smc
