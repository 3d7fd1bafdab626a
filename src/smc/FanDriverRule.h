#pragma once

#include <string_view>

namespace quillon::smc {

// How one hwmon fan driver is driven and handed back to its firmware. Every
// driver's difference from the generic rule is a field of its entry here,
// never a special case in the transport. The generic rule (Super-I/O chips
// such as nct6775 or it87, and any driver not listed): pwmN_enable 1 is
// manual, the value found before the first write is what hands the channel
// back (a chip's own automatic mode, 5 on many, stays 5), and 2 stands in
// only where nothing was found.
struct FanDriverRule {
    const char* driver;
    // pwmN_enable written to hand back when the original is unknown.
    int automaticEnable = 2;
    // pwmN_enable written to take the fan: 1 (a duty cycle follows), or 0
    // where the driver knows only full speed and automatic.
    int manualEnable = 1;
    // pwm1_enable cannot be read and acts on every fan of the device at
    // once (dell_smm_hwmon); the original is unknown, automaticEnable
    // hands back.
    bool enableIsWriteOnlyForAll = false;
    // 0 in pwmN_enable switches the fan off here (pwm-fan): never written.
    bool zeroEnableStopsFan = false;
    // The module parameter (below /sys/module) without which writes are
    // refused, and the words that say so; null when there is none.
    const char* controlParameter = nullptr;
    const char* parameterOffReason = nullptr;
    // The words when the driver shows no pwmN_enable at all.
    const char* noEnableReason = "this driver has no manual mode";
    // The driver's own fan watchdog (a file below /proc and what to write
    // to arm it): a second net should the helper fall silent; null if none.
    const char* watchdogFile = nullptr;
    const char* watchdogArm = nullptr;

    // The entry for a hwmon name; the generic rule for names not listed.
    static const FanDriverRule& of(std::string_view driver);
};

} // namespace quillon::smc
