#pragma once

#include <optional>
#include <vector>

namespace quillon::smc {

// The physics of the simulated Mac: one die temperature driven by CPU load
// and cooled by the fans, and fans that chase their target with a spin-up
// slew. In firmware mode a fan's target follows the firmware's own curve; in
// manual mode it is whatever was written, held between the fan's min and max.
// Temperatures in °C, speeds in rpm, time in seconds.
class SimThermalModel {
public:
    struct Fan {
        double minRpm;
        double maxRpm;
        double actualRpm;
        double manualTargetRpm = 0; // what was written to the target key
        bool manual = false;
    };

    static constexpr double ambientC = 28.0;
    static constexpr double dieTimeConstantS = 6.0;
    static constexpr double spinUpRpmPerS = 900.0;
    static constexpr double spinDownRpmPerS = 600.0;
    // The firmware's own curve: minimum speed up to here, maximum at +firmwareRampC.
    static constexpr double firmwareRampStartC = 60.0;
    static constexpr double firmwareRampC = 35.0;

    // Fans start at their minimum and the die at its equilibrium for loadPercent.
    SimThermalModel(std::vector<Fan> fans, double loadPercent);

    // Runs the model forward by seconds (in steps of at most 0.1 s; gaps over a
    // minute count as a minute, which is long past equilibrium anyway).
    void advance(double seconds);

    double dieC() const { return m_dieC; }
    double loadPercent() const { return m_loadPercent; }
    void setLoadPercent(double percent);

    const std::vector<Fan>& fans() const { return m_fans; }
    void setManual(std::size_t fan, bool manual);
    // Non-finite or negative targets are read as 0, which manual mode holds at the minimum.
    void setManualTarget(std::size_t fan, double rpm);
    // The target the fan is chasing now: the firmware's or the manual one.
    double effectiveTargetRpm(std::size_t fan) const;

    // Pins the die at a temperature (nullopt: simulate again). Fans keep moving.
    void holdDie(std::optional<double> celsius);

    // The die temperature the model settles at with the fans where they are.
    double equilibriumC() const;

private:
    void step(double seconds);

    std::vector<Fan> m_fans;
    double m_loadPercent;
    double m_dieC;
    std::optional<double> m_heldDieC;
};

} // namespace quillon::smc
