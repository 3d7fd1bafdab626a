#pragma once

#include "SimThermalModel.h"
#include "SmcGeneration.h"
#include "SmcParamRecord.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillon::smc {

// A simulated Mac behind the SMC's record, command codes and result bytes.
// By default an Apple-Silicon-like laptop: two fans (1200-5700 and 1300-6200
// rpm), safety sensors (Tp.., Te.., Tg..), other sensors, a few keys of other
// types, and two control keys of its own:
//   QLOD (ui8) CPU load in percent, 0..100;
//   QFLT (ui8) fault bits: 1 = temperature reads fail, 2 = temperatures read
//        105 °C, 4 = writes fail (except to Q keys), 8 = mode keys read back 1.
// The thermal model runs lazily: every request first advances it to now.
class SimulatedMac {
public:
    // Monotonic seconds; the model advances by the difference between calls.
    using Clock = std::function<double()>;

    static constexpr std::uint8_t kDefaultLoadPercent = 8;
    static constexpr double kFaultTemperatureC = 105.0;

    enum Fault : std::uint8_t {
        temperatureReadsFail = 1,
        temperaturesRead105 = 2,
        writesFail = 4,
        modeReadsBackManual = 8,
        // Mode writes answer success and change nothing: a firmware that
        // will not take the fans back.
        modeWritesIgnored = 16,
        allFaults = 31,
    };

    struct FanSpec {
        double minRpm;
        double maxRpm;
    };
    // A temperature key reading ambient + (die - ambient) * gain + offset.
    struct SensorSpec {
        std::string key;
        std::uint32_t type; // SmcType::flt or SmcType::sp78
        double gain;
        double offset;
    };
    struct Config {
        std::vector<FanSpec> fans;
        std::vector<SensorSpec> sensors;
        double loadPercent = kDefaultLoadPercent;
        // Mode keys spelt F{n}md, as on the newest machines, instead of F{n}Md.
        bool lowercaseModeKeys = false;
        // Whether the "Ftst" key exists (the newest machines have none).
        bool hasForceTestKey = true;
        // The SMC family it stands for; only its transport reports it.
        SmcGeneration generation = SmcGeneration::appleSilicon;

        // The default machine described above.
        static Config appleSiliconLaptop();
    };

    explicit SimulatedMac(Clock clock = steadySeconds);
    SimulatedMac(Config config, Clock clock);

    // Holds the die at a fixed temperature (every sensor follows it as
    // configured) instead of simulating heat; nullopt resumes the simulation.
    // For tests that need exact temperatures.
    void holdDieTemperature(std::optional<double> celsius);

    // Answers one request record the way the SMC would; out.result carries
    // the verdict (0 or the SMC's error byte).
    void handle(const SmcParamRecord& in, SmcParamRecord& out);

    static double steadySeconds();

    SmcGeneration generation() const { return m_generation; }

private:
    enum class Role {
        keyCount,
        fanCount,
        forceTest,
        load,
        faults,
        constant,
        fanActual,
        fanMin,
        fanMax,
        fanTarget,
        fanMode,
        fanSafe,
        temperature,
    };
    struct Sensor {
        double gain;   // share of the die's rise above ambient
        double offset; // °C
    };
    struct Key {
        std::uint32_t name;
        std::uint32_t type;
        std::uint32_t size;
        std::uint8_t attributes;
        Role role;
        std::size_t index = 0; // fan or sensor index
        std::vector<std::uint8_t> constant = {};
    };

    void addKey(const std::string& name, std::uint32_t type, std::uint32_t size, std::uint8_t attributes, Role role,
        std::size_t index = 0);
    const Key* find(std::uint32_t name) const;
    void advanceToNow();
    std::uint8_t read(const Key& key, std::uint8_t* bytes) const;
    std::uint8_t write(const Key& key, const std::uint8_t* bytes);
    double temperature(std::size_t sensor) const;

    Clock m_clock;
    double m_lastSeconds;
    SimThermalModel m_model;
    std::vector<Sensor> m_sensors;
    std::vector<Key> m_keys;
    std::uint8_t m_forceTest = 0;
    std::uint8_t m_faults = 0;
    std::vector<std::uint8_t> m_modeBytes;
    SmcGeneration m_generation;
};

} // namespace quillon::smc
