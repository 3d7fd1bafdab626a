#pragma once

#include "smc/SmcConnection.h"

#include <string>
#include <vector>

namespace quillon::daemon {

// The SMC keys of every fan, F{n}.. with n the fan index in decimal, and the
// spelling of the mode key this machine uses: F{n}Md, or F{n}md on machines
// that have no "F0Md".
class FanKeys {
public:
    // Fan keys embed the index as a single digit; a larger "FNum" (only a
    // broken SMC reports one) is cut to this many fans rather than letting
    // "F10Ac" turn into the unrelated four-character key "F10A".
    static constexpr int kMaxFans = 10;

    // ui8, all fans at once: 1 while the helper forces them, 0 to hand back.
    static constexpr const char* kForceTest = "Ftst";

    struct Fan {
        std::string actual;       // F{n}Ac, flt rpm
        std::string minimum;      // F{n}Mn, flt rpm
        std::string maximum;      // F{n}Mx, flt rpm
        std::string target;       // F{n}Tg, flt rpm
        std::string mode;         // F{n}Md or F{n}md, ui8: 0 = firmware, 1 = manual
        std::string reportedMode; // F{n}Md always: what the status reports
    };

    // Reads "FNum" (no fans when it cannot be read) and probes "F0Md".
    static FanKeys discover(smc::SmcConnection& smc);

    FanKeys(int fanCount, bool modeKeyIsUppercase);

    int count() const { return static_cast<int>(m_fans.size()); }
    const Fan& operator[](int n) const { return m_fans[static_cast<std::size_t>(n)]; }
    bool modeKeyIsUppercase() const { return m_modeKeyIsUppercase; }

private:
    std::vector<Fan> m_fans;
    bool m_modeKeyIsUppercase;
};

} // namespace quillon::daemon
