#pragma once

#include "SysfsKeyTransport.h"

#include <optional>
#include <string>
#include <vector>

namespace quillon::smc {

// The SMC of an Apple-silicon Mac (or a T2 Mac on kernels with the T2 build
// of the driver) through the kernel's macsmc_hwmon driver. The driver has no
// raw key access, so this transport shows the SMC the way the layer above
// knows it, from the hwmon files:
//   "#KEY" (ui32), "FNum" (ui8), per fan X = n+1:
//   F{n}Ac, F{n}Mn, F{n}Mx, F{n}Tg (flt rpm) <- fanX_input, _min, _max, _target
//   F{n}Md (ui8)                             <- what this transport last made of the fan
//   one flt key per temperature (°C), named from its label (HwmonLabelKeys)
// keys sorted as the SMC sorts them.
//
// Fan writes need the driver's fan_control module parameter (off by
// default); without it F{n}Tg and F{n}Md answer as read-only keys and
// fanControlUnavailable() says why. With it: a target within min..max puts
// the fan in manual mode at that speed, a target of 0 hands it back to the
// firmware (the driver's own rule). F{n}Md = 1 only notes the wish (the next
// target takes the fan); F{n}Md = 0 hands back, and the first time after
// start-up first sets the fan's minimum so that the driver, which remembers
// manual mode in its own memory only, really writes the mode key.
class MacSmcHwmonTransport : public SysfsKeyTransport {
public:
    MacSmcHwmonTransport(std::string hwmonDir, std::string fanControlParameter);

    // The hwmon directory under sysfsRoot whose name is macsmc_hwmon, with
    // the path of the driver's fan_control parameter; nullopt when none.
    static std::optional<MacSmcHwmonTransport> find(const std::string& sysfsRoot);

    std::uint32_t open() override;
    SmcGeneration generation() const override { return m_generation; }
    std::string fanControlUnavailable() const override { return m_unavailable; }

    static constexpr int kMaxFans = 10;
    static constexpr int kMaxChannels = 128;

private:
    enum class FanMode {
        unknown,
        firmware,
        manual
    };
    // Key::channel is X of fanX_/tempX_.
    std::string file(const char* kind, int channel, const char* attribute) const;
    bool writable(const Key& key) const override;
    std::uint32_t read(const Key& key, SmcParamRecord& out) override;
    std::uint32_t write(const Key& key, const SmcParamRecord& in, SmcParamRecord& out) override;
    std::uint32_t writeTarget(int fan, long long rpm);

    std::string m_dir;
    std::string m_fanControlParameter;
    std::vector<FanMode> m_modes;
    SmcGeneration m_generation = SmcGeneration::appleSilicon;
    std::string m_unavailable;
};

} // namespace quillon::smc
