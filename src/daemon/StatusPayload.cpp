#include "StatusPayload.h"

#include <QDBusMetaType>

namespace quillon::daemon {

void StatusPayload::registerTypes()
{
    qDBusRegisterMetaType<QList<QVariantMap>>();
}

QVariantMap StatusPayload::toVariantMap(const FanStatus& status)
{
    QList<QVariantMap> fans;
    for (const FanStatus::Fan& fan : status.fans) {
        fans.append({{QStringLiteral("index"), fan.index}, {QStringLiteral("currentRPM"), fan.currentRPM},
            {QStringLiteral("minRPM"), fan.minRPM}, {QStringLiteral("maxRPM"), fan.maxRPM},
            {QStringLiteral("targetRPM"), fan.targetRPM}, {QStringLiteral("mode"), fan.mode}});
    }
    QVariantMap payload{{QStringLiteral("fans"), QVariant::fromValue(fans)},
        {QStringLiteral("floorPercent"), status.floorPercent}, {QStringLiteral("isBoosted"), status.isBoosted},
        {QStringLiteral("tempSensorCount"), status.tempSensorCount},
        {QStringLiteral("effectivePercent"), status.effectivePercent},
        {QStringLiteral("thermalOverride"), status.thermalOverride},
        {QStringLiteral("lidStayAwake"), status.lidStayAwake},
        {QStringLiteral("releasePending"), status.releasePending},
        {QStringLiteral("safetyRelease"), QString::fromStdString(status.safetyRelease)},
        {QStringLiteral("safetyClearSeconds"), status.safetyClearSeconds},
        {QStringLiteral("fanControlUnavailable"), QString::fromStdString(status.fanControlUnavailable)}};
    if (status.cpuTemp)
        payload.insert(QStringLiteral("cpuTemp"), *status.cpuTemp);
    if (status.cpuTempMax)
        payload.insert(QStringLiteral("cpuTempMax"), *status.cpuTempMax);
    if (status.gpuTemp)
        payload.insert(QStringLiteral("gpuTemp"), *status.gpuTemp);
    return payload;
}

} // namespace quillon::daemon
