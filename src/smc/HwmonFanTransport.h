#pragma once

#include "FanDriverRule.h"
#include "FanHandbackRecord.h"
#include "HwmonScan.h"
#include "SysfsKeyTransport.h"

#include <optional>
#include <string>
#include <vector>

namespace quillon::smc {

// The fans and temperatures of any Linux computer through its hwmon drivers
// (ThinkPads, Dells, ASUS, HP and Framework laptops, desktop Super-I/O
// chips), shown as the SMC keys the layer above drives:
//   "FNum" (ui8); per fan n (fanN_input in device order, at most kMaxFans):
//   F{n}Ac (flt rpm)  <- fanN_input
//   F{n}Mn, F{n}Mx    <- fanN_min/fanN_max where the driver has them, else
//                        0 and kNominalMaxRpm (the target is a duty cycle
//                        over that span, see below)
//   F{n}Tg (flt rpm)  -> pwmN, as a duty cycle from kMinimumDuty (at Mn)
//                        to 255 (at Mx); reads what was last asked
//   F{n}Md (ui8)      -> pwmN_enable: 1 takes the fan, 0 hands it back
//   one flt key per temperature, named by HwmonSensorFamily: the CPU's and
//   GPU's own sensors form the safety families, as on Apple silicon.
//
// Taking a fan first notes what its channel showed (pwmN_enable, pwmN) in
// the hand-back record on disk, then writes its driver's manual mode.
// Handing back writes exactly what was found (or, where the driver cannot
// say, its automatic mode, FanDriverRule); F{n}Md then reads 0 only when
// pwmN_enable reads back as found. A channel that reads back its manual mode
// after a hand-back, or that the record names after a crash, is handed back
// the same way by the next F{n}Md = 0, also by a new process. A fan can be
// taken only if its original can be recorded first.
//
// While a fan is held, F{n}Md = 1 reads pwmN_enable and writes the manual
// mode again only when the driver let go (a resume, the driver's own
// watchdog); pwmN is written only when the duty cycle changes, or again
// after a write the driver refused with EINVAL or EBUSY (it was reset).
class HwmonFanTransport : public SysfsKeyTransport {
public:
    struct Paths {
        std::string sysfsRoot;
        std::string procRoot;   // where the drivers' /proc files are
        std::string recordPath; // the hand-back record (FanHandbackRecord)
    };
    HwmonFanTransport(Paths paths, std::vector<HwmonScan::Device> devices);

    // The hwmon devices under paths.sysfsRoot, when any has a fan or a
    // temperature; nullopt when none does.
    static std::optional<HwmonFanTransport> find(Paths paths);
    // find() with the machine's paths: sysfsRoot, QUILLON_PROC_ROOT or
    // /proc, and FanHandbackRecord::defaultPath().
    static Paths pathsFor(const std::string& sysfsRoot);

    std::uint32_t open() override;
    SmcGeneration generation() const override { return SmcGeneration::appleSilicon; }
    std::string fanControlUnavailable() const override { return m_unavailable; }

    static constexpr int kMaxFans = 10;
    static constexpr int kMaxChannels = 32;
    static constexpr int kMaxDuty = 255;
    // A held fan never runs below this duty cycle (a quarter), so no floor
    // however small stops it: many fans stall below it, and some drivers
    // (thinkpad level 0, pwm-fan) switch the fan off at the bottom.
    static constexpr int kMinimumDuty = 64;
    static constexpr int kNominalMaxRpm = 5000;

private:
    struct Channel {
        const FanDriverRule* rule;
        std::string dir;
        std::string id;  // device path + "/pwmN"
        int number;      // N
        int enableOwner; // the channel whose pwmN_enable acts for this one
        bool drivable = false;
        bool hasDuty = false;
        int manualEnable = 1;
        int minRpm = 0;
        int maxRpm = kNominalMaxRpm;
        // What a hand-back restores, once known.
        bool originalKnown = false;
        std::optional<long long> originalEnable{};
        std::optional<long long> originalDuty{};
        bool taken = false;            // the manual mode is written and in force
        bool owedHandback = false;     // named by a record an earlier helper left
        std::optional<int> lastDuty{}; // last duty written while held
        int targetRpm = 0;
    };
    struct Temperature {
        std::string file;
    };

    void addDevice(const HwmonScan::Device& device, std::vector<std::string>& reasons);
    std::string fanFile(const Channel& c, const char* attribute) const; // fanN_<attribute>
    std::string dutyFile(const Channel& c) const;                       // pwmN
    std::string enableFile(const Channel& c) const;
    bool enableReadable(const Channel& c) const;
    std::optional<long long> readEnable(const Channel& c) const;
    long long handbackEnable(const Channel& owner) const;

    bool writable(const Key& key) const override;
    std::uint32_t read(const Key& key, SmcParamRecord& out) override;
    std::uint32_t write(const Key& key, const SmcParamRecord& in, SmcParamRecord& out) override;

    std::uint32_t take(Channel& c);
    std::uint32_t writeTarget(Channel& c, double rpm);
    std::uint32_t handBack(Channel& c);
    std::uint8_t modeOf(const Channel& c) const;
    bool saveRecord() const;
    void armWatchdog(const Channel& owner) const;
    int dutyFor(const Channel& c, double rpm) const;

    Paths m_paths;
    std::vector<HwmonScan::Device> m_devices;
    FanHandbackRecord m_record;
    std::vector<Channel> m_fans;
    std::vector<Temperature> m_temperatures;
    std::string m_unavailable;
};

} // namespace quillon::smc
