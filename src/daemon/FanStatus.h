#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillon::daemon {

// What the helper reports to the app: every fan as read now, the loop's
// state, and the temperatures the app shows. Speeds in rpm (whole numbers),
// temperatures in °C, percentages 0..100.
struct FanStatus {
    struct Fan {
        int index = 0;
        int currentRPM = 0; // F{n}Ac, read now
        int minRPM = 0;     // F{n}Mn, read at start-up
        int maxRPM = 0;     // F{n}Mx, read at start-up
        int targetRPM = 0;  // F{n}Tg, read now
        int mode = 0;       // the byte of F{n}Md, read now: 0 firmware, 1 manual
    };

    std::vector<Fan> fans;
    double floorPercent = 0;
    bool isBoosted = false;
    int tempSensorCount = 0; // CPU temperature keys found at start-up
    double effectivePercent = 0;
    // Heat is genuine and the curve asks clearly more than the app's floor.
    bool thermalOverride = false;
    bool lidStayAwake = false;
    // A hand-back to the firmware is not verified yet; the helper holds the
    // fans at full speed and keeps retrying.
    bool releasePending = false;
    // Why the helper last let go for safety ("no-sensors", "no-readings",
    // "critical-heat"), "" when it did not; cleared by the next floor that
    // takes. safetyClearSeconds: how long that cause has been gone (0 while
    // it persists).
    std::string safetyRelease;
    double safetyClearSeconds = 0;
    // Why the fans cannot be controlled on this machine, "" when they can.
    std::string fanControlUnavailable;
    std::optional<double> cpuTemp;    // average of the CPU keys, when any reads
    std::optional<double> cpuTempMax; // hottest CPU key, when any reads
    std::optional<double> gpuTemp;    // average of the GPU keys, when any reads
};

} // namespace quillon::daemon
