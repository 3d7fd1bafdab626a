#include "FanDriverRule.h"

#include <algorithm>
#include <iterator>

namespace quillon::smc {

namespace {

FanDriverRule makeThinkpad()
{
    FanDriverRule rule{"thinkpad"};
    rule.controlParameter = "thinkpad_acpi/parameters/fan_control";
    rule.parameterOffReason = "thinkpad_acpi needs fan_control=1 (start Linux with thinkpad_acpi.fan_control=1)";
    // The driver hands the fan to the EC itself if no command came for 120 s.
    rule.watchdogFile = "acpi/ibm/fan";
    rule.watchdogArm = "watchdog 120";
    return rule;
}

FanDriverRule makeDell()
{
    FanDriverRule rule{"dell_smm"};
    rule.enableIsWriteOnlyForAll = true;
    rule.noEnableReason = "dell_smm_hwmon does not list this model for fan control";
    return rule;
}

FanDriverRule makeFullOrAutomatic(const char* driver)
{
    FanDriverRule rule{driver};
    rule.manualEnable = 0;
    return rule;
}

FanDriverRule makePwmFan()
{
    FanDriverRule rule{"pwmfan"};
    rule.zeroEnableStopsFan = true;
    return rule;
}

const FanDriverRule kRules[] = {
    makeThinkpad(),
    makeDell(),
    makeFullOrAutomatic("hp"),
    makePwmFan(),
};

const FanDriverRule kGeneric{"*"};

} // namespace

const FanDriverRule& FanDriverRule::of(std::string_view driver)
{
    const auto it = std::find_if(
        std::begin(kRules), std::end(kRules), [driver](const FanDriverRule& r) { return r.driver == driver; });
    return it == std::end(kRules) ? kGeneric : *it;
}

} // namespace quillon::smc
