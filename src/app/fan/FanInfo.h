#pragma once

#include <QMetaType>

namespace quillon::app {

// One fan as the helper reports it; speeds in rpm.
struct FanInfo {
    int index = 0;
    int currentRPM = 0;
    int minRPM = 0;
    int maxRPM = 0;
    int targetRPM = 0; // 0 when the helper reported none

    bool operator==(const FanInfo&) const = default;
};

} // namespace quillon::app

Q_DECLARE_METATYPE(quillon::app::FanInfo)
