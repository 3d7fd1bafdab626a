#include "FanList.h"

#include "StatusValue.h"

#include <QVariantMap>

namespace quillon::app {

bool FanList::apply(const QVariant& value)
{
    using V = StatusValue;
    QList<FanInfo> fans;
    for (const QVariant& entry : value.toList()) {
        const QVariantMap fan = entry.toMap();
        const QVariant index = fan.value("index");
        const QVariant current = fan.value("currentRPM");
        const QVariant min = fan.value("minRPM");
        const QVariant max = fan.value("maxRPM");
        if (!V::isIntegral(index) || !V::isIntegral(current) || !V::isIntegral(min) || !V::isIntegral(max))
            continue;
        const QVariant target = fan.value("targetRPM");
        fans.append(
            {index.toInt(), current.toInt(), min.toInt(), max.toInt(), V::isIntegral(target) ? target.toInt() : 0});
    }
    if (fans == m_fans)
        return false;
    m_fans = fans;
    return true;
}

QVariantList FanList::forView() const
{
    QVariantList list;
    for (const FanInfo& fan : m_fans)
        list.append(QVariantMap{{"index", fan.index}, {"currentRPM", fan.currentRPM}, {"minRPM", fan.minRPM},
            {"maxRPM", fan.maxRPM}, {"targetRPM", fan.targetRPM}});
    return list;
}

} // namespace quillon::app
