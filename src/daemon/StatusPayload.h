#pragma once

#include "FanStatus.h"

#include <QList>
#include <QVariantMap>

namespace quillon::daemon {

// The status as it travels over D-Bus (a{sv}): "fans" as aa{sv} with
// "index", "currentRPM", "minRPM", "maxRPM", "targetRPM", "mode" (int32);
// "floorPercent", "effectivePercent" (double); "isBoosted",
// "thermalOverride", "lidStayAwake" (bool); "tempSensorCount" (int32);
// "fanControlUnavailable" (string, "" when the fans can be controlled); and
// "cpuTemp", "cpuTempMax", "gpuTemp" (double) only when there is a reading.
class StatusPayload {
public:
    StatusPayload() = delete;

    // Makes QList<QVariantMap> known to QtDBus as aa{sv}; call once before
    // the first payload is sent.
    static void registerTypes();

    static QVariantMap toVariantMap(const FanStatus& status);
};

} // namespace quillon::daemon
