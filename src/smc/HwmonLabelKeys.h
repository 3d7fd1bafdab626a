#pragma once

#include <string>

namespace quillon::smc {

// Gives each macsmc_hwmon temperature a four-character SMC-style key from its
// label, so the layer above can pick safety sensors by key as on a Mac:
//   a label that is itself a key ("TC0P", as the T2 build of the driver
//   labels every sensor)                                   -> that key
//   "... Performance Core ..." / "P-Core"                  -> Tp##
//   "... Efficiency Core ..." / "E-Core"                   -> Te##
//   "... GPU ..."                                          -> Tg##
//   "... SoC Die ..." / "CPU"                              -> Tc##
//   anything else ("NAND Flash Temperature", "Battery
//   Hotspot", "WiFi/BT Module Temp")                       -> Tx##
// (case-insensitive; ## counts 00, 01, ... 09, 0A ... ZZ per group, in the
// order the labels come). The Tp/Te/Tg/Tc groups are Apple silicon's safety
// prefixes; the device trees in mainline kernels describe none of them, so
// such a machine has no safety sensor and the helper keeps the fans in
// firmware control.
class HwmonLabelKeys {
public:
    // The key for the next label; "" when its group is full.
    std::string keyFor(const std::string& label);
    // The next key of a group chosen by its letter (p, e, g, c or x; any
    // other letter counts as x); "" when the group is full.
    std::string keyIn(char letter);

    // Whether some label so far was a raw key: the driver runs on an Intel
    // SMC (the T2 build), not on Apple silicon.
    bool sawRawKeys() const { return m_sawRawKeys; }

    static bool isRawKey(const std::string& label);

private:
    std::string next(int group);

    int m_counts[5] = {};
    bool m_sawRawKeys = false;
};

} // namespace quillon::smc
